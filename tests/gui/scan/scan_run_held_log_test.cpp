// A scan whose detections cannot be recorded, because a dead process has left the virus log's
// mutex.

#include <chrono>
#include <filesystem>

#include "common/named_mutex.h"
#include "common/paths.h"
#include "common/version_record.h"
#include "tests/gui/scan/scan_run_fixture.h"
#include "tests/support/scratch.h"

namespace {

TEST_F(WholeScan, QuittingTheProgramEndsTheWaitForTheVirusLog) {
    if (!InSandbox()) {
        GTEST_SKIP() << "message queues are only private in tests/support/sandbox";
    }
    std::filesystem::create_directories(kProductDirectory);
    WriteFile(std::string(kProductDirectory) + kVersionFileName, std::string(20, '\1'));
    tagMUTEX_INFO left{};
    ASSERT_EQ(GetMutexOwnerShip("10011", &left, 0), 1);
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
    EXPECT_EQ(ReleaseMutexOwnerShip(&left), 1);
}

}  // namespace
