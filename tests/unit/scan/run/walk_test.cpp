#include <algorithm>
#include <atomic>
#include <cstdint>
#include <fcntl.h>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "common/run_state.h"
#include "scan/file_count_thread.h"
#include "scan/run/descriptor_limit.h"
#include "scan/run/directory_walker.h"
#include "scan/run/file_count.h"
#include "scan/run/file_type.h"
#include "tests/support/silent_file_system.h"
#include "tests/unit/scan/run/hostile_tree.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

/// Keeps the files of a walk, and ends it when told to.
class Collector : public scan::WalkVisitor {
public:
    bool GoOn(const char* directory) override {
        m_directories.emplace_back(directory);
        return m_goOn(directory);
    }
    void OnFile(const scan::TreeCursor& cursor) override {
        m_files.emplace_back(cursor.Path());
        m_onFile(cursor.Path());
    }

    std::vector<std::string> m_files;
    std::vector<std::string> m_directories;  // of every question whether to go on
    std::function<bool(const std::string&)> m_goOn = [](const std::string&) { return true; };
    std::function<void(const std::string&)> m_onFile = [](const std::string&) {};
};

class Walk : public ::testing::Test {
protected:
    void SetUp() override {
        StopCount = false;
        g_totalfilestoscan = 0;
    }
    void TearDown() override {
        StopCount = false;
        g_totalfilestoscan = 0;
    }

    WalkResult Run(const std::string& directory) {
        return scan::DirectoryWalker(m_collector).Walk(directory.c_str());
    }

    ScratchFolder m_scratch;
    const std::string m_top = m_scratch / "top";
    Collector m_collector;
};

TEST(FileTypeBits, AreTestedOneByOne) {
    EXPECT_EQ(scan::FileTypeOfMode(S_IFREG | 0644), 1);
    EXPECT_EQ(scan::FileTypeOfMode(S_IFDIR | 0755), 2);
    EXPECT_EQ(scan::FileTypeOfMode(S_IFLNK | 0777), 0);
    EXPECT_EQ(scan::FileTypeOfMode(S_IFCHR | 0666), 0);
    EXPECT_EQ(scan::FileTypeOfMode(S_IFBLK | 0660), 0);
    EXPECT_EQ(scan::FileTypeOfMode(S_IFIFO | 0644), 0);
    EXPECT_EQ(scan::FileTypeOfMode(S_IFSOCK | 0755), 2);
    EXPECT_EQ(scan::FileTypeOfMode(S_IFREG | 07777), 1);  // permissions are no types
    EXPECT_EQ(scan::FileTypeOfMode(0), 1);
}

TEST_F(Walk, TypesOfPaths) {
    MakeFolder(m_top);
    WriteFile(m_top + "/file", "x");
    MakeLink("file", m_top + "/link");
    MakeFifo(m_top + "/fifo");
    MakeSocket(m_top + "/socket");
    EXPECT_EQ(ZqGetFileType((m_top + "/file").c_str()), 1);
    EXPECT_EQ(ZqGetFileType(m_top.c_str()), 2);
    EXPECT_EQ(ZqGetFileType((m_top + "/link").c_str()), 0);
    EXPECT_EQ(ZqGetFileType((m_top + "/fifo").c_str()), 0);
    EXPECT_EQ(ZqGetFileType((m_top + "/socket").c_str()), 2);
    EXPECT_EQ(ZqGetFileType("/dev/null"), 0);
    EXPECT_EQ(ZqGetFileType((m_top + "/missing").c_str()), 0);
    EXPECT_EQ(ZqGetFileType(nullptr), 0);
}

TEST_F(Walk, FindsRegularFilesAndNothingElse) {
    MakeFolder(m_top);
    MakeFolder(m_top + "/below");
    MakeFolder(m_top + "/.hidden");
    MakeFolder(m_top + "/empty");
    WriteFile(m_top + "/a", "x");
    WriteFile(m_top + "/.b", "");
    WriteFile(m_top + "/below/c", "x");
    WriteFile(m_top + "/.hidden/...", "x");
    MakeFifo(m_top + "/fifo");
    MakeSocket(m_top + "/socket");
    MakeLink("a", m_top + "/link");
    MakeLink("/", m_top + "/rootlink");
    EXPECT_EQ(Run(m_top), kWalkDone);
    EXPECT_THAT(m_collector.m_files,
                UnorderedElementsAre(m_top + "/a", m_top + "/.b", m_top + "/below/c",
                                     m_top + "/.hidden/..."));
    EXPECT_EQ(GetFileCount(m_top.c_str()), 1U);
    EXPECT_EQ(g_totalfilestoscan, 4U);
}

TEST_F(Walk, FindsTheSameWhereTheFileSystemTellsNoTypes) {
    MakeFolder(m_top);
    MakeFolder(m_top + "/below");
    WriteFile(m_top + "/a", "x");
    WriteFile(m_top + "/below/c", "x");
    MakeFifo(m_top + "/fifo");
    MakeSocket(m_top + "/socket");
    MakeLink("a", m_top + "/link");
    MakeLink("below", m_top + "/linkToFolder");
    MakeLink("/", m_top + "/rootlink");
    const SilentFileSystem silent;
    EXPECT_EQ(Run(m_top), kWalkDone);
    EXPECT_THAT(m_collector.m_files, UnorderedElementsAre(m_top + "/a", m_top + "/below/c"));
    EXPECT_GT(SilentFileSystem::EntriesWithheld(), 7) << "the entries kept their types";

    const std::atomic<bool> stop{false};
    std::atomic<std::uint64_t> total{0};
    EXPECT_EQ(scan::CountFiles(m_top.c_str(), stop, total), kWalkDone);
    EXPECT_EQ(total, 2U);
}

TEST_F(Walk, PassesOverWhatIsGoneBeforeItsTypeCouldBeTold) {
    MakeFolder(m_top);
    WriteFile(m_top + "/a", "x");
    WriteFile(m_top + "/b", "x");
    // Both are listed by the time that the first is handed out.
    m_collector.m_onFile = [this](const std::string& path) {
        ::unlink((path == m_top + "/a" ? m_top + "/b" : m_top + "/a").c_str());
    };
    const SilentFileSystem silent;
    EXPECT_EQ(Run(m_top), kWalkDone);
    EXPECT_EQ(m_collector.m_files.size(), 1U);
}

TEST_F(Walk, KeepsNamesByteForByte) {
    MakeFolder(m_top);
    const std::vector<std::string> names = {"<img src=x>", "two\nlines", "not\xFFutf8", "a b",
                                            std::string(255, 'n')};
    std::vector<std::string> expected;
    for (const std::string& name : names) {
        WriteFile(m_top + "/" + name, "x");
        expected.push_back(m_top + "/" + name);
    }
    EXPECT_EQ(Run(m_top), kWalkDone);
    EXPECT_THAT(m_collector.m_files, ::testing::UnorderedElementsAreArray(expected));
}

TEST_F(Walk, AddsASlashOnlyWhereThereIsNone) {
    MakeFolder(m_top);
    WriteFile(m_top + "/a", "x");
    EXPECT_EQ(Run(m_top + "/"), kWalkDone);
    EXPECT_THAT(m_collector.m_files, ElementsAre(m_top + "/a"));
    m_collector.m_files.clear();
    EXPECT_EQ(Run(m_top + "//"), kWalkDone);
    EXPECT_THAT(m_collector.m_files, ElementsAre(m_top + "//a"));
}

TEST_F(Walk, FollowsALinkAtTheTopOnly) {
    MakeFolder(m_top);
    WriteFile(m_top + "/a", "x");
    MakeLink(m_top, m_top + "/loop");
    MakeLink(m_top, m_scratch / "link");
    EXPECT_EQ(Run(m_scratch / "link"), kWalkDone);
    EXPECT_THAT(m_collector.m_files, ElementsAre(m_scratch / "link/a"));
}

TEST_F(Walk, UnreadableTops) {
    EXPECT_EQ(Run(m_scratch / "missing"), kWalkUnreadable);
    EXPECT_EQ(Run(""), kWalkUnreadable);
    EXPECT_EQ(Run("/" + std::string(1023, 'x')), kWalkUnreadable);
    MakeFifo(m_scratch / "fifo");
    EXPECT_EQ(Run(m_scratch / "fifo"), kWalkUnreadable);  // at once, not when someone writes
    MakeSocket(m_scratch / "socket");
    EXPECT_EQ(Run(m_scratch / "socket"), kWalkUnreadable);
    WriteFile(m_scratch / "file", "x");
    EXPECT_EQ(Run(m_scratch / "file"), kWalkUnreadable);
    EXPECT_EQ(scan::DirectoryWalker(m_collector).Walk(nullptr), kWalkUnreadable);
    EXPECT_THAT(m_collector.m_directories, IsEmpty());
    EXPECT_EQ(GetFileCount((m_scratch / "missing").c_str()), 0U);
    EXPECT_EQ(GetFileCount(nullptr), 0U);
    EXPECT_EQ(g_totalfilestoscan, 0U);
}

TEST_F(Walk, PassesOverAFolderThatCannotBeRead) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root, to become another user";
    }
    MakeFolder(m_top);
    MakeFolder(m_top + "/locked");
    WriteFile(m_top + "/locked/a", "x");
    WriteFile(m_top + "/b", "x");
    ::chmod((m_top + "/locked").c_str(), 0);
    ::chmod(m_scratch.Path().c_str(), 0755);
    EXPECT_EQ(InChild([this] {
                  constexpr uid_t kNobody = 65534;
                  if (::setuid(kNobody) != 0) {
                      return 99;
                  }
                  const bool unreadable = Run(m_top + "/locked") == kWalkUnreadable;
                  return unreadable && Run(m_top) == kWalkDone ? int(m_collector.m_files.size())
                                                               : 98;
              }),
              1);
}

TEST_F(Walk, PassesOverWhatLiesInAFolderThatMayOnlyBeListed) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root, to become another user";
    }
    MakeFolder(m_top);
    MakeFolder(m_top + "/listed");
    MakeFolder(m_top + "/listed/below");
    WriteFile(m_top + "/listed/a", "x");
    WriteFile(m_top + "/listed/below/c", "x");
    WriteFile(m_top + "/b", "x");
    ::chmod((m_top + "/listed").c_str(), 0744);
    ::chmod(m_scratch.Path().c_str(), 0755);
    EXPECT_EQ(InChild([this] {
                  constexpr uid_t kNobody = 65534;
                  if (::setuid(kNobody) != 0) {
                      return 99;
                  }
                  if (Run(m_top) != kWalkDone || GetFileCount(m_top.c_str()) != kWalkDone) {
                      return 98;
                  }
                  if (g_totalfilestoscan != 1 || m_collector.m_files.size() != 1 ||
                      m_collector.m_files[0] != m_top + "/b") {
                      return 97;
                  }
                  // At the top, too: it is read to its end, and there is nothing in it.
                  m_collector.m_files.clear();
                  return Run(m_top + "/listed") == kWalkDone && m_collector.m_files.empty() ? 0
                                                                                            : 96;
              }),
              0);
    EXPECT_EQ(Run(m_top), kWalkDone);
    EXPECT_THAT(m_collector.m_files,
                UnorderedElementsAre(m_top + "/listed/a", m_top + "/listed/below/c", m_top + "/b"))
        << "root may search it";
}

TEST_F(Walk, PassesOverPathsThatDoNotFit) {
    MakeFolder(m_top);
    const int fitting = MakeDeepTree(m_top, 3000);
    WriteFile(m_top + "/last", "x");
    EXPECT_EQ(Run(m_top), kWalkDone);
    EXPECT_EQ(m_collector.m_files.size(), std::size_t(fitting) + 1);
    std::size_t longest = 0;
    for (const std::string& file : m_collector.m_files) {
        longest = std::max(longest, file.size());
        EXPECT_EQ(ZqGetFileType(file.c_str()), 1) << file;
    }
    EXPECT_LE(longest, 1023U);
    EXPECT_GE(longest, 1022U);
    EXPECT_EQ(GetFileCount(m_top.c_str()), 1U);
    EXPECT_EQ(g_totalfilestoscan, std::uint64_t(fitting) + 1);
}

TEST_F(Walk, APathOfExactlyTheFieldIsWalked) {
    // 1,023 bytes and the terminator.
    std::string folder = m_top;
    MakeFolder(folder);
    while (folder.size() < 1023 - 202) {
        folder += "/" + std::string(100, 'd');
        MakeFolder(folder);
    }
    const std::size_t room = 1023 - folder.size() - 1;
    const std::string fits(room, 'f');
    WriteFile(folder + "/" + fits, "x");
    WriteFile(folder + "/" + fits + "g", "x");
    EXPECT_EQ(Run(m_top), kWalkDone);
    EXPECT_THAT(m_collector.m_files, ElementsAre(folder + "/" + fits));
}

TEST_F(Walk, ListsALargeFolderWhole) {
    MakeFolder(m_top);
    for (int file = 0; file < 10000; ++file) {
        WriteFile(m_top + "/file" + std::to_string(file), "");
    }
    EXPECT_EQ(Run(m_top), kWalkDone);
    EXPECT_EQ(m_collector.m_files.size(), 10000U);
    std::sort(m_collector.m_files.begin(), m_collector.m_files.end());
    EXPECT_EQ(std::adjacent_find(m_collector.m_files.begin(), m_collector.m_files.end()),
              m_collector.m_files.end());
}

TEST_F(Walk, AsksBeforeEachEntryAndAfterEachFile) {
    MakeFolder(m_top);
    MakeFolder(m_top + "/d");
    WriteFile(m_top + "/d/f", "x");
    EXPECT_EQ(Run(m_top), kWalkDone);
    const std::string below = m_top + "/d";
    EXPECT_THAT(m_collector.m_directories, ElementsAre(m_top,    // before d
                                                       below,    // before f
                                                       below,    // after f
                                                       below,    // before the end of d
                                                       m_top));  // before the end
}

TEST_F(Walk, AStopEndsEveryLevelAtOnce) {
    MakeFolder(m_top);
    MakeDeepTree(m_top, 900);
    int asked = 0;
    m_collector.m_goOn = [&asked](const std::string&) { return ++asked < 100; };
    EXPECT_EQ(Run(m_top), kWalkStopped);
    EXPECT_EQ(asked, 100);
}

TEST_F(Walk, AStopAfterAFileComesBeforeTheNextEntry) {
    MakeFolder(m_top);
    WriteFile(m_top + "/a", "x");
    WriteFile(m_top + "/b", "x");
    m_collector.m_goOn = [this](const std::string&) { return m_collector.m_files.empty(); };
    EXPECT_EQ(Run(m_top), kWalkStopped);
    EXPECT_EQ(m_collector.m_files.size(), 1U);
    EXPECT_EQ(m_collector.m_directories.size(), 2U);
}

TEST_F(Walk, CountingStops) {
    MakeFolder(m_top);
    WriteFile(m_top + "/a", "x");
    StopCount = true;
    EXPECT_EQ(GetFileCount(m_top.c_str()), 0xFFFFFFFFU);
    EXPECT_EQ(g_totalfilestoscan, 0U);
}

TEST_F(Walk, DoesNotEnterAFolderThatBecameALink) {
    MakeFolder(m_top);
    MakeFolder(m_scratch / "outside");
    WriteFile(m_scratch / "outside/secret", "x");
    for (const std::string name : {"/one", "/two"}) {
        MakeFolder(m_top + name);
        WriteFile(m_top + name + "/inside", "x");
    }
    // When the first of them has been walked, the second has been listed as a folder already.
    m_collector.m_goOn = [this](const std::string& directory) {
        if (directory == m_top && m_collector.m_files.size() == 1) {
            for (const std::string name : {"/one", "/two"}) {
                ::rename((m_top + name).c_str(), (m_scratch / "away" + name.substr(1)).c_str());
                MakeLink(m_scratch / "outside", m_top + name);
            }
        }
        return true;
    };
    EXPECT_EQ(Run(m_top), kWalkDone);
    ASSERT_EQ(m_collector.m_files.size(), 1U);
    EXPECT_TRUE(m_collector.m_files[0].ends_with("/inside"));
    EXPECT_TRUE(Exists(m_scratch / "awayone"));
}

TEST_F(Walk, StaysInAFolderThatIsMovedAway) {
    MakeFolder(m_top);
    MakeFolder(m_top + "/folder");
    WriteFile(m_top + "/folder/inside", "x");
    MakeFolder(m_scratch / "outside");
    WriteFile(m_scratch / "outside/secret", "x");
    m_collector.m_goOn = [&](const std::string& directory) {
        if (directory == m_top + "/folder" && !Exists(m_scratch / "away")) {
            ::rename((m_top + "/folder").c_str(), (m_scratch / "away").c_str());
            MakeLink(m_scratch / "outside", m_top + "/folder");
        }
        return true;
    };
    EXPECT_EQ(Run(m_top), kWalkDone);
    EXPECT_THAT(m_collector.m_files, ElementsAre(m_top + "/folder/inside"));
}

TEST_F(Walk, WithoutDescriptorsItPassesOverAndGoesOn) {
    MakeFolder(m_top);
    MakeDeepTree(m_top, 900);
    WriteFile(m_top + "/z", "x");
    const int result = InChild([this] {
        const rlimit few{32, 32};
        if (::setrlimit(RLIMIT_NOFILE, &few) != 0) {
            return 99;
        }
        if (Run(m_top) != kWalkDone) {
            return 98;
        }
        const auto& files = m_collector.m_files;
        const bool goesOn = std::find(files.begin(), files.end(), m_top + "/z") != files.end();
        return goesOn && files.size() > 10 && files.size() < 40 ? 0 : 97;
    });
    EXPECT_EQ(result, 0);
}

TEST(DescriptorLimit, IsRaisedToTheHighest) {
    EXPECT_EQ(InChild([] {
                  rlimit limit{};
                  ::getrlimit(RLIMIT_NOFILE, &limit);
                  limit.rlim_cur = 64;
                  ::setrlimit(RLIMIT_NOFILE, &limit);
                  if (!scan::RaiseDescriptorLimit()) {
                      return 1;
                  }
                  ::getrlimit(RLIMIT_NOFILE, &limit);
                  return limit.rlim_cur == limit.rlim_max && limit.rlim_cur > 64 ? 0 : 2;
              }),
              0);
}

}  // namespace
