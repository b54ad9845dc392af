// What is kept of a file before it is deleted, and what goes to make room.

#include "product/vault/keep.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <sys/xattr.h>

#include "product/vault/owner_folder.h"
#include "tests/support/no_room.h"
#include "tests/unit/product/vault/vault_fixture.h"

namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;

class KeepTest : public VaultTest {
protected:
    std::string PutFile(const std::string& contents = "bad contents") const {
        WriteFile(m_bad, contents);
        return m_bad;
    }
    void ExpectNotKept(const std::string& why) {
        m_why.clear();
        EXPECT_EQ(Keep(PutFile()), "");
        EXPECT_THAT(m_why, HasSubstr(why));
        EXPECT_THAT(NamesInFolder(), Not(Contains(".unfinished")));
    }
    std::string m_bad = m_files / "bad.com";
};

TEST_F(KeepTest, EverythingThatBelongsToTheFile) {
    PutFile();
    ASSERT_EQ(chmod(m_bad.c_str(), 04751), 0);
    const timespec times[2] = {{1'000'000'000, 1}, {1'100'000'000, 999'999'999}};
    ASSERT_EQ(utimensat(AT_FDCWD, m_bad.c_str(), times, 0), 0);
    const bool hasAttributes = setxattr(m_bad.c_str(), "user.note", "a\0b", 3, 0) == 0;
    struct stat before {};
    ASSERT_EQ(stat(m_bad.c_str(), &before), 0);
    const std::string name = Keep(m_bad);
    EXPECT_THAT(name, MatchesRegex("20[0-9]{6}-[0-9]{6}-[0-9a-f]{8}")) << m_why;
    EXPECT_THAT(NamesInFolder(), ElementsAre(name));
    const auto item = Open(name);
    ASSERT_TRUE(item) << m_why;
    const vault::ItemFacts& facts = item->Facts();
    EXPECT_EQ(facts.path, m_bad);
    EXPECT_EQ(facts.owner, geteuid());
    EXPECT_EQ(facts.group, before.st_gid);
    EXPECT_EQ(facts.mode, 04751U);
    EXPECT_EQ(facts.accessed.tv_sec, 1'000'000'000);
    EXPECT_EQ(facts.accessed.tv_nsec, 1);
    EXPECT_EQ(facts.modified.tv_sec, 1'100'000'000);
    EXPECT_EQ(facts.modified.tv_nsec, 999'999'999);
    EXPECT_EQ(facts.virusName, "Test.Virus");
    EXPECT_EQ(facts.database, "275.12");
    EXPECT_EQ(facts.sha256, "807790cb9bb33e1893775cf3d35f33c174f264396123dc18229048c791d80007");
    EXPECT_EQ(facts.kept, vault::TimeOfItem(name));
    EXPECT_EQ(Contents(*item), "bad contents");
    if (hasAttributes) {
        ASSERT_EQ(facts.attributes.size(), 1U);
        EXPECT_EQ(facts.attributes[0].name, "user.note");
        EXPECT_EQ(facts.attributes[0].value, std::string("a\0b", 3));
    }
    EXPECT_EQ(ReadFile(m_bad), "bad contents") << "whoever asked deletes it";
}

TEST_F(KeepTest, ForNobodyElse) {
    const std::string name = Keep(PutFile());
    EXPECT_EQ(ModeOf(m_vault.substr(0, m_vault.size() - 1)), 0700U);
    EXPECT_EQ(ModeOf(Folder().substr(0, Folder().size() - 1)), 0700U);
    EXPECT_EQ(ModeOf(Folder() + name), 0600U);
}

TEST_F(KeepTest, AFolderThatWasOpenedToOthersIsClosedAgain) {
    (void)Keep(PutFile());
    fs::permissions(m_vault, fs::perms(0755));
    EXPECT_NE(Keep(PutFile()), "") << m_why;
    EXPECT_EQ(ModeOf(m_vault.substr(0, m_vault.size() - 1)), 0700U);
}

TEST_F(KeepTest, FilesOfEachOwnerApart) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs root to give a file away";
    }
    PutFile();
    ASSERT_EQ(chown(m_bad.c_str(), 4711, 4712), 0);
    ASSERT_NE(Keep(m_bad), "") << m_why;
    EXPECT_THAT(NamesInFolder(), IsEmpty());
    EXPECT_EQ(std::distance(fs::directory_iterator(m_vault + "4711"), {}), 1);
}

TEST_F(KeepTest, NotWhatChangedSinceItWasScanned) {
    PutFile();
    struct stat before {};
    ASSERT_EQ(stat(m_bad.c_str(), &before), 0);
    // The same size, and the time put back: the time of the last change of state tells.
    ASSERT_TRUE(WaitUntil([&] {
        WriteFile(m_bad, "new contents");
        struct stat now {};
        stat(m_bad.c_str(), &now);
        return now.st_ctim.tv_nsec != before.st_ctim.tv_nsec;
    }));
    const timespec times[2] = {before.st_atim, before.st_mtim};
    ASSERT_EQ(utimensat(AT_FDCWD, m_bad.c_str(), times, 0), 0);
    EXPECT_EQ(KeepScanned(m_bad, before), "");
    EXPECT_EQ(m_why, "it changed while it was copied");
    EXPECT_THAT(NamesInFolder(), IsEmpty());
}

TEST_F(KeepTest, NotWhereTheDiskIsFull) {
    (void)Keep(PutFile());
    const std::vector<std::string> before = NamesInFolder();
    PutFile();
    {
        const NoRoom noRoom;
        struct stat status {};
        ASSERT_EQ(stat(m_bad.c_str(), &status), 0);
        EXPECT_EQ(KeepScanned(m_bad, status), "");
    }
    EXPECT_THAT(m_why, HasSubstr("it cannot be written to the vault: "));
    EXPECT_EQ(NamesInFolder(), before);
}

TEST_F(KeepTest, NotInAFolderThatIsALink) {
    fs::create_directories(m_files / "elsewhere");
    fs::permissions(m_files / "elsewhere", fs::perms(0700));
    fs::create_directories(fs::path(m_vault).parent_path().parent_path());
    fs::create_symlink(m_files / "elsewhere", m_vault.substr(0, m_vault.size() - 1));
    ExpectNotKept("/vault: ");
    EXPECT_THAT(m_why, testing::AnyOf(HasSubstr("Not a directory"), HasSubstr("symbolic links")));
    EXPECT_EQ(std::distance(fs::directory_iterator(m_files / "elsewhere"), {}), 0);
}

TEST_F(KeepTest, NotInAFolderOfAnotherUser) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs root to give a folder away";
    }
    (void)Keep(PutFile());
    ASSERT_EQ(chown(m_vault.c_str(), 4711, 4711), 0);
    ExpectNotKept("/var/lib/corvane/vault: it belongs to another user");
    ASSERT_EQ(chown(m_vault.c_str(), 0, 0), 0);
    ASSERT_EQ(chown("/var/lib/corvane", 4711, 0), 0);
    ExpectNotKept("/var/lib/corvane: it belongs to another user");
    ASSERT_EQ(chown("/var/lib/corvane", 0, 0), 0);
    ASSERT_EQ(chmod("/var/lib/corvane", 0777), 0);
    ExpectNotKept("/var/lib/corvane: others may write to it");
    ASSERT_EQ(chmod("/var/lib/corvane", 0755), 0);
    EXPECT_NE(Keep(PutFile()), "") << m_why;
}

TEST_F(KeepTest, WhatIsOlderThanItsDaysGoesWhenSomethingComes) {
    const std::string old = PutOld(30);
    const std::string young = PutOld(29);
    const std::string name = Keep(PutFile());
    ASSERT_NE(name, "") << m_why;
    EXPECT_THAT(NamesInFolder(), ElementsAre(young, name));
}

TEST_F(KeepTest, AFullVaultLetsGoOfTheOldestAndOfNoMoreThanNeeded) {
    const std::string first = PutOld(20, 40'000);
    const std::string second = PutOld(10, 40'000);
    const std::string third = PutOld(8, 40'000);
    m_settings.bytes = 100'000;
    const std::string name = Keep(PutFile());
    ASSERT_NE(name, "") << m_why;
    EXPECT_THAT(NamesInFolder(), ElementsAre(second, third, name));
}

TEST_F(KeepTest, AVaultFullOfYoungItemsKeepsThemAndNothingElse) {
    const std::string old = PutOld(20, 1000);
    const std::string young = PutOld(6, 99'999);
    m_settings.bytes = 100'000;
    ExpectNotKept("the vault is full");
    EXPECT_THAT(NamesInFolder(), ElementsAre(old, young)) << "in vain nothing goes";
    fs::remove(Folder() + young);
    const std::string seven = PutOld(7, 99'999);
    const std::string name = Keep(PutFile());
    ASSERT_NE(name, "") << m_why;
    EXPECT_THAT(NamesInFolder(), ElementsAre(name));
}

// An owner of very many files would otherwise slow down each deletion.
TEST_F(KeepTest, ALargeVaultIsLookedThroughOnlyWhenItHasChanged) {
    m_settings.bytes = 100'000;
    const std::string first = Keep(PutFile());
    ASSERT_NE(first, "") << m_why;
    WriteFile(Folder() + first, std::string(100'000, 'x'));
    const std::string second = Keep(PutFile());
    EXPECT_NE(second, "") << "nobody came or went: " << m_why;
    // A refusal leaves things as they were; another item is a change.
    m_settings.bytes = 100;
    EXPECT_EQ(Keep(PutFile()), "");
    m_settings.bytes = 100'000;
    const std::string third = Keep(PutFile());
    EXPECT_NE(third, "") << m_why;
    (void)PutOld(1, 10);
    ExpectNotKept("the vault is full");
    EXPECT_EQ(NamesInFolder().size(), 4U);
}

TEST_F(KeepTest, WhatWasKeptInBetweenIsCounted) {
    m_settings.bytes = 20'000;
    std::vector<std::string> kept;
    for (std::string name = "?"; !name.empty() && kept.size() < 100;) {
        name = Keep(PutFile());
        kept.push_back(name);
    }
    EXPECT_EQ(m_why, "the vault is full");
    EXPECT_GT(kept.size(), 4U) << "each takes a block or less";
    EXPECT_LT(kept.size(), 60U);
}

TEST_F(KeepTest, WhatOthersHaveFilledIsNotCounted) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs root to give a file away";
    }
    (void)PutOld(1, 90'000);
    m_settings.bytes = 100'000;
    WriteFile(m_bad, "x");
    ASSERT_EQ(chown(m_bad.c_str(), 4711, 4712), 0);
    EXPECT_NE(Keep(m_bad), "") << m_why;
}

TEST_F(KeepTest, AFileLargerThanTheVaultIsNotKept) {
    m_settings.bytes = 1000;
    std::string contents;
    while (contents.size() < 100'000) {
        contents += std::to_string(contents.size() * 2654435761U);
    }
    EXPECT_EQ(Keep(PutFile(contents)), "");
    EXPECT_EQ(m_why, "it is larger than the vault");
    EXPECT_THAT(NamesInFolder(), IsEmpty());
}

TEST_F(KeepTest, WhatAKilledWriterLeftGoes) {
    (void)Keep(PutFile());
    WriteFile(Folder() + ".unfinished", "half");
    const std::string name = Keep(PutFile());
    ASSERT_NE(name, "") << m_why;
    EXPECT_THAT(NamesInFolder(), Not(Contains(".unfinished")));
}

TEST_F(KeepTest, WhatIsNoItemStaysAndCountsForNothing) {
    (void)PutOld(1);
    WriteFile(Folder() + "notes", std::string(200'000, 'n'));
    fs::create_directory(Folder() + "20010101-000000-00000000");
    m_settings.bytes = 100'000;
    EXPECT_NE(Keep(PutFile()), "") << m_why;
    EXPECT_THAT(NamesInFolder(), Contains("notes"));
    EXPECT_THAT(NamesInFolder(), Contains("20010101-000000-00000000"));
}

TEST_F(KeepTest, WaitsForAnotherProcess) {
    (void)Keep(PutFile());
    common::FileDescriptor folder(open(Folder().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ASSERT_EQ(flock(folder.Get(), LOCK_EX), 0);
    const pid_t child = StartChild([&] { return Keep(PutFile()).empty() ? 1 : 0; });
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(NamesInFolder().size(), 1U);
    ASSERT_EQ(flock(folder.Get(), LOCK_UN), 0);
    EXPECT_EQ(JoinChild(child), 0);
    EXPECT_EQ(NamesInFolder().size(), 2U);
}

TEST_F(KeepTest, WhatIsDiscardedIsGone) {
    const std::string name = Keep(PutFile());
    vault::Discard({name, ""}, geteuid());
    EXPECT_THAT(NamesInFolder(), IsEmpty());
}

TEST(ItemName, IsReadStrictly) {
    EXPECT_EQ(vault::TimeOfItem("19700102-000001-00000000"), 86401);
    EXPECT_EQ(vault::TimeOfItem("20261122-074512-9f3a1c02"), 1795333512);
    for (const char* name :
         {"", "20261122-074512-9f3a1c0", "20261122-074512-9f3a1c022", "20261122-074512-9F3A1C02",
          "20261132-074512-9f3a1c02", "20261122-244512-9f3a1c02", "2026112a-074512-9f3a1c02",
          "20261122_074512-9f3a1c02", "20261122-074512_9f3a1c02", "+0261122-074512-9f3a1c02"}) {
        EXPECT_FALSE(vault::TimeOfItem(name)) << name;
    }
}

}  // namespace
