#include <grp.h>
#include <sys/file.h>

#include "common/file_descriptor.h"
#include "tests/unit/product/shared_files/shared_files_fixture.h"

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
        Put(file.name, "kept as it is" + std::string(file.minimumSize, 'x'));
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
                Put(file.name, std::string(isEmpty ? 0 : file.minimumSize - 1, 'x'));
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
            fs::create_directories(PathOf("reports"));
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
    FileDescriptor other(::open(PathOf(name).c_str(), O_WRONLY | O_CLOEXEC));
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

}  // namespace
