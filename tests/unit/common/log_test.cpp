#include "common/log.h"

#include <gtest/gtest.h>
#include <map>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <vector>

#include "tests/support/scratch.h"

namespace {

class Log : public testing::Test {
protected:
    ScratchFolder m_scratch;
    std::string m_path = m_scratch / "log";
};

TEST_F(Log, WritesTheMessageAndANewline) {
    WriteToLog(m_path.c_str(), "In dlgMain::OnUpdateNowClick(): g_siUpdateRetFlag == -1");
    EXPECT_EQ(ReadFile(m_path), "In dlgMain::OnUpdateNowClick(): g_siUpdateRetFlag == -1\n");
    EXPECT_EQ(ModeOf(m_path), 0644U);
}

TEST_F(Log, Appends) {
    WriteFile(m_path, "before\n");
    ASSERT_EQ(::chmod(m_path.c_str(), 0666), 0);
    WriteToLog(m_path.c_str(), "first");
    WriteToLog(m_path.c_str(), "");
    WriteToLog(m_path.c_str(), "100% %s %n");
    EXPECT_EQ(ReadFile(m_path), "before\nfirst\n\n100% %s %n\n");
    EXPECT_EQ(ModeOf(m_path), 0644U);
}

TEST_F(Log, SetsItsModeWhateverTheUmask) {
    const mode_t before = ::umask(077);
    WriteToLog(m_path.c_str(), "text");
    ::umask(before);
    EXPECT_EQ(ModeOf(m_path), 0644U);
}

TEST_F(Log, DoesNothingForNullArguments) {
    WriteToLog(nullptr, "text");
    WriteToLog(m_path.c_str(), nullptr);
    EXPECT_FALSE(Exists(m_path));
}

TEST_F(Log, FailsSilently) {
    WriteToLog((m_scratch / "missing/log").c_str(), "text");
    WriteToLog(m_scratch.Path().c_str(), "text");
    WriteToLog("", "text");  // the program's log before start-up has named it
    EXPECT_FALSE(Exists(m_scratch / "missing"));
}

TEST_F(Log, FollowsNoLink) {
    WriteFile(m_scratch / "victim", "precious");
    ASSERT_EQ(::chmod((m_scratch / "victim").c_str(), 0600), 0);
    ASSERT_EQ(::symlink((m_scratch / "victim").c_str(), m_path.c_str()), 0);
    WriteToLog(m_path.c_str(), "text");
    EXPECT_EQ(ReadFile(m_scratch / "victim"), "precious");
    EXPECT_EQ(ModeOf(m_scratch / "victim"), 0600U);
}

TEST_F(Log, FollowsNoLinkInAFolderLikeTmp) {
    ASSERT_EQ(::chmod(m_scratch.Path().c_str(), 01777), 0);
    WriteFile(m_scratch / "victim", "precious");
    ASSERT_EQ(::chmod((m_scratch / "victim").c_str(), 0600), 0);
    ASSERT_EQ(::symlink("victim", m_path.c_str()), 0);
    WriteToLog(m_path.c_str(), "text");
    ASSERT_EQ(::unlink(m_path.c_str()), 0);
    ASSERT_EQ(::link((m_scratch / "victim").c_str(), m_path.c_str()), 0);
    WriteToLog(m_path.c_str(), "text");
    ASSERT_EQ(::unlink(m_path.c_str()), 0);
    ASSERT_EQ(::symlink("nowhere", m_path.c_str()), 0);
    WriteToLog(m_path.c_str(), "text");
    EXPECT_FALSE(Exists(m_scratch / "nowhere"));
    EXPECT_EQ(ReadFile(m_scratch / "victim"), "precious");
    EXPECT_EQ(ModeOf(m_scratch / "victim"), 0600U);
}

TEST_F(Log, WaitsForNobodyAtAPipe) {
    ASSERT_EQ(::mkfifo(m_path.c_str(), 0600), 0);
    WriteToLog(m_path.c_str(), "text");
    EXPECT_EQ(ModeOf(m_path), 0600U);
}

TEST_F(Log, KeepsTheLinesOfSeveralProcessesWhole) {
    constexpr int kProcesses = 4;
    constexpr int kLines = 200;
    std::vector<pid_t> children;
    children.reserve(kProcesses);
    for (int process = 0; process < kProcesses; ++process) {
        children.push_back(StartChild([&] {
            const std::string line(100, static_cast<char>('a' + process));
            for (int count = 0; count < kLines; ++count) {
                WriteToLog(m_path.c_str(), line.c_str());
            }
            return 0;
        }));
    }
    for (const pid_t child : children) {
        ASSERT_EQ(JoinChild(child), 0);
    }
    std::map<std::string, int> counts;
    std::istringstream lines(ReadFile(m_path));
    for (std::string line; std::getline(lines, line);) {
        ++counts[line];
    }
    EXPECT_EQ(counts, (std::map<std::string, int>{{std::string(100, 'a'), kLines},
                                                  {std::string(100, 'b'), kLines},
                                                  {std::string(100, 'c'), kLines},
                                                  {std::string(100, 'd'), kLines}}));
}

}  // namespace
