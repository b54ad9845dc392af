// How a written profile file takes the place of the old one, and what is left when it cannot.

#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "common/profile.h"
#include "tests/support/scratch.h"

namespace {

constexpr std::uint32_t kUntouchedCode = 77;
constexpr uid_t kNobody = 65534;

class ProfileReplacement : public testing::Test {
protected:
    void SetUp() override { WriteFile(m_path, m_before); }

    std::uint32_t Write(const std::string& value = "new") const {
        std::uint32_t code = kUntouchedCode;
        const int result =
            WritePrivateProfileString("S", "Key", value.c_str(), m_path.c_str(), &code);
        EXPECT_EQ(result, code == 0 ? 0 : -1);
        return code;
    }

    // The same by somebody who may not write everywhere; for that this process must be root.
    [[nodiscard]] int WriteAsNobody() const {
        return InChild([this] {
            if (::geteuid() == 0 && ::setuid(kNobody) != 0) {
                return 1;
            }
            return static_cast<int>(Write());
        });
    }

    // No temporary file is left, under whatever name.
    void ExpectNothingElse() const {
        for (const auto& entry : std::filesystem::directory_iterator(m_scratch.Path())) {
            EXPECT_EQ(entry.path().string(), m_path);
        }
    }

    ScratchFolder m_scratch;
    std::string m_path = m_scratch / "section.ini";
    std::string m_temporary = m_path + ".tmp";
    std::string m_before = " [S] \nKey=old\n rest \n";
    std::string m_after = "[S]\nKey=new\n rest \n";
};

TEST_F(ProfileReplacement, AMissingFileFailsAndCreatesNothing) {
    ASSERT_EQ(::unlink(m_path.c_str()), 0);
    EXPECT_EQ(Write(), 102U);
    EXPECT_FALSE(Exists(m_path));
    EXPECT_FALSE(Exists(m_temporary));
}

TEST_F(ProfileReplacement, WritesRegularFilesOnly) {
    ASSERT_EQ(::unlink(m_path.c_str()), 0);
    ASSERT_EQ(::mkfifo(m_path.c_str(), 0600), 0);
    EXPECT_EQ(Write(), 102U);
    ASSERT_EQ(::unlink(m_path.c_str()), 0);
    ASSERT_EQ(::mkdir(m_path.c_str(), 0700), 0);
    EXPECT_EQ(Write(), 102U);
    EXPECT_FALSE(Exists(m_temporary));
}

TEST_F(ProfileReplacement, KeepsThePermissionBits) {
    const mode_t mask = ::umask(077);
    for (const mode_t mode : {0666U, 0600U, 0444U, 0640U, 0777U}) {
        ASSERT_EQ(::chmod(m_path.c_str(), mode), 0);
        EXPECT_EQ(Write(std::to_string(mode)), 0U);
        EXPECT_EQ(ModeOf(m_path), mode);
    }
    ::umask(mask);
}

TEST_F(ProfileReplacement, KeepsTheOwner) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can give a file to somebody else";
    }
    ASSERT_EQ(::chown(m_path.c_str(), kNobody, kNobody), 0);
    ASSERT_EQ(::chmod(m_path.c_str(), 0600), 0);
    EXPECT_EQ(Write(), 0U);
    struct stat status {};
    ASSERT_EQ(::stat(m_path.c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, kNobody);
    EXPECT_EQ(status.st_gid, kNobody);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

TEST_F(ProfileReplacement, IsANewFileInTheOldOnesPlace) {
    const std::string other = m_scratch / "other";
    ASSERT_EQ(::link(m_path.c_str(), other.c_str()), 0);
    EXPECT_EQ(Write(), 0U);
    EXPECT_EQ(ReadFile(m_path), m_after);
    EXPECT_EQ(ReadFile(other), m_before);
}

TEST_F(ProfileReplacement, AReaderFindsAWholeFileAtEveryMoment) {
    const pid_t writer = StartChild([this] {
        for (int i = 0; i < 400; ++i) {
            if (Write(std::string(1U + static_cast<unsigned>(i) % 200U, 'v')) != 0) {
                return 1;
            }
        }
        return 0;
    });
    int exitStatus = -1;
    std::uint32_t code = 0;
    while (code == 0 && ::waitpid(writer, &exitStatus, WNOHANG) == 0) {
        std::string buffer(512, '\0');
        (void)GetPrivateProfileString("S", "Key", "missing", buffer.data(), 512, m_path.c_str(),
                                      &code);
        std::vector<std::string> lines;
        ASSERT_EQ(GetPrivateProfileSection("S", &lines, m_path.c_str()), 0);
        EXPECT_EQ(lines.size(), 2U);
    }
    EXPECT_EQ(code, 0U);
    EXPECT_EQ(exitStatus, 0);
}

TEST_F(ProfileReplacement, TwoWritersAtOnceLoseAtMostAValue) {
    constexpr int kRounds = 300;
    constexpr std::size_t kOthers = 2'000;
    std::string content = "[S]\n";
    for (std::size_t i = 0; i < kOthers; ++i) {
        content += "Other" + std::to_string(i) + "=" + std::string(30, 'x') + "\n";
    }
    WriteFile(m_path, content);
    std::vector<pid_t> writers;
    writers.reserve(2);
    for (const char* key : {"First", "Second"}) {
        writers.push_back(StartChild([this, key] {
            for (int i = 0; i < kRounds; ++i) {
                std::uint32_t code = kUntouchedCode;
                if (WritePrivateProfileString("S", key, std::to_string(i).c_str(), m_path.c_str(),
                                              &code) != 0) {
                    return 1;
                }
            }
            return 0;
        }));
    }
    std::size_t partial = 0;
    for (const pid_t writer : writers) {
        int exitStatus = -1;
        while (::waitpid(writer, &exitStatus, WNOHANG) == 0) {
            std::vector<std::string> lines;
            EXPECT_EQ(GetPrivateProfileSection("S", &lines, m_path.c_str()), 0);
            partial += lines.size() < kOthers ? 1U : 0U;
        }
        EXPECT_EQ(exitStatus, 0);
    }
    EXPECT_EQ(partial, 0U);
    EXPECT_TRUE(ReadFile(m_path).starts_with(content));
    ExpectNothingElse();
}

TEST_F(ProfileReplacement, ALinkMakesWayAndItsTargetStays) {
    const std::string target = m_scratch / "target";
    ASSERT_EQ(::rename(m_path.c_str(), target.c_str()), 0);
    ASSERT_EQ(::symlink(target.c_str(), m_path.c_str()), 0);
    EXPECT_EQ(Write(), 0U);
    EXPECT_FALSE(std::filesystem::is_symlink(m_path));
    EXPECT_EQ(ReadFile(m_path), m_after);
    EXPECT_EQ(ReadFile(target), m_before);
}

TEST_F(ProfileReplacement, OverwritesALeftover) {
    WriteFile(m_temporary, std::string(10'000, 'x'));
    ASSERT_EQ(::chmod(m_temporary.c_str(), 0400), 0);
    EXPECT_EQ(Write(), 0U);
    EXPECT_EQ(ReadFile(m_path), m_after);
    ExpectNothingElse();
}

TEST_F(ProfileReplacement, DoesNotWriteThroughALinkLaidUnderTheTemporaryName) {
    const std::string victim = m_scratch / "victim";
    WriteFile(victim, "precious");
    ASSERT_EQ(::symlink(victim.c_str(), m_temporary.c_str()), 0);
    EXPECT_EQ(Write(), 0U);
    EXPECT_EQ(ReadFile(m_path), m_after);
    ASSERT_EQ(::link(victim.c_str(), m_temporary.c_str()), 0);
    EXPECT_EQ(Write("newer"), 0U);
    EXPECT_EQ(ReadFile(victim), "precious");
    struct stat status {};
    ASSERT_EQ(::lstat(m_path.c_str(), &status), 0);
    EXPECT_TRUE(S_ISREG(status.st_mode));
    EXPECT_EQ(status.st_nlink, 1U);
}

TEST_F(ProfileReplacement, DoesNotWaitOnAFifoLaidUnderTheTemporaryName) {
    ASSERT_EQ(::mkfifo(m_temporary.c_str(), 0666), 0);
    EXPECT_EQ(Write(), 0U);
    EXPECT_EQ(ReadFile(m_path), m_after);
    EXPECT_FALSE(Exists(m_temporary));
}

TEST_F(ProfileReplacement, FailsWhereTheTemporaryNameCannotBeHad) {
    ASSERT_EQ(::mkdir(m_temporary.c_str(), 0700), 0);
    EXPECT_EQ(Write(), 102U);
    EXPECT_EQ(ReadFile(m_path), m_before);
    ASSERT_EQ(::rmdir(m_temporary.c_str()), 0);
    ExpectNothingElse();
}

TEST_F(ProfileReplacement, FailsInAFolderThatCannotBeWritten) {
    ASSERT_EQ(::chmod(m_scratch.Path().c_str(), 0555), 0);
    EXPECT_EQ(WriteAsNobody(), 102);
    ASSERT_EQ(::chmod(m_scratch.Path().c_str(), 0700), 0);
    EXPECT_EQ(ReadFile(m_path), m_before);
    ExpectNothingElse();
}

TEST_F(ProfileReplacement, FailsOnAFileThatCannotBeRead) {
    ASSERT_EQ(::chmod(m_path.c_str(), 0000), 0);
    ASSERT_EQ(::chmod(m_scratch.Path().c_str(), 0777), 0);
    EXPECT_EQ(WriteAsNobody(), 102);
    ASSERT_EQ(::chmod(m_path.c_str(), 0600), 0);
    EXPECT_EQ(ReadFile(m_path), m_before);
    EXPECT_FALSE(Exists(m_temporary));
}

TEST_F(ProfileReplacement, DoesNotTellThatTheOldFileCouldNotBeReplaced) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can give a file to somebody else";
    }
    // In a folder as "/tmp" is, nobody may create a file but not replace somebody else's.
    ASSERT_EQ(::chmod(m_scratch.Path().c_str(), 01777), 0);
    ASSERT_EQ(::chmod(m_path.c_str(), 0666), 0);
    EXPECT_EQ(WriteAsNobody(), 0);
    EXPECT_EQ(ReadFile(m_path), m_before);
    ExpectNothingElse();
}

TEST_F(ProfileReplacement, AShortWriteLeavesTheOldFileWhole) {
    // Longer than any buffer, so that the first blocks are written before the limit is met.
    const std::string before = m_before + std::string(100'000, 'x');
    WriteFile(m_path, before);
    const int code = InChild([this] {
        constexpr struct rlimit kLimit { 50'000, 50'000 };
        (void)std::signal(SIGXFSZ, SIG_IGN);
        return ::setrlimit(RLIMIT_FSIZE, &kLimit) == 0 ? static_cast<int>(Write()) : 1;
    });
    EXPECT_EQ(code, 102);
    EXPECT_EQ(ReadFile(m_path), before);
    ExpectNothingElse();
}

TEST_F(ProfileReplacement, AFileThatFitsTheBufferCanFailToBeWrittenToo) {
    const int code = InChild([this] {
        constexpr struct rlimit kLimit { 5, 5 };
        (void)std::signal(SIGXFSZ, SIG_IGN);
        return ::setrlimit(RLIMIT_FSIZE, &kLimit) == 0 ? static_cast<int>(Write()) : 1;
    });
    EXPECT_EQ(code, 102);
    EXPECT_EQ(ReadFile(m_path), m_before);
    ExpectNothingElse();
}

TEST_F(ProfileReplacement, AReadErrorLeavesTheOldFileWhole) {
    // A regular file, by its kind, whose first page cannot be read.
    ASSERT_EQ(::unlink(m_path.c_str()), 0);
    ASSERT_EQ(::symlink("/proc/self/mem", m_path.c_str()), 0);
    EXPECT_EQ(Write(), 102U);
    EXPECT_TRUE(std::filesystem::is_symlink(m_path));
    EXPECT_FALSE(Exists(m_temporary));
}

TEST_F(ProfileReplacement, TheTemporaryNameHasAtMost260Bytes) {
    // 256 bytes and ".tmp" are 260.
    const std::string folder = m_scratch / std::string(100, 'f');
    ASSERT_EQ(::mkdir(folder.c_str(), 0700), 0);
    const std::string longest = folder + "/" + std::string(255 - folder.size(), 'n');
    ASSERT_EQ(longest.size(), 256U);
    m_path = longest;
    WriteFile(m_path, m_before);
    EXPECT_EQ(Write(), 0U);
    EXPECT_EQ(ReadFile(m_path), m_after);

    m_path = longest + "n";
    WriteFile(m_path, m_before);
    WriteFile(m_path + ".tmp", "leftover");
    EXPECT_EQ(Write(), 102U);
    EXPECT_EQ(ReadFile(m_path), m_before);
    EXPECT_EQ(ReadFile(m_path + ".tmp"), "leftover");
}

}  // namespace
