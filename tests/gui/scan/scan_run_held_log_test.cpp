// A scan whose detections cannot be recorded, because a dead process has left the virus log's
// mutex.

#include <algorithm>
#include <array>
#include <chrono>
#include <string>

#include <QMessageBox>

#include "reports/virus_log/log_reader.h"
#include "reports/virus_log/virus_log.h"
#include "tests/gui/scan/held_virus_log.h"
#include "tests/gui/scan/scan_run_fixture.h"
#include "tests/support/scratch.h"

namespace {

// Comes first: a program that has begun to quit waits for no mutex any more.
TEST_F(WholeScan, AStopThatIsOnlyAskedForLosesNoRecord) {
    if (!InSandbox()) {
        GTEST_SKIP() << "message queues are only private in tests/support/sandbox";
    }
    HeldVirusLog left;
    ASSERT_TRUE(left.IsHeld());
    WriteFile(m_top + "/infected", "x");
    AddPath(m_top);
    bool stopped = false;
    std::chrono::steady_clock::time_point asked;
    m_whileRunning = [&] {
        if (HeldVirusLog::IsWaitedFor() && !stopped) {
            stopped = true;
            asked = std::chrono::steady_clock::now();
            m_dialog->OnStopClick();
        }
        if (stopped && left.IsHeld() &&
            std::chrono::steady_clock::now() - asked > std::chrono::milliseconds(200)) {
            left.Release();
        }
    };
    m_answers.push_back([&left](QDialog* dialog) {
        EXPECT_FALSE(left.IsHeld()) << "the scan did not wait for the virus log";
        qobject_cast<QMessageBox*>(dialog)->button(QMessageBox::No)->click();
    });
    EXPECT_EQ(Run("say 3004 1 1 V *\n"), 1);
    EXPECT_TRUE(stopped);
    EXPECT_EQ(g_uiSkipCnt, 1U);
    std::array<unsigned short, virus_log::kVirusReportPathSize> copy{};
    ASSERT_TRUE(ZQVRGetVirusReportFile(copy.data()));
    virus_log::VirusLogContents log;
    const std::string path(copy.begin(), std::ranges::find(copy, 0));
    ASSERT_EQ(virus_log::ReadVirusLogCopy(path.c_str(), log), virus_log::ReadLogResult::kOk);
    ASSERT_EQ(log.entries.size(), 1U);
    EXPECT_EQ(log.entries[0].filePath, m_top + "/infected");
    EXPECT_NE(Report().find("Scan Complete.\n\n"), std::string::npos);
}

TEST_F(WholeScan, QuittingTheProgramEndsTheWaitForTheVirusLog) {
    if (!InSandbox()) {
        GTEST_SKIP() << "message queues are only private in tests/support/sandbox";
    }
    HeldVirusLog left;
    ASSERT_TRUE(left.IsHeld());
    WriteFile(m_top + "/infected", "x");
    AddPath(m_top);

    std::chrono::steady_clock::time_point quit;
    m_whileRunning = [&quit] {
        if (g_uiTotCnt >= 1) {
            quit = std::chrono::steady_clock::now();
            QApplication::exit();
        }
    };
    QTimer::singleShot(0, [this] { EXPECT_EQ(Run("say 3004 1 1 V *\n"), 0); });
    QApplication::exec();
    // The wait alone would take five seconds.
    EXPECT_LT(std::chrono::steady_clock::now() - quit, std::chrono::seconds(3));
    ExpectInterruptedReport();
}

}  // namespace
