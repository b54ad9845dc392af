#include "product/schdlscn/notice.h"

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <poll.h>

#include "product/schdlscn/scan_launcher.h"
#include "tests/support/noted_desktop.h"
#include "tests/unit/product/schdlscn/a_task.h"

// What the owner of a scheduled scan hears of it on the desktop.

namespace {

using namespace schdlscn;
namespace fs = std::filesystem;

constexpr uid_t kDaemon = 1;

std::string Body(const std::string& name, const LastRun& last) {
    const auto notice = NoticeOf(ATask(name), last);
    return notice ? notice->title + "|" + notice->body : "";
}

TEST(ScheduleNoticeTest, WhatWasFoundAndWhatFailedIsTold) {
    EXPECT_EQ(
        Body("Homes", {.result = kScheduleRunFound, .infected = 1, .report = "schd0001.rpt"}),
        "Viruses were found|The scheduled scan \"Homes\" has found 1 infected file. Its report "
        "is in the list of reports.");
    EXPECT_EQ(Body("Homes", {.result = kScheduleRunFound, .infected = 2}),
              "Viruses were found|The scheduled scan \"Homes\" has found 2 infected files.");
    const std::string failed = "A scheduled scan failed|The scheduled scan \"Homes\": ";
    EXPECT_EQ(Body("Homes", {.result = kScheduleRunNotStarted, .detail = "no engine"}),
              failed + "the scanner could not work: no engine.");
    EXPECT_EQ(Body("Homes", {.result = kScheduleRunInterrupted, .report = "schd0001.rpt"}),
              failed + "it was interrupted. Its report is in the list of reports.");
    EXPECT_EQ(Body("Homes", {.result = kScheduleRunTookTooLong}),
              failed + "it was ended after 24 hours.");
    EXPECT_EQ(Body("Homes", {.result = kScheduleRunNoReport, .detail = "No space left on device"}),
              failed + "no report could be written: No space left on device.");
    EXPECT_TRUE(NoticeOf(ATask(), {.result = kScheduleRunFound, .infected = 1})->isUrgent);
    EXPECT_TRUE(NoticeOf(ATask(), {.result = kScheduleRunNoReport})->isUrgent);
}

TEST(ScheduleNoticeTest, NothingElseDisturbsAnybody) {
    EXPECT_EQ(Body("Homes", {.result = kScheduleRunClean, .report = "schd0001.rpt"}), "");
    EXPECT_EQ(Body("Homes", {.result = kScheduleRunUnread, .unread = 3}), "");
    EXPECT_EQ(Body("Homes", {.result = kScheduleRunNoOwner}), "") << "there is nobody";
}

TEST(ScheduleNoticeTest, WhatOthersHaveChosenIsNoMarkup) {
    EXPECT_EQ(
        Body("<b>&\xC3\xA4", {.result = kScheduleRunNotStarted, .detail = "<a href='x'>"}),
        "A scheduled scan failed|The scheduled scan \"&lt;b&gt;&amp;\xC3\xA4\": the scanner could "
        "not work: &lt;a href='x'&gt;.");
}

TEST(ScheduleNoticeTest, TheProgramWantsATitleAndAText) {
    const int status = std::system(NOTIFIER " title 2>/dev/null");
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 2);
}

class OnTheOwnersDesktop : public testing::Test {
protected:
    void SetUp() override {
        if (!HasPrivateRoot() || ::geteuid() != 0) {
            GTEST_SKIP() << "needs a root of its own";
        }
        ::chmod(m_scratch.Path().c_str(), 0755);
        fs::remove_all(m_session);
        fs::create_directories(m_session);
        ::chmod(m_session.c_str(), 0700);
        ASSERT_EQ(::chown(m_session.c_str(), kDaemon, kDaemon), 0);
    }

    // Lays the bus down where that of the user's sessions is.
    void LayDown(const PrivateBus& bus) const {
        ASSERT_TRUE(bus.IsUp());
        const std::string socket = bus.Address().substr(std::string_view("unix:path=").size());
        ::chmod(fs::path(socket).parent_path().c_str(), 0755);
        fs::create_symlink(socket, m_session + "/bus");
    }

    std::unique_ptr<Notice> Tell(const std::string& notifier, uid_t user = kDaemon,
                                 const std::string& name = "daemon") {
        KeptTask kept;
        kept.task = ATask("Homes");
        kept.task.owner = user;
        kept.ownerName = name;
        ScanLauncher launcher("/nowhere", "/nowhere/", notifier);
        return launcher.Tell(kept, {.result = kScheduleRunFound, .infected = 3});
    }

    static void WaitFor(Notice& notice) {
        pollfd watched{notice.Descriptor(), POLLIN, 0};
        ASSERT_EQ(::poll(&watched, 1, 60'000), 1);
        EXPECT_TRUE(notice.HasEnded());
    }

    ScratchFolder m_scratch;
    const std::string m_session = "/run/user/1";
};

TEST_F(OnTheOwnersDesktop, ItIsShown) {
    const PrivateBus bus;
    LayDown(bus);
    NotedDesktop desktop;
    const auto notice = Tell(NOTIFIER);
    ASSERT_NE(notice, nullptr);
    WaitFor(*notice);
    EXPECT_EQ(
        desktop.End(),
        "Corvane 0 corvane Viruses were found|The scheduled scan \"Homes\" has found 3 infected "
        "files.|urgency 2\n");
}

TEST_F(OnTheOwnersDesktop, WhoShowsItIsTheOwnerAndHasNothingOfOurs) {
    WriteFile(m_session + "/bus", "");
    const std::string said = m_scratch / "said";
    WriteFile(said, "");
    ::chmod(said.c_str(), 0666);
    const std::string script = m_scratch / "notifier";
    WriteFile(script, "#!/bin/bash\nexec >" + said +
                          "\necho \"$# $1\"\nid -u\nid -G\n"
                          "grep -E '^(NoNewPrivs|CapEff):' /proc/self/status\n"
                          "env | grep -E '^(XDG|DBUS|USER)'\n"
                          "for fd in 5 6 7 8 9 11 12; do [[ ! -e /proc/$$/fd/$fd ]] || echo $fd; "
                          "done\n");
    ::chmod(script.c_str(), 0755);
    const auto notice = Tell(script);
    ASSERT_NE(notice, nullptr);
    WaitFor(*notice);
    EXPECT_EQ(ReadFile(said),
              "2 Viruses were found\n1\n1\nCapEff:\t0000000000000000\nNoNewPrivs:\t1\n"
              "USER=daemon\nXDG_RUNTIME_DIR=/run/user/1\n");
}

TEST_F(OnTheOwnersDesktop, WithoutABusNobodyIsTold) {
    EXPECT_EQ(Tell(NOTIFIER), nullptr);
    // What is there answers nobody.
    WriteFile(m_session + "/bus", "");
    const auto notice = Tell(NOTIFIER);
    ASSERT_NE(notice, nullptr);
    WaitFor(*notice);
}

TEST_F(OnTheOwnersDesktop, ABusThatHangsIsLeft) {
    const PrivateBus bus;
    LayDown(bus);
    bus.Hang();
    const auto notice = Tell(NOTIFIER);
    ASSERT_NE(notice, nullptr);
    WaitFor(*notice);
}

TEST_F(OnTheOwnersDesktop, ANumberThatIsAnotherUsersNowIsToldNothing) {
    WriteFile(m_session + "/bus", "");
    EXPECT_EQ(Tell(NOTIFIER, kDaemon, "anna"), nullptr);
}

}  // namespace
