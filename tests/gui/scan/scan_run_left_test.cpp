// A progress dialog that goes away before its scan has been told to the end: an exception got past
// it.

#include <chrono>
#include <filesystem>
#include <iterator>
#include <stdexcept>
#include <string>
#include <thread>
#include <unistd.h>

#include <QTest>

#include "tests/gui/scan/held_virus_log.h"
#include "tests/gui/scan/scan_run_fixture.h"
#include "tests/support/scratch.h"

namespace {

using Clock = std::chrono::steady_clock;

/// Leaves its scan as soon as it is told to.
class LeavingProgress : public dlgScnPrgrs {
public:
    explicit LeavingProgress(std::function<void()> wait) : m_wait(std::move(wait)) {}
    int exec() override {
        m_wait();
        throw std::runtime_error("left");
    }

private:
    std::function<void()> m_wait;
};

class LeftScan : public WholeScan {
protected:
    /// A scan whose dialog is left and destroyed after `wait`.
    void RunAndLeave(const std::string& script, std::function<void()> wait) {
        m_engine.SetScript(script);
        common::CopyToField(g_szAppPath, FakeEngine::Variant("good"));
        ASSERT_EQ(Scanner::InitScan(&g_scnopts), 1);
        common::CopyToField(g_szAppPath, m_application.Path());
        g_pRptObj = std::make_unique<ReportGen>(m_head);
        LeavingProgress dialog(std::move(wait));
        dialog.SetPathListToScan(m_head);
        EXPECT_THROW(dialog.myexec(), std::runtime_error);
    }
};

// Starts what comes with the first thread of a program: the thread sanitizer has one of its own.
void HaveHadAThread() {
    std::filesystem::path first;
    std::thread([&first] { first = "/proc/self/task/" + std::to_string(::gettid()); }).join();
    EXPECT_TRUE(QTest::qWaitFor([&first] { return !std::filesystem::exists(first); }, 60000));
}

auto ThreadsOfThisProcess() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
}

TEST_F(LeftScan, WhatAnEndedThreadHasToldIsWrittenDown) {
    WriteFile(m_top + "/f", "x");
    AddPath(m_top);
    HaveHadAThread();
    const auto before = ThreadsOfThisProcess();
    // Sleeping, for its events to stay where they are.
    RunAndLeave("", [before] {
        const auto limit = Clock::now() + std::chrono::seconds(60);
        while (ThreadsOfThisProcess() != before && Clock::now() < limit) {
            QTest::qSleep(5);
        }
        ASSERT_EQ(ThreadsOfThisProcess(), before);
        EXPECT_EQ(g_uiTotCnt, 0U) << "told already";
    });
    EXPECT_EQ(g_uiTotCnt, 1U);
    const std::string report = Report();
    EXPECT_NE(report.find("Scan Complete.\n\n"), std::string::npos) << report;
    EXPECT_TRUE(report.ends_with("** Report End **\r\n")) << report;
    EXPECT_EQ(ReadFile(m_application / "main.rpt").size(), 12U + 542U);
}

// Comes last: no wait for a mutex lasts in this program any more.
TEST_F(LeftScan, NobodyWaitsForAHeldVirusLog) {
    if (!InSandbox()) {
        GTEST_SKIP() << "message queues are only private in tests/support/sandbox";
    }
    const HeldVirusLog left;
    ASSERT_TRUE(left.IsHeld());
    WriteFile(m_top + "/infected", "x");
    AddPath(m_top);
    Clock::time_point leaving;
    RunAndLeave("say 3004 1 1 V *\n", [&leaving] {
        EXPECT_TRUE(QTest::qWaitFor(&HeldVirusLog::IsWaitedFor, 60000));
        leaving = Clock::now();
    });
    // The wait for the record would take five seconds.
    EXPECT_LT(Clock::now() - leaving, std::chrono::seconds(3));
    ExpectInterruptedReport();
}

}  // namespace
