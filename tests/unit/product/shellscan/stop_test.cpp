#include <chrono>
#include <gmock/gmock.h>
#include <string>

#include "tests/unit/product/shellscan/run_scan.h"

// A scan that is asked to end.

namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;
using ::testing::EndsWith;
using ::testing::HasSubstr;

// Under a sanitizer or beside other builds the machine itself takes its time.
constexpr milliseconds kLimit(1000);

class Stopped : public ShellScanProgram {
protected:
    // Waits until the engine is at the NUMBERth file that it never gets through.
    [[nodiscard]] bool IsAtAFile(std::size_t number = 1) const {
        return WaitUntil([&] { return m_engine.Calls("ZqScanFileEx ").size() >= number; });
    }
};

TEST_F(Stopped, EndsWithAWholeReportThoughTheEngineHangs) {
    WriteFile(Tree("/a"), "x");
    WriteFile(Tree("/b"), "x");
    m_engine.SetScript("hold " + (m_scratch / "gate") + " *\n");
    std::size_t files = 0;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        ScanProcess scan(Program(), {.arguments = {Tree()}});
        ASSERT_TRUE(IsAtAFile(++files));
        const auto start = Clock::now();
        scan.Signal(signal);
        EXPECT_EQ(scan.Status(), 2);
        EXPECT_LT(Clock::now() - start, kLimit);
        EXPECT_THAT(scan.Output(), HasSubstr("Scan Interrupted.\n\n"));
        EXPECT_THAT(scan.Output(), HasSubstr("Total Files Scanned   = 1\n"));
        EXPECT_THAT(scan.Output(), EndsWith("** Report End **\r\n"));
        EXPECT_EQ(scan.Errors(), "");
    }
}

TEST_F(Stopped, AnEngineThatAnswersIsEndedInOrder) {
    WriteFile(Tree("/a"), "x");
    WriteFile(Tree("/b"), "x");
    // It asks for a second or so, and would go on for a minute.
    std::string script;
    for (int i = 0; i < 6000; ++i) {
        script += "delay 10 *\nsay 0 0 0 - *\n";
    }
    m_engine.SetScript(script);
    ScanProcess scan(Program(), {.arguments = {"--format=json", Tree()}});
    ASSERT_TRUE(WaitUntil([this] { return !m_engine.Calls("callback").empty(); }));
    scan.Signal(SIGTERM);
    EXPECT_EQ(scan.Status(), 2);
    EXPECT_THAT(scan.Output(), HasSubstr("\"interrupted\":true,\"scanned\":1,"));
    EXPECT_EQ(Opened().size(), 1U);
}

TEST_F(Stopped, WhatWasFoundBeforeStillCounts) {
    WriteFile(Tree("/a"), "x");
    m_engine.SetScript("say 1001 0 0 V *\nhold " + (m_scratch / "gate") + " *\n");
    ScanProcess scan(Program(), {.arguments = {Tree()}});
    ASSERT_TRUE(WaitUntil([this] { return !m_engine.Calls("callback").empty(); }));
    scan.Signal(SIGINT);
    EXPECT_EQ(scan.Status(), 1);
    EXPECT_THAT(scan.Output(), HasSubstr("Infected: V\n---"));
    EXPECT_THAT(scan.Output(), HasSubstr("---\n\nScan Interrupted.\n\n"));
}

TEST_F(Stopped, AKilledScanLeavesALogThatOthersCanUse) {
    WriteFile(Tree("/a"), "x");
    m_engine.SetScript("say 1001 0 0 V *\nafter 1001 2003 3004\nhold " + (m_scratch / "gate") +
                       " *\n");
    ScanProcess scan(Program(), {.arguments = {Tree()}});
    ASSERT_TRUE(WaitUntil([this] { return m_engine.Calls("callback").size() >= 2; }));
    scan.Signal(SIGKILL);
    EXPECT_EQ(scan.Status(), 128 + SIGKILL);
    m_engine.SetScript("say 1001 0 0 V *\nafter 1001 2003 3004\n");
    const auto start = Clock::now();
    EXPECT_EQ(Run({Tree()}).status, 1);
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(5));  // else it waited for the lock
}

TEST_F(Stopped, ASignalThatIsIgnoredStaysSo) {
    WriteFile(Tree("/a"), "x");
    m_engine.SetScript("hold " + (m_scratch / "gate") + " *\n");
    std::signal(SIGHUP, SIG_IGN);
    ScanProcess scan(Program(), {.arguments = {Tree()}});
    std::signal(SIGHUP, SIG_DFL);
    ASSERT_TRUE(IsAtAFile());
    scan.Signal(SIGHUP);
    WriteFile(m_scratch / "gate", "");
    EXPECT_EQ(scan.Status(), 0);
}

}  // namespace
