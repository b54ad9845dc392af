#include <algorithm>
#include <chrono>
#include <optional>
#include <pthread.h>
#include <sstream>
#include <stdexcept>

#include <QApplication>
#include <QElapsedTimer>

#include "tests/gui/update/update_fixture.h"
#include "tests/support/noted_syslog.h"
#include "tests/support/patient_clock.h"
#include "update/upd_thrd.h"

// Whole updates: the dialog, its thread and the scripted updater.

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class UpdateInWindow : public UpdateTest {
protected:
    /// Runs the update, with `meanwhile` called every few milliseconds. The dialog's result.
    int Run(const std::function<void(RecordingUpdate&)>& meanwhile = [](RecordingUpdate&) {}) {
        RecordingUpdate dialog;
        dialog.m_afterEvent = [this, &dialog](int) {
            m_statuses.push_back(dialog.Text("statusLabel").toStdString());
        };
        QTimer poll;
        QObject::connect(&poll, &QTimer::timeout, [&] { meanwhile(dialog); });
        poll.start(2);
        const int result = dialog.Myexec();
        m_types = dialog.m_types;
        return result;
    }

    std::vector<int> m_types;
    std::vector<std::string> m_statuses;
};

TEST_F(UpdateInWindow, ShowsEachPhaseAndEndsWithItsResult) {
    Prepare(
        "status 2000\nstatus 2001\nstatus 2002\nstatus 2003\nstatus 2004\nstatus 2005\n"
        "status 2010 not shown\nstatus 2015\nresult 2\n");
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(g_siUpdateRetFlag, 2);
    EXPECT_THAT(m_types, ElementsAre(1117, 1118, 1119, 1120, 1121, 1122, 1123, 1116));
    m_statuses.pop_back();
    EXPECT_THAT(m_statuses, ElementsAre("Connecting to Corvane Internet Centre",
                                        "Downloading update files", "Downloading update files",
                                        "Downloding index files", "Dat files Processing errors",
                                        "Downloading Dat files.", "Updating Corvane Engine"));
}

TEST_F(UpdateInWindow, ShowsTheNameOfAFile) {
    Prepare("status 2006 daily file.cvd\nwait-for " + m_updater.Path("shown") + "\nresult 1\n");
    EXPECT_EQ(Run([this](RecordingUpdate& dialog) {
                  if (dialog.Text("statusLabel") == "Downloading \tdaily file.cvd") {
                      WriteFile(m_updater.Path("shown"), "");
                  }
              }),
              1);
    EXPECT_EQ(g_siUpdateRetFlag, 1);
}

TEST_F(UpdateInWindow, TheUpdaterGetsTheDialogAsItsContext) {
    Prepare("result 1\n");
    RecordingUpdate dialog;
    std::ostringstream context;
    context << static_cast<void*>(static_cast<QDialog*>(&dialog));
    EXPECT_EQ(dialog.Myexec(), 1);
    EXPECT_EQ(m_updater.Call("context "), context.str());
}

TEST_F(UpdateInWindow, TheDialogIsTheReceiverAsLongAsItHasAThread) {
    RecordingUpdate dialog;
    EXPECT_EQ(g_receiver.load(), nullptr);
    {
        const UpdThrd thread(&dialog);
        EXPECT_EQ(g_receiver.load(), &dialog);
    }
    EXPECT_EQ(g_receiver.load(), nullptr);
}

TEST_F(UpdateInWindow, StopEndsItInterruptedWithTheNextCall) {
    Prepare("status 2000\nwait-for-stop\nresult 3\n");
    std::optional<PatientClock::time_point> stopped;
    EXPECT_EQ(Run([&stopped](RecordingUpdate& dialog) {
                  if (dialog.Text("statusLabel") == "Downloading update files" && !stopped) {
                      stopped = PatientClock::now();
                      dialog.StopButton()->click();
                  }
              }),
              1);
    ASSERT_TRUE(stopped);
    EXPECT_LT(PatientClock::now() - *stopped, std::chrono::seconds(3));
    EXPECT_EQ(g_siUpdateRetFlag, 3);
    EXPECT_THAT(m_updater.Calls(), Contains("stopped"));
    EXPECT_EQ(m_types.back(), 1116);
}

TEST_F(UpdateInWindow, FromAPathItSaysSoAndStopChangesNothing) {
    Prepare("wait-for " + m_updater.Path("go") + "\nresult 3\n", 0);
    bool isStopped = false;
    EXPECT_EQ(Run([&](RecordingUpdate& dialog) {
                  if (!isStopped && dialog.Text("statusLabel") ==
                                        "Please wait while Rapid Update retrieves updates.") {
                      isStopped = true;
                      dialog.StopButton()->click();
                      EXPECT_TRUE(dialog.isVisible());
                      WriteFile(m_updater.Path("go"), "");
                  }
              }),
              1);
    EXPECT_EQ(g_siUpdateRetFlag, 4);
    EXPECT_THAT(m_types, ElementsAre(1126, 1116));
}

TEST_F(UpdateInWindow, AFailedStartEndsItWithZeroAndTheOutcomeOfASuccess) {
    Prepare("result 0\n");
    std::filesystem::remove(m_application / "zqupdate.opt");
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(g_siUpdateRetFlag, 1);
    EXPECT_THAT(m_types, ElementsAre(1125));
}

/// No thread of the process that says nothing of its own stack can be started.
class NoThreads {
public:
    NoThreads() {
        ::pthread_getattr_default_np(&m_before);
        pthread_attr_t greedy{};
        ::pthread_getattr_default_np(&greedy);
        ::pthread_attr_setstacksize(&greedy, std::size_t{1} << 48U);  // more than there is
        EXPECT_EQ(::pthread_setattr_default_np(&greedy), 0);
        ::pthread_attr_destroy(&greedy);
    }
    ~NoThreads() {
        ::pthread_setattr_default_np(&m_before);
        ::pthread_attr_destroy(&m_before);
    }
    NoThreads(const NoThreads&) = delete;
    NoThreads& operator=(const NoThreads&) = delete;

private:
    pthread_attr_t m_before{};
};

TEST_F(UpdateInWindow, WithoutAThreadThereIsNoDialog) {
    Prepare("result 1\n");
    (void)TakeNotedSyslog();
    RecordingUpdate dialog;
    QTimer::singleShot(60000, &dialog, [&dialog] { dialog.done(2); });
    {
        const NoThreads none;
        EXPECT_EQ(dialog.Myexec(), -1);
    }
    EXPECT_EQ(TakeNotedSyslog(),
              "13 corvane: In dlgUpdate::Myexec(): the thread of the update was not started\n");
    EXPECT_EQ(g_receiver.load(), nullptr);
    EXPECT_THAT(m_updater.Calls(), IsEmpty());
    EXPECT_EQ(dialog.Myexec(), 1) << "the next one finds a thread";
}

TEST_F(UpdateInWindow, WithoutTheLibraryItStaysOpenUntilTheUserStopsIt) {
    Prepare("");
    std::filesystem::remove(m_application / "updturl.so");
    QElapsedTimer sinceSilence;
    bool isStopped = false;
    EXPECT_EQ(Run([&](RecordingUpdate& dialog) {
                  if (dialog.Run().IsSilent() && !sinceSilence.isValid()) {
                      sinceSilence.start();
                  }
                  if (!isStopped && sinceSilence.isValid() && sinceSilence.elapsed() > 300) {
                      EXPECT_TRUE(dialog.isVisible());
                      EXPECT_EQ(g_siUpdateRetFlag, 1);
                      isStopped = true;
                      dialog.StopButton()->click();
                  }
              }),
              0);
    EXPECT_TRUE(isStopped);
    EXPECT_THAT(m_types, IsEmpty());
    EXPECT_EQ(g_siUpdateRetFlag, 3) << "the user has stopped it";
}

TEST_F(UpdateInWindow, AStopThatComesBeforeTheLibraryIsMissedEndsItToo) {
    Prepare("");
    std::filesystem::remove(m_application / "updturl.so");
    RecordingUpdate dialog;
    dialog.StopButton()->click();  // the thread has not even started
    QTimer::singleShot(60000, &dialog, [&dialog] { dialog.done(2); });
    EXPECT_EQ(dialog.Myexec(), 0);
    EXPECT_EQ(g_siUpdateRetFlag, 3);
}

TEST_F(UpdateInWindow, AFloodOfStepsLeavesTheWindowTimeForOtherWork) {
    Prepare("flood 20000 2006\nresult 1\n");
    QElapsedTimer sinceLook;
    qint64 longestGap = 0;
    int looks = 0;
    EXPECT_EQ(Run([&](RecordingUpdate&) {
                  longestGap = sinceLook.isValid() ? std::max(longestGap, sinceLook.restart()) : 0;
                  sinceLook.start();
                  ++looks;
              }),
              1);
    EXPECT_THAT(m_types, SizeIs(20001));
    EXPECT_EQ(m_updater.Call("went on "), "20000");
    EXPECT_GE(looks, 10);
    RecordProperty("longest_gap_milliseconds", static_cast<int>(longestGap));
}

TEST_F(UpdateInWindow, QuittingTheProgramStopsTheUpdateAndWaitsForIt) {
    Prepare("status 2000\nwait-for-stop\nresult 3\n");
    int result = -1;
    QTimer::singleShot(0, [&] {
        result = Run([](RecordingUpdate& dialog) {
            if (dialog.Text("statusLabel") == "Downloading update files") {
                QApplication::exit();
            }
        });
    });
    QApplication::exec();
    EXPECT_EQ(result, 0);
    EXPECT_EQ(g_siUpdateRetFlag, 3);
    EXPECT_EQ(m_updater.Calls().back(), "unloaded");
}

TEST_F(UpdateInWindow, QuittingOverAFloodOfStepsKeepsNobodyWaiting) {
    // More of them than may wait for the window: the updater stands still in the middle.
    Prepare("flood 20000 2006\nresult 1\n");
    int result = -1;
    QTimer::singleShot(0, [&] {
        RecordingUpdate dialog;
        QTimer quit;
        QObject::connect(&quit, &QTimer::timeout, [&dialog] {
            if (!dialog.m_types.empty()) {
                QTest::qSleep(100);  // until the updater waits
                QApplication::exit();
            }
        });
        quit.start(0);
        result = dialog.Myexec();
    });
    QApplication::exec();
    EXPECT_EQ(result, 0);
    EXPECT_EQ(m_updater.Calls().back(), "unloaded");
}

TEST_F(UpdateInWindow, ADialogThatIsLeftStopsTheUpdateAndWaitsForIt) {
    Prepare("status 2000\nwait-for-stop\nresult 3\n");
    class Leaving : public dlgUpdate {
    public:
        int exec() override { throw std::runtime_error("left"); }
    };
    EXPECT_THROW(Leaving().Myexec(), std::runtime_error);
    EXPECT_THAT(m_updater.Calls(), Contains("stopped"));
    EXPECT_EQ(m_updater.Calls().back(), "unloaded");
}

TEST_F(UpdateInWindow, TheThreadReadsTheProxySettings) {
    tagZQINETCONFIG settings{};
    settings.useProxy = 7;
    EXPECT_EQ(UpdThrd::GetUpdateinfo(nullptr), 0);
    EXPECT_EQ(UpdThrd::GetUpdateinfo(&settings), 0);
    EXPECT_EQ(settings.useProxy, 0);
    WriteFile(m_application / "zqinet.opt", std::string("\x01\x00\x00\x00", 4) + "proxy" +
                                                std::string(777, '\0') +
                                                std::string("\x01\x00", 2));
    EXPECT_EQ(UpdThrd::GetUpdateinfo(&settings), 1);
    EXPECT_EQ(settings.useProxy, 1);
    EXPECT_STREQ(settings.server, "proxy");
    EXPECT_EQ(settings.authenticate, 0) << "not the updater's";
}

}  // namespace
