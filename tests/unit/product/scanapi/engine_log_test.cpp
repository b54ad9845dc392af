#include "product/scanapi/engine_log.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <unistd.h>

#include "product/scanapi/user_log.h"
#include "tests/support/scratch.h"

namespace {

TEST(UnreadLogTest, ALineEachAndThenTheirNumber) {
    if (!InSandbox()) {
        GTEST_SKIP() << "writes /zqcommon.log: runs in tests/support/sandbox only";
    }
    std::filesystem::remove("/zqcommon.log");
    {
        scanapi::UnreadLog log;
        log.Add("/a\nscanapi: forged",
                "en\x1b"
                "crypted");
        EXPECT_EQ(ReadFile("/zqcommon.log"),
                  "scanapi: (/a\\u{000a}scanapi: forged) was not read: en\\u{001b}crypted\n");
        std::filesystem::remove("/zqcommon.log");
        for (int i = 1; i < 1003; ++i) {
            log.Add("/f", "why");
        }
        const std::string lines = ReadFile("/zqcommon.log");
        EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 999);
        std::filesystem::remove("/zqcommon.log");
        log.BeginRun();
        EXPECT_EQ(ReadFile("/zqcommon.log"), "scanapi: 3 more files were not read\n");
        std::filesystem::remove("/zqcommon.log");
        log.BeginRun();
        EXPECT_EQ(ReadFile("/zqcommon.log"), "");
        for (int i = 0; i < 1001; ++i) {
            log.Add("/f", "why");
        }
        std::filesystem::remove("/zqcommon.log");
    }
    EXPECT_EQ(ReadFile("/zqcommon.log"), "scanapi: 1 more files were not read\n");
}

constexpr uid_t kUser = 12345;

/// In a process of an ordinary user, who may not write to the common log.
class UserLogTest : public testing::Test {
protected:
    void SetUp() override {
        if (!InSandbox() || geteuid() != 0) {
            GTEST_SKIP() << "becomes another user: runs as root in tests/support/sandbox only";
        }
        std::filesystem::remove("/zqcommon.log");
        ASSERT_EQ(chmod(m_home.Path().c_str(), 0755), 0);
        ASSERT_EQ(mkdir(m_state.c_str(), 0755), 0);
        ASSERT_EQ(chown(m_state.c_str(), kUser, kUser), 0);
        setenv("XDG_STATE_HOME", m_state.c_str(), 1);
    }
    void TearDown() override {
        unsetenv("XDG_STATE_HOME");
        std::filesystem::remove("/zqcommon.log");
    }
    static void AsUser(const std::function<void()>& work) {
        EXPECT_EQ(
            InChild([&] {
                if (setresgid(kUser, kUser, kUser) != 0 || setresuid(kUser, kUser, kUser) != 0) {
                    return 1;
                }
                work();
                return 0;
            }),
            0);
    }

    ScratchFolder m_home;
    std::string m_state = m_home / "state";
    std::string m_log = m_state + "/corvane/scan.log";
};

TEST_F(UserLogTest, WhoMayNotWriteToTheCommonLogHasOneOfTheirOwn) {
    AsUser([] {
        scanapi::LogLine("first");
        scanapi::UnreadLog().Add("/a", "it is encrypted");
    });
    EXPECT_EQ(ReadFile(m_log), "scanapi: first\nscanapi: (/a) was not read: it is encrypted\n");
    EXPECT_EQ(ModeOf(m_log), 0600U);
    EXPECT_EQ(ModeOf(m_state + "/corvane"), 0700U);
    EXPECT_FALSE(Exists("/zqcommon.log"));
}

TEST_F(UserLogTest, WhoMayWriteToTheCommonLogUsesIt) {
    WriteFile("/zqcommon.log", "");
    ASSERT_EQ(chown("/zqcommon.log", kUser, kUser), 0);
    AsUser([] { scanapi::LogLine("first"); });
    EXPECT_EQ(ReadFile("/zqcommon.log"), "scanapi: first\n");
    EXPECT_FALSE(Exists(m_log));
    scanapi::LogLine("root's");
    EXPECT_EQ(ReadFile("/zqcommon.log"), "scanapi: first\nscanapi: root's\n");
}

TEST_F(UserLogTest, FoldersOnTheWayAreMade) {
    const std::string deep = m_state + "/.local/state";
    setenv("XDG_STATE_HOME", deep.c_str(), 1);
    AsUser([] { scanapi::LogLine("first"); });
    EXPECT_EQ(ReadFile(deep + "/corvane/scan.log"), "scanapi: first\n");
}

TEST_F(UserLogTest, AFullLogBecomesTheOneBefore) {
    const std::string full(static_cast<std::size_t>(scanapi::kMaxUserLog), 'x');
    AsUser([&] {
        scanapi::LogLine("first");
        WriteFile(m_log + ".old", "older");
        WriteFile(m_log, full);
        scanapi::LogLine("second");
    });
    EXPECT_EQ(ReadFile(m_log), "scanapi: second\n");
    EXPECT_EQ(ReadFile(m_log + ".old"), full);
}

TEST_F(UserLogTest, ALinkIsNotFollowedAndAnothersFileIsLeftAlone) {
    AsUser([&] {
        scanapi::LogLine("first");
        std::filesystem::remove(m_log);
        WriteFile(m_state + "/mine", "mine");
        std::filesystem::create_symlink(m_state + "/mine", m_log);
        scanapi::LogLine("second");
    });
    EXPECT_EQ(ReadFile(m_state + "/mine"), "mine");
    std::filesystem::remove(m_log);
    WriteFile(m_log, "root's\n");
    ASSERT_EQ(chmod(m_log.c_str(), 0666), 0);
    AsUser([] { scanapi::LogLine("third"); });
    EXPECT_EQ(ReadFile(m_log), "root's\n");
}

TEST_F(UserLogTest, AFolderThatCannotBeWrittenIsNoMatter) {
    ASSERT_EQ(chown(m_state.c_str(), 0, 0), 0);
    AsUser([] { scanapi::LogLine("first"); });
    EXPECT_FALSE(Exists(m_state + "/corvane"));
    setenv("XDG_STATE_HOME", "relative", 1);
    setenv("HOME", m_state.c_str(), 1);
    AsUser([] { scanapi::LogLine("first"); });
    EXPECT_FALSE(Exists("relative"));
}

TEST_F(UserLogTest, RootHasNone) {
    EXPECT_EQ(scanapi::FolderOfUserLog(), "");
}

}  // namespace
