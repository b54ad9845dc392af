#include <grp.h>
#include <sys/file.h>

#include "common/file_descriptor.h"
#include "tests/unit/product/shared_files/shared_files_fixture.h"
#include "update/files/admin_links.h"
#include "update/files/update_links.h"

// What create-shared-files makes, keeps, repairs and leaves alone.

namespace fs = std::filesystem;

namespace {

constexpr char kAnew[] = ": was empty or cut off and has been made anew\n";
constexpr char kAlone[] = ": is no plain file and is left alone\n";

TEST_F(SharedFiles, AreMadeWithTheirContentAndMode) {
    const mode_t old = ::umask(0077);
    const Outcome run = Run();
    ::umask(old);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.errors, "");
    ExpectAllWhole();
}

TEST_F(SharedFiles, KeepTheirContentWhenItRunsAgain) {
    for (const ExpectedFile& file : kFiles) {
        // In the updater's folder one with another mode is nobody's to keep.
        Put(file.name, "kept as it is" + std::string(file.minimumSize, 'x'),
            file.name.starts_with("defs/") ? file.mode : 0600);
    }
    const Outcome run = Run();
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.errors, "");
    for (const ExpectedFile& file : kFiles) {
        EXPECT_EQ(ReadFile(PathOf(file.name)),
                  "kept as it is" + std::string(file.minimumSize, 'x'));
        // A private file that somebody moved into everybody's folder is not opened to everybody.
        EXPECT_EQ(ModeOf(PathOf(file.name)), file.name.starts_with("reports/") ? 0600U : file.mode)
            << file.name;
    }
}

TEST_F(SharedFiles, OfTheShortestUsefulSizeAreKept) {
    for (const ExpectedFile& file : kFiles) {
        Put(file.name, std::string(file.minimumSize, 'k'), file.mode);
    }
    EXPECT_EQ(Run().errors, "");
    for (const ExpectedFile& file : kFiles) {
        EXPECT_EQ(ReadFile(PathOf(file.name)), std::string(file.minimumSize, 'k')) << file.name;
    }
}

TEST_F(SharedFiles, EmptyOrCutOffAreMadeAnew) {
    for (const bool isEmpty : {true, false}) {
        std::string messages;
        for (const ExpectedFile& file : kFiles) {
            if (file.minimumSize > 0) {
                Put(file.name, std::string(isEmpty ? 0 : file.minimumSize - 1, 'x'),
                    file.name.starts_with("defs/") ? file.mode : 0600);
                messages += "create-shared-files: " + PathOf(file.name) + kAnew;
            }
        }
        const Outcome run = Run();
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.errors, messages);
        ExpectAllWhole();
    }
}

TEST_F(SharedFiles, AnEmptyRecordFileIsRightUnlessItsUsersAreShutOut) {
    Put("reports/VirRcONE.dat", "", 0666);
    Put("reports/RecOffset.dat", "", 0644);
    struct stat before {};
    ASSERT_EQ(::stat(PathOf("reports/VirRcONE.dat").c_str(), &before), 0);
    const Outcome run = Run();
    EXPECT_EQ(run.errors, "create-shared-files: " + PathOf("reports/RecOffset.dat") + kAnew);
    struct stat after {};
    ASSERT_EQ(::stat(PathOf("reports/VirRcONE.dat").c_str(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino) << "somebody may have it open";
    ExpectAllWhole();
}

TEST_F(SharedFiles, LinksAreNotFollowed) {
    const std::string victim = m_scratch / "victim";
    const std::string made = m_scratch / "made";
    for (const ExpectedFile& file : kFiles) {
        for (const std::string& target : {victim, made}) {
            WriteFile(victim, "");
            ASSERT_EQ(::chmod(victim.c_str(), 0600), 0);
            fs::remove_all(m_directory);
            fs::create_directories(fs::path(PathOf(file.name)).parent_path());
            fs::create_symlink(target, PathOf(file.name));
            const Outcome run = Run();
            EXPECT_EQ(run.status, 0) << "what somebody planted must not break an upgrade";
            EXPECT_EQ(run.errors, "create-shared-files: " + PathOf(file.name) + kAlone);
            EXPECT_TRUE(fs::is_symlink(PathOf(file.name)));
            EXPECT_EQ(ModeOf(victim), 0600U);
            EXPECT_EQ(ReadFile(victim), "");
            EXPECT_FALSE(Exists(made)) << file.name;
        }
    }
}

TEST_F(SharedFiles, AFurtherNameOfAnotherFileIsReplacedAndTheFileUntouched) {
    const std::string victim = m_scratch / "victim";
    WriteFile(victim, "victim");
    ASSERT_EQ(::chmod(victim.c_str(), 0600), 0);
    fs::create_directories(PathOf("reports"));
    fs::create_hard_link(victim, PathOf("reports/VirMain.dat"));
    EXPECT_EQ(Run().status, 0);
    EXPECT_EQ(ReadFile(victim), "victim");
    EXPECT_EQ(ModeOf(victim), 0600U);
    ExpectAllWhole();
}

TEST_F(SharedFiles, TheVersionIsThatOfTheDefinitionsInUse) {
    ASSERT_EQ(Run().status, 0);
    fs::create_directories(PathOf("defs/set-7"));
    WriteFile(PathOf("defs/set-7/scanver.cnf"), "the version of set-7");
    fs::remove(PathOf("defs/current"));
    fs::create_symlink("set-7", PathOf("defs/current"));
    EXPECT_EQ(Run().errors, "");
    EXPECT_EQ(LinkAt("defs/current"), "set-7") << "an upgrade brings nothing older back";
    EXPECT_EQ(ReadFile(PathOf("scanver.cnf")), "the version of set-7");
    fs::remove(PathOf("scanver.cnf"));
    fs::create_symlink("elsewhere", PathOf("scanver.cnf"));
    EXPECT_EQ(Run().errors, "");
    EXPECT_EQ(LinkAt("scanver.cnf"), "elsewhere") << "the administrator's own";
}

// Earlier releases laid a file of their own, and read that of the set in use first.
TEST_F(SharedFiles, TheVersionFileOfAnEarlierReleaseGivesWayToALink) {
    for (const bool isUpdated : {false, true}) {
        fs::remove_all(m_directory);
        Put("scanver.cnf", "of the release befor", 0644);
        Put("defs/lock", "", 0600);
        if (isUpdated) {
            Put("defs/set-3/scanver.cnf", "the version of set-3", 0644);
            fs::create_symlink("set-3", PathOf("defs/current"));
        }
        const Outcome run = Run();
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.errors, "");
        EXPECT_EQ(LinkAt("scanver.cnf"), "defs/current/scanver.cnf");
        EXPECT_EQ(ReadFile(PathOf("scanver.cnf")),
                  isUpdated ? "the version of set-3" : kFiles.back().content);
    }
}

TEST_F(SharedFiles, TheVersionFileStaysWhileALinkWouldLeadNowhere) {
    Put("scanver.cnf", "of the release befor", 0644);
    fs::create_directories(PathOf("defs"));
    fs::create_symlink("set-3", PathOf("defs/current"));
    EXPECT_EQ(Run().status, 0);
    EXPECT_EQ(ReadFile(PathOf("scanver.cnf")), "of the release befor");
    EXPECT_FALSE(fs::is_symlink(PathOf("scanver.cnf")));
}

TEST_F(SharedFiles, AFolderInThePlaceOfALinkIsLeftAlone) {
    fs::create_directories(PathOf("defs/current"));
    const Outcome run = Run();
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.errors, "create-shared-files: " + PathOf("defs/current") + kAlone);
}

// Whoever may put names into the folder of the definitions decides about nothing elsewhere.
TEST_F(SharedFiles, NoFolderIsMadeThroughALinkAmongTheDefinitions) {
    fs::create_directories(PathOf("defs"));
    fs::create_directories(m_scratch / "victim");
    ASSERT_EQ(::chmod((m_scratch / "victim").c_str(), 0700), 0);
    fs::create_symlink(m_scratch / "victim", PathOf("defs/package"));
    const Outcome run = Run();
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.errors, "create-shared-files: " + PathOf("defs/package") + ": Not a directory\n");
    EXPECT_EQ(ModeOf(m_scratch / "victim"), 0700U);
    EXPECT_FALSE(Exists(m_scratch / "victim/scanver.cnf"));
}

TEST_F(SharedFiles, AFolderOrAPipeInTheirPlaceIsLeftAlone) {
    fs::create_directories(PathOf("reports/VirMain.dat"));
    ASSERT_EQ(::mkfifo(PathOf("reports/RecOffset.dat").c_str(), 0600), 0);
    const Outcome run = Run();
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.errors, "create-shared-files: " + PathOf("reports/VirMain.dat") + kAlone +
                              "create-shared-files: " + PathOf("reports/RecOffset.dat") + kAlone);
    EXPECT_EQ(ModeOf(PathOf("reports/RecOffset.dat")), 0600U);
}

TEST_F(SharedFiles, ACutOffFileOfAnotherUserBecomesRoots) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    ASSERT_EQ(Run().status, 0);
    fs::remove(PathOf("reports/VirMain.dat"));
    ASSERT_EQ(::chmod(m_scratch.Path().c_str(), 0755), 0);
    ASSERT_EQ(InChild([this] {
                  return ::setgroups(0, nullptr) == 0 && ::setgid(65534) == 0 &&
                                 ::setuid(65534) == 0 &&
                                 ::creat(PathOf("reports/VirMain.dat").c_str(), 0600) >= 0
                             ? 0
                             : 1;
              }),
              0);
    EXPECT_EQ(Run().status, 0);
    ExpectAllWhole();
    struct stat status {};
    ASSERT_EQ(::stat(PathOf("reports/VirMain.dat").c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 0U);
}

TEST_F(SharedFiles, WhatAKilledRunLeftIsRemoved) {
    Put(".create-shared-files-0123456789abcdef", "half");
    Put("reports/.create-shared-files-fedcba9876543210", "half");
    Put("reports/create-shared-files-of-a-user", "a user's");
    EXPECT_EQ(Run().status, 0);
    EXPECT_EQ(ReadFile(PathOf("reports/create-shared-files-of-a-user")), "a user's");
    fs::remove(PathOf("reports/create-shared-files-of-a-user"));
    ExpectAllWhole();
}

TEST_F(SharedFiles, WhatARunIsAtWorkOnIsNotRemoved) {
    const std::string name = "reports/.create-shared-files-0123456789abcdef";
    Put(name, "half");
    common::FileDescriptor other(::open(PathOf(name).c_str(), O_WRONLY | O_CLOEXEC));
    ASSERT_EQ(::flock(other.Get(), LOCK_EX), 0);
    EXPECT_EQ(Run().status, 0);
    EXPECT_EQ(ReadFile(PathOf(name)), "half");
    other.Reset();
    EXPECT_EQ(Run().status, 0);
    ExpectAllWhole();
}

TEST_F(SharedFiles, WhatIsNoFileUnderTheNameOfAHalfMadeOneHoldsNobodyUp) {
    fs::create_directories(PathOf("reports"));
    fs::create_symlink(m_scratch / "nowhere", PathOf(".create-shared-files-link"));
    ASSERT_EQ(::mkfifo(PathOf("reports/.create-shared-files-pipe").c_str(), 0600), 0);
    EXPECT_EQ(Run().status, 0);
    ExpectAllWhole();
}

TEST_F(SharedFiles, NeedADirectory) {
    EXPECT_EQ(Execute({CREATE_SHARED_FILES}).status, 2);
    const Outcome run = Execute({CREATE_SHARED_FILES, m_scratch / "nowhere"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.errors,
              "create-shared-files: " + (m_scratch / "nowhere") + ": No such file or directory\n");
    EXPECT_FALSE(Exists(m_scratch / "nowhere"));
}

TEST_F(SharedFiles, OneThatCannotBeMadeKeepsNoOtherFromBeingMade) {
    WriteFile(PathOf("reports"), "no folder");
    const Outcome run = Run();
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.errors, "create-shared-files: " + PathOf("reports") + ": Not a directory\n");
    ExpectWhole(kFiles[5]);
    EXPECT_EQ(ModeOf(PathOf("tmp")), 01777U);
}

TEST_F(SharedFiles, TheLockOfUpdatesIsNeverReplacedUnderItsHolder) {
    Put("updt.lck", "", 0600);
    struct stat before {};
    ASSERT_EQ(::stat(PathOf("updt.lck").c_str(), &before), 0);
    EXPECT_EQ(Run().errors, "");
    struct stat after {};
    ASSERT_EQ(::stat(PathOf("updt.lck").c_str(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(ModeOf(PathOf("updt.lck")), 0666U);
}

TEST_F(SharedFiles, TheFirstSourceAndTheEmptyListOfTheServerCanBeRead) {
    ASSERT_EQ(Run().status, 0);
    int count = -1;
    char** const links = CUpdate::ReadUpdLink(&count, PathOf("updlink.dat").c_str());
    ASSERT_NE(links, nullptr);
    EXPECT_EQ(count, 1);
    EXPECT_STREQ(links[0], "https://database.clamav.net");
    CUpdate::FreeUpdtLink(links, count);

    tagADMNURLRECORD record{};
    unsigned short addresses = 7;
    char** list = nullptr;
    unsigned int error = 1;
    EXPECT_EQ(ReadUpdateInfo(PathOf("admnlink.dat").c_str(), &record, &addresses, &list, error), 1);
    EXPECT_EQ(addresses, 0);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(record.kind, 1);
}

/// With the users of the package, who are the test's own.
class SharedFilesWithUsers : public SharedFiles {
protected:
    void SetUp() override {
        SharedFiles::SetUp();
        if (!HasPrivateRoot() || ::geteuid() != 0) {
            GTEST_SKIP() << "users are only made in a private root, by root";
        }
        WriteFile("/etc/passwd",
                  m_users +
                      "corvane:x:64001:64001::/nonexistent:/usr/sbin/nologin\n"
                      "corvane-fetch:x:64002:64002::/nonexistent:/usr/sbin/nologin\n");
        WriteFile("/etc/group", m_groups + "corvane:x:64001:\ncorvane-fetch:x:64002:\n");
    }
    void TearDown() override {
        if (HasPrivateRoot() && ::geteuid() == 0) {
            WriteFile("/etc/passwd", m_users);
            WriteFile("/etc/group", m_groups);
        }
    }

    /// User and group of what is in the directory.
    [[nodiscard]] std::string OwnerOf(const std::string& name) const {
        struct stat status {};
        if (::lstat(PathOf(name).c_str(), &status) != 0) {
            return "missing";
        }
        return std::to_string(status.st_uid) + ":" + std::to_string(status.st_gid);
    }

    void ExpectOwners() const {
        for (const ExpectedFile& file : kFiles) {
            const bool isUpdaters = file.name == "zqupdate.opt" || file.name == "admnlink.dat" ||
                                    file.name.starts_with("defs/");
            EXPECT_EQ(OwnerOf(file.name), isUpdaters ? "64001:64001" : "0:0") << file.name;
        }
        EXPECT_EQ(OwnerOf("download"), "64002:64001");
        EXPECT_EQ(OwnerOf("defs"), "64001:64001");
        EXPECT_EQ(OwnerOf("defs/package"), "64001:64001");
        EXPECT_EQ(OwnerOf("reports"), "0:0");
        EXPECT_EQ(OwnerOf("tmp"), "0:0");
    }

    std::string m_users = ReadFile("/etc/passwd");
    std::string m_groups = ReadFile("/etc/group");
};

TEST_F(SharedFilesWithUsers, BelongToWhoWritesThem) {
    EXPECT_EQ(Run().errors, "");
    ExpectAllWhole();
    ExpectOwners();
}

TEST_F(SharedFilesWithUsers, AreGivenToThemWhereTheyAreOlderThanTheUsers) {
    WriteFile("/etc/passwd", m_users);
    WriteFile("/etc/group", m_groups);
    ASSERT_EQ(Run().status, 0);
    EXPECT_EQ(OwnerOf("zqupdate.opt"), "0:0");
    EXPECT_EQ(OwnerOf("download"), "0:0");
    SetUp();
    EXPECT_EQ(Run().status, 0);
    ExpectAllWhole();
    ExpectOwners();
}

// The updater's user could not open one of root's, and others could hold one that they can open.
TEST_F(SharedFilesWithUsers, TheLockOfTheDefinitionsIsTheUpdatersAlone) {
    ASSERT_EQ(Run().status, 0);
    const std::string lock = PathOf("defs/lock");
    const std::string words =
        "create-shared-files: " + lock + ": was not its user's alone and has been made anew\n";
    ASSERT_EQ(::chown(lock.c_str(), 0, 0), 0);
    EXPECT_EQ(Run().errors, words);
    ExpectOwners();
    ASSERT_EQ(::chmod(lock.c_str(), 0644), 0);
    EXPECT_EQ(Run().errors, words);
    ExpectAllWhole();
    EXPECT_EQ(Run().errors, "");
    // What the updater's user laid there is not given to it.
    Put("victim", "", 0644);
    ASSERT_EQ(::unlink(lock.c_str()), 0);
    ASSERT_EQ(::symlink(PathOf("victim").c_str(), lock.c_str()), 0);
    EXPECT_EQ(Run().errors,
              "create-shared-files: " + lock + ": is no plain file and is left alone\n");
    ASSERT_EQ(::unlink(lock.c_str()), 0);
    ASSERT_EQ(::link(PathOf("victim").c_str(), lock.c_str()), 0);
    EXPECT_EQ(Run().errors, words);
    EXPECT_EQ(OwnerOf("victim"), "0:0");
    EXPECT_EQ(ModeOf(PathOf("victim")), 0644U);
}

TEST_F(SharedFilesWithUsers, WhatIsMadeInTheDownloadFolderIsTheUpdatersToRead) {
    ASSERT_EQ(::chmod(m_scratch.Path().c_str(), 0755), 0);
    ASSERT_EQ(Run().status, 0);
    const std::string made = PathOf("download/candidate");
    EXPECT_EQ(InChild([&] {
                  ::umask(0027);
                  return ::setgroups(0, nullptr) == 0 && ::setgid(64002) == 0 &&
                                 ::setuid(64002) == 0 && ::mkdir(made.c_str(), 0777) == 0
                             ? 0
                             : 1;
              }),
              0);
    EXPECT_EQ(OwnerOf("download/candidate"), "64002:64001");
    EXPECT_EQ(ModeOf(made) & 0777U, 0750U);
}

TEST_F(SharedFilesWithUsers, ALinkIsNotGivenAwayNorWhatItLeadsTo) {
    const std::string victim = m_scratch / "victim";
    WriteFile(victim, "victim");
    fs::create_symlink(victim, PathOf("zqupdate.opt"));
    EXPECT_EQ(Run().status, 0);
    struct stat status {};
    ASSERT_EQ(::stat(victim.c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 0U);
    EXPECT_EQ(OwnerOf("zqupdate.opt"), "0:0");
}

}  // namespace
