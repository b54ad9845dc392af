#include "widgets/folder_listing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/support/silent_file_system.h"
#include "tests/unit/widgets/scratch_tree.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::vector<std::string> NamesIn(const SubfolderList& list) {
    std::vector<std::string> names;
    for (const Subfolder& subfolder : list.subfolders) {
        names.push_back(subfolder.name);
    }
    return names;
}

class FolderListingTest : public testing::Test {
protected:
    SubfolderList List(const std::string& path = "/") const {
        return FolderListing(m_tree.Root()).ListSubfolders(path);
    }
    bool LookAhead(const std::string& name) const {
        for (const Subfolder& subfolder : List().subfolders) {
            if (subfolder.name == name) {
                return subfolder.hasSubfolders;
            }
        }
        ADD_FAILURE() << name << " is not listed";
        return false;
    }
    bool HoldsFileOrLink(const std::string& path = "/") const {
        return FolderListing(m_tree.Root()).HoldsFileOrLink(path);
    }

    ScratchTree m_tree;
};

TEST_F(FolderListingTest, ListsSubfoldersOnlyHiddenOnesIncludedSortedByTheirBytes) {
    for (const char* name : {"b", "a", "Z", ".hidden", "a b", "10", "9", "\xC3\xA4"}) {
        m_tree.Folder(name);
    }
    m_tree.File("file");
    m_tree.Fifo("fifo");
    m_tree.Socket("socket");
    EXPECT_THAT(NamesIn(List()),
                ElementsAre(".hidden", "10", "9", "Z", "a", "a b", "b", "\xC3\xA4"));
    EXPECT_TRUE(List().hasEntries);
}

TEST_F(FolderListingTest, KeepsNamesByteForByte) {
    for (const char* name : {"caf\xE9", "<img src=x>", "two\nlines", "\xFF\xFE"}) {
        m_tree.Folder(name);
    }
    EXPECT_THAT(NamesIn(List()), ElementsAre("<img src=x>", "caf\xE9", "two\nlines", "\xFF\xFE"));
    m_tree.Folder("caf\xE9/inside");
    EXPECT_THAT(NamesIn(List("/caf\xE9/")), ElementsAre("inside"));
}

TEST_F(FolderListingTest, NamesThatBeginWithDotsAreNotTakenForTheFolderItself) {
    for (const char* name : {"...", "..a", ".a"}) {
        m_tree.Folder(name);
    }
    EXPECT_THAT(NamesIn(List()), ElementsAre("...", "..a", ".a"));
}

TEST_F(FolderListingTest, NeverListsALinkToAFolder) {
    m_tree.Folder("real");
    m_tree.Link("real", "link");
    EXPECT_THAT(NamesIn(List()), ElementsAre("real"));
}

TEST_F(FolderListingTest, ALinkToAFolderCountsAsAnEntryThoughItIsNotListed) {
    m_tree.Link("/", "link");
    EXPECT_TRUE(List().hasEntries);
    EXPECT_THAT(NamesIn(List()), IsEmpty());
}

TEST_F(FolderListingTest, OtherLinksAndFilesAreNoEntries) {
    m_tree.File("file");
    m_tree.Link("file", "link");
    m_tree.Link("nowhere", "dangling");
    m_tree.Link("self", "self");
    m_tree.Fifo("fifo");
    EXPECT_FALSE(List().hasEntries);
}

TEST_F(FolderListingTest, LooksOneLevelAhead) {
    m_tree.Folder("withFolder/inside");
    m_tree.Folder("withHiddenFolder/.inside");
    m_tree.Link("..", "withLinkToFolder/link");
    m_tree.Folder("empty");
    m_tree.File("withFile/file");
    m_tree.Link("nowhere", "withDanglingLink/link");
    m_tree.Fifo("withFifo/fifo");
    EXPECT_TRUE(LookAhead("withFolder"));
    EXPECT_TRUE(LookAhead("withHiddenFolder"));
    EXPECT_TRUE(LookAhead("withLinkToFolder"));
    EXPECT_FALSE(LookAhead("empty"));
    EXPECT_FALSE(LookAhead("withFile"));
    EXPECT_FALSE(LookAhead("withDanglingLink"));
    EXPECT_FALSE(LookAhead("withFifo"));
}

TEST_F(FolderListingTest, ALoopOfLinksIsNotEntered) {
    m_tree.Folder("a/b");
    m_tree.Link("../../a", "a/b/loop");
    EXPECT_THAT(NamesIn(List("/a/b")), IsEmpty());
    EXPECT_TRUE(List("/a/b").hasEntries);
    EXPECT_THAT(NamesIn(List("/a/b/loop")), IsEmpty());
    EXPECT_FALSE(List("/a/b/loop").hasEntries);
}

TEST_F(FolderListingTest, AFolderThatHasBecomeALinkListsAsEmpty) {
    m_tree.Folder("target/inside");
    m_tree.Folder("folder/sub/inside");
    EXPECT_THAT(NamesIn(List("/folder/sub")), ElementsAre("inside"));
    m_tree.Remove("folder");
    m_tree.Link("target", "folder");
    EXPECT_FALSE(List("/folder").hasEntries);
    EXPECT_FALSE(List("/folder/inside").hasEntries);
}

TEST_F(FolderListingTest, TheRootItselfMayBeALink) {
    m_tree.Folder("real/inside");
    m_tree.Link("real", "root");
    const FolderListing listing(m_tree.PathOf("root"));
    EXPECT_THAT(NamesIn(listing.ListSubfolders("/")), ElementsAre("inside"));
}

TEST_F(FolderListingTest, WhatIsNoFolderOrNotThereListsAsEmpty) {
    m_tree.File("file");
    m_tree.Fifo("fifo");
    for (const char* path : {"/file", "/fifo", "/missing", "/missing/inside"}) {
        EXPECT_FALSE(List(path).hasEntries) << path;
        EXPECT_THAT(NamesIn(List(path)), IsEmpty()) << path;
    }
}

TEST_F(FolderListingTest, AnUnreadableFolderListsAsEmpty) {
    m_tree.Folder("locked/inside");
    m_tree.File("locked/file");
    EXPECT_TRUE(LookAhead("locked"));
    EXPECT_TRUE(HoldsFileOrLink("/locked"));
    m_tree.Lock("locked");
    const OrdinaryUser user;
    EXPECT_FALSE(List("/locked").hasEntries);
    EXPECT_FALSE(LookAhead("locked"));
    EXPECT_FALSE(HoldsFileOrLink("/locked"));
}

TEST_F(FolderListingTest, ReadsFoldersDeeperThanTheLongestPath) {
    std::vector<std::string> names(20, std::string(255, 'd'));
    names.emplace_back("deepest");
    m_tree.Chain(names);
    std::string path;
    for (int i = 0; i < 20; ++i) {
        path += '/' + names.front();
    }
    EXPECT_GT(path.size(), std::size_t{5000});
    EXPECT_THAT(NamesIn(List(path)), ElementsAre("deepest"));
}

// The time to open ten thousand sub-folders must not hang on what is in them.
TEST_F(FolderListingTest, TheLookAheadStopsAsSoonAsItKnows) {
    constexpr std::uint64_t kFolders = 200;
    for (std::uint64_t i = 0; i < kFolders; ++i) {
        for (int j = 0; j < (i < 2 ? 3000 : 10); ++j) {
            m_tree.Folder("f" + std::to_string(i) + "/" + std::to_string(j));
        }
    }
    const SubfolderList list = List();
    ASSERT_EQ(list.subfolders.size(), kFolders);
    EXPECT_TRUE(list.subfolders.front().hasSubfolders);
    // Its own entries, and one at most in each sub-folder.
    EXPECT_EQ(list.entriesRead, kFolders + kFolders);
}

TEST_F(FolderListingTest, OpensTenThousandSubfolders) {
    constexpr std::uint64_t kFolders = 10000;
    for (std::uint64_t i = 0; i < kFolders; ++i) {
        m_tree.Folder(std::to_string(i) + "/a");
        m_tree.Folder(std::to_string(i) + "/b");
    }
    const SubfolderList list = List();
    EXPECT_EQ(list.subfolders.size(), kFolders);
    EXPECT_EQ(list.entriesRead, kFolders + kFolders);
}

TEST_F(FolderListingTest, AFileOrALinkThatIsNotHiddenIsFound) {
    m_tree.File("file/x");
    m_tree.Link("..", "linkToFolder/x");
    m_tree.Link("../file/x", "linkToFile/x");
    m_tree.Link("nowhere", "dangling/x");
    for (const char* path : {"/file", "/linkToFolder/", "/linkToFile", "/dangling"}) {
        EXPECT_TRUE(HoldsFileOrLink(path)) << path;
    }
}

TEST_F(FolderListingTest, WhatElseAFolderHoldsIsNoFileOrLink) {
    m_tree.File("hiddenFile/.x");
    m_tree.Link("..", "hiddenLink/.x");
    m_tree.Fifo("fifo/x");
    m_tree.Socket("socket/x");
    m_tree.File("folder/x/fileBelow");
    m_tree.Folder("empty");
    for (const char* path :
         {"/hiddenFile", "/hiddenLink", "/fifo", "/socket", "/folder", "/empty", "/missing"}) {
        EXPECT_FALSE(HoldsFileOrLink(path)) << path;
    }
}

TEST_F(FolderListingTest, AFileSystemThatTellsNoTypesListsTheSame) {
    m_tree.Folder("folder/below");
    m_tree.File("file");
    m_tree.File("onlyFile/x");
    m_tree.Fifo("fifo");
    m_tree.Link("folder", "linkToFolder");
    m_tree.Link("..", "onlyLink/x");
    m_tree.Fifo("onlyFifo/x");
    const SilentFileSystem silent;
    EXPECT_THAT(NamesIn(List()), ElementsAre("folder", "onlyFifo", "onlyFile", "onlyLink"));
    EXPECT_TRUE(LookAhead("folder"));
    EXPECT_FALSE(LookAhead("onlyFile"));
    EXPECT_TRUE(LookAhead("onlyLink"));
    EXPECT_TRUE(HoldsFileOrLink("/onlyFile"));
    EXPECT_FALSE(HoldsFileOrLink("/onlyFifo"));
    EXPECT_GT(SilentFileSystem::EntriesWithheld(), 0);
}

TEST_F(FolderListingTest, TheRootOfTheSystemIsTheDefault) {
    struct stat status {};
    const SubfolderList list = FolderListing().ListSubfolders("/");
    EXPECT_TRUE(list.hasEntries);
    for (const std::string& name : NamesIn(list)) {
        EXPECT_EQ(::lstat(("/" + name).c_str(), &status), 0) << name;
        EXPECT_TRUE(S_ISDIR(status.st_mode)) << name;
    }
}

}  // namespace
