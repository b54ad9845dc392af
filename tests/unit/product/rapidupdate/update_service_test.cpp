#include "product/rapidupdate/update_service.h"

#include <chrono>
#include <csignal>
#include <poll.h>
#include <sys/stat.h>

#include "tests/support/patient_clock.h"
#include "tests/support/scratch.h"
#include "tests/unit/product/rapidupdate/fake_update_service.h"

// What comes of asking the update service, whatever it answers.

namespace rapidupdate {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

class UpdateService : public testing::Test {
protected:
    /// The result where the service answers `text` and hangs up.
    UpdaterResult ResultOf(const std::string& text) {
        FakeUpdateService service(m_path, [&](int peer) { FakeUpdateService::Write(peer, text); });
        const UpdaterResult result = AskForUpdate(m_path.c_str(), Wish::kUpdate, -1);
        EXPECT_EQ(service.Heard(), "update\n");
        ::unlink(m_path.c_str());
        return result;
    }

    ScratchFolder m_folder;
    std::string m_path = m_folder / "update.sock";
};

TEST_F(UpdateService, AsksForARunAndGivesItsResult) {
    EXPECT_EQ(ResultOf("result 0\n"), kUpdaterFailed);
    EXPECT_EQ(ResultOf("status 2000\nlog connecting\nstatus 2006 daily.cvd\nresult 1\n"),
              kUpdaterUpdated);
    EXPECT_EQ(ResultOf("result 2\n"), kUpdaterUpToDate);
    EXPECT_EQ(ResultOf("result 3\n"), kUpdaterInterrupted);
    EXPECT_EQ(ResultOf("result 4\n"), kUpdaterInvalidFiles);
}

TEST_F(UpdateService, AsksForTheFolderWhereThatIsTheSource) {
    FakeUpdateService service(m_path,
                              [](int peer) { FakeUpdateService::Write(peer, "result 2\n"); });
    EXPECT_EQ(AskForUpdate(m_path.c_str(), Wish::kIndex, -1), kUpdaterUpToDate);
    EXPECT_EQ(service.Heard(), "index\n");
}

TEST_F(UpdateService, AnEndWithoutAResultIsAFailure) {
    EXPECT_EQ(ResultOf(""), kUpdaterFailed);
    EXPECT_EQ(ResultOf("status 2000\nresult 1"), kUpdaterFailed) << "cut off before its newline";
}

TEST_F(UpdateService, LinesThatMeanNothingAreSkipped) {
    EXPECT_EQ(ResultOf("nonsense\nresult\nresult 9\nresult -1\nstatus 1\nresult 2\n"),
              kUpdaterUpToDate);
}

TEST_F(UpdateService, EndlessLinesAreAFailure) {
    EXPECT_EQ(ResultOf(std::string(5000, 'x') + "\nresult 1\n"), kUpdaterFailed);
}

TEST_F(UpdateService, NothingAfterTheResultCounts) {
    EXPECT_EQ(ResultOf("result 2\nresult 1\n"), kUpdaterUpToDate);
}

TEST_F(UpdateService, WithoutAServiceItIsAFailureAtOnce) {
    const auto begin = PatientClock::now();
    EXPECT_EQ(AskForUpdate(m_path.c_str(), Wish::kUpdate, -1), kUpdaterFailed);
    EXPECT_EQ(AskForUpdate((m_folder / std::string(200, 'x')).c_str(), Wish::kUpdate, -1),
              kUpdaterFailed);
    EXPECT_LT(PatientClock::now() - begin, std::chrono::seconds(1));
}

TEST_F(UpdateService, WhatAnotherUserPlaysIsNone) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    ::chmod(m_folder.Path().c_str(), 0777);
    const pid_t other = StartChild([&] {
        if (::setuid(65534) != 0) {
            return 1;
        }
        FakeUpdateService service(m_path,
                                  [](int peer) { FakeUpdateService::Write(peer, "result 2\n"); });
        WriteFile(m_folder / "listening", "");
        ::pause();
        return 0;
    });
    ASSERT_TRUE(WaitUntil([&] { return Exists(m_folder / "listening"); }));
    EXPECT_EQ(AskForUpdate(m_path.c_str(), Wish::kUpdate, -1), kUpdaterFailed);
    ::kill(other, SIGKILL);
    JoinChild(other);
}

TEST_F(UpdateService, OneThatSaysNothingIsGivenUp) {
    std::atomic<bool> mayEnd = false;
    FakeUpdateService service(m_path, [&](int) { WaitUntil([&] { return mayEnd.load(); }); });
    const auto begin = steady_clock::now();
    const auto patientBegin = PatientClock::now();
    EXPECT_EQ(AskForUpdate(m_path.c_str(), Wish::kUpdate, -1, milliseconds(200)), kUpdaterFailed);
    EXPECT_GE(steady_clock::now() - begin, milliseconds(200));
    EXPECT_LT(PatientClock::now() - patientBegin, std::chrono::seconds(5));
    mayEnd = true;
}

TEST_F(UpdateService, AnEndOfTheServiceStopsTheRunAtOnce) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const common::FileDescriptor end(ends[0]);
    common::FileDescriptor told(ends[1]);
    // It would go on for a minute.
    FakeUpdateService service(m_path, [&](int peer) {
        FakeUpdateService::Write(peer, "status 2001\n");
        told.Reset();
        pollfd heard{peer, POLLIN, 0};
        EXPECT_EQ(::poll(&heard, 1, 60'000), 1);
    });
    const auto begin = PatientClock::now();
    EXPECT_EQ(AskForUpdate(m_path.c_str(), Wish::kUpdate, end.Get()), kUpdaterInterrupted);
    EXPECT_LT(PatientClock::now() - begin, std::chrono::seconds(5));
    EXPECT_EQ(service.Heard(), "update\nstop\n");
}

}  // namespace
}  // namespace rapidupdate
