// A pool that shows plain files to a clamd first.

#include <atomic>
#include <gmock/gmock.h>

#include "tests/unit/product/scanapi/fake_clamd.h"
#include "tests/unit/product/scanapi/pool_fixture.h"

namespace {

using namespace std::string_literals;
using scanapi::ScanPool;
using scanapi::Urgency;
using ::testing::HasSubstr;

constexpr std::string_view kArchive = "PK\x03\x04 and so on";

class ClamdPoolTest : public PoolTest {
protected:
    void SetUp() override {
        PoolTest::SetUp();
        if (!IsSkipped() && geteuid() != 0) {
            GTEST_SKIP() << "the settings of a clamd are believed of root only";
        }
        WriteFile(m_folder / "clamd.conf", "LocalSocket " + m_socket + "\n");
        m_settings.clamd = {.isOn = true, .config = m_folder / "clamd.conf"};
    }
    void StartWithClamd() {
        Create();
        m_pool->Start(ScanPool::Beginning::kWhenNeeded);
    }
    std::string m_socket = m_folder / "socket";
};

TEST_F(ClamdPoolTest, TheHostIsStartedByTheFirstFileThatNeedsIt) {
    const FakeClamd fake(m_socket, {[](int socket) {
                             FakeClamd::TakeRequest(socket);
                             FakeClamd::Say(socket, "1: fd[9]: Bad.Thing FOUND\0"s);
                             FakeClamd::TakeRequest(socket, false);
                             FakeClamd::Say(socket, "2: fd[9]: OK\0"s);
                             FakeClamd::TakeRequest(socket, false);
                             FakeClamd::Say(socket, "3: fd[9]: OK\0"s);
                         }});
    StartWithClamd();
    EXPECT_TRUE(m_pool->WaitFor(std::chrono::milliseconds(0)));
    EXPECT_TRUE(m_pool->IsLoaded());
    EXPECT_TRUE(m_pool->IsIdle());
    EXPECT_EQ(Scan("clean-1", "some text"), "virus: Bad.Thing");
    EXPECT_EQ(Scan("virus-1", "some text"), "clean");
    EXPECT_EQ(Starts(), 0U);
    EXPECT_EQ(Scan("clean-2", std::string(kArchive)), "clean");
    EXPECT_EQ(Starts(), 1U);
    EXPECT_FALSE(m_pool->IsIdle());
    EXPECT_EQ(Scan("virus-2", "some text"), "clean") << "plain files are left to it even now";
    EXPECT_EQ(Noted("scans"), std::vector<std::string>{"clean-2"});
}

TEST_F(ClamdPoolTest, WithoutOneOurWorkersScan) {
    StartWithClamd();
    EXPECT_EQ(Scan("clean-1", "some text"), "clean");
    EXPECT_EQ(Scan("virus-1", "some text").substr(0, 6), "virus:");
    EXPECT_THAT(Log(), HasSubstr("scanapi: clamd cannot be reached: No such file or directory\n"));
}

TEST_F(ClamdPoolTest, WhatItWasAtWhenItWentAwayIsScannedByOurs) {
    const FakeClamd fake(m_socket, {FakeClamd::Answering("1: fd[9]: OK"s)});
    StartWithClamd();
    EXPECT_EQ(Scan("virus-1", "some text").substr(0, 6), "virus:");
    EXPECT_THAT(Log(), HasSubstr("scanapi: clamd broke off\n"));
}

TEST_F(ClamdPoolTest, NonsenseCostsTheFile) {
    const FakeClamd fake(m_socket, {FakeClamd::Answering("7: fd[9]: OK\0"s)});
    StartWithClamd();
    EXPECT_EQ(Scan("clean-1", "some text"),
              "unread: clamd gave no answer that could be understood");
    EXPECT_EQ(Starts(), 0U);
}

TEST_F(ClamdPoolTest, LargeFilesAndThoseThatHoldOthersAreForOurWorkers) {
    const FakeClamd fake(m_socket, {[](int socket) { FakeClamd::Hang(socket); }});
    StartWithClamd();
    EXPECT_EQ(Scan("clean-1", std::string((1U << 20U) + 1, 'x')), "clean");
    EXPECT_EQ(Scan("clean-2", "\x1F\x8B\x08 and so on"), "clean");
    EXPECT_EQ(Noted("scans"), (std::vector<std::string>{"clean-1", "clean-2"}));
}

TEST_F(ClamdPoolTest, AStopEndsWhatItIsAtAndWhatWaits) {
    std::atomic<bool> isAsked = false;
    std::atomic<bool> isLeft = false;
    const FakeClamd fake(m_socket, {[&](int socket) {
                             FakeClamd::TakeRequest(socket);
                             isAsked = true;
                             FakeClamd::Hang(socket);
                             isLeft = true;
                         }});
    StartWithClamd();
    const auto first = Submit("clean-1", "some text");
    ASSERT_TRUE(WaitUntil([&] { return isAsked.load(); }));
    const auto second = Submit("clean-2", "some text");
    const auto third = Submit("clean-3", "some text", Urgency::kAhead);
    m_pool->Stop();
    EXPECT_EQ(Text(Await(*first).outcome), "stopped");
    EXPECT_EQ(Text(Await(*second).outcome), "stopped");
    EXPECT_EQ(Text(Await(*third).outcome), "stopped");
    EXPECT_TRUE(WaitUntil([&] { return isLeft.load(); }));
    EXPECT_EQ(Starts(), 0U);
    EXPECT_EQ(Scan("clean-4", "some text"), "stopped");
}

TEST_F(ClamdPoolTest, WhatTheProgramWaitsForComesBeforeWhatIsScannedAhead) {
    std::atomic<bool> isAsked = false;
    std::atomic<bool> isLetGo = false;
    std::string asked;
    {
        const FakeClamd fake(m_socket, {[&](int socket) {
                                 FakeClamd::TakeRequest(socket);
                                 isAsked = true;
                                 EXPECT_TRUE(WaitUntil([&] { return isLetGo.load(); }));
                                 FakeClamd::Say(socket, "1: fd[9]: OK\0"s);
                                 asked += FakeClamd::TakeRequest(socket, false);
                                 FakeClamd::Say(socket, "2: fd[9]: OK\0"s);
                                 asked += FakeClamd::TakeRequest(socket, false);
                                 FakeClamd::Say(socket, "3: fd[9]: OK\0"s);
                             }});
        StartWithClamd();
        const auto first = Submit("clean-1", "some text");
        ASSERT_TRUE(WaitUntil([&] { return isAsked.load(); }));
        const auto ahead = Submit("clean-2", "ahead of it", Urgency::kAhead);
        const auto now = Submit("clean-3", "now at once");
        isLetGo = true;
        EXPECT_EQ(Text(Await(*first).outcome), "clean");
        EXPECT_EQ(Text(Await(*now).outcome), "clean");
        EXPECT_EQ(Text(Await(*ahead).outcome), "clean");
    }
    EXPECT_EQ(asked, "now aahead");
}

TEST_F(ClamdPoolTest, WhatNobodyWaitsForIsBrokenOff) {
    std::atomic<bool> isAsked = false;
    const FakeClamd fake(m_socket, {[&](int socket) {
                                        FakeClamd::TakeRequest(socket);
                                        isAsked = true;
                                        FakeClamd::Hang(socket);
                                    },
                                    FakeClamd::Answering("1: fd[9]: OK\0"s)});
    StartWithClamd();
    const auto first = Submit("clean-1", "some text");
    ASSERT_TRUE(WaitUntil([&] { return isAsked.load(); }));
    first->Abandon(true);
    EXPECT_EQ(Scan("clean-2", "some text"), "clean") << "by the same thread";
}

TEST_F(ClamdPoolTest, AFileThatChangesMeanwhileIsNotCalledClean) {
    const FakeClamd fake(m_socket, {[&](int socket) {
                             FakeClamd::TakeRequest(socket);
                             WriteFile(m_folder / "clean-1", "something longer");
                             FakeClamd::Say(socket, "1: fd[9]: OK\0"s);
                         }});
    StartWithClamd();
    EXPECT_EQ(Scan("clean-1", "some text"), "unread: it changed while it was scanned");
}

TEST_F(ClamdPoolTest, DatabasesThatCannotBeLoadedCostOnlyWhatNeedsThem) {
    Script("not-loaded\n");
    const FakeClamd fake(m_socket, {FakeClamd::Answering("1: fd[9]: OK\0"s)});
    StartWithClamd();
    EXPECT_EQ(Scan("clean-1", "some text"), "clean");
    EXPECT_TRUE(m_pool->IsLoaded());
    EXPECT_EQ(Scan("clean-2", std::string(kArchive)).substr(0, 7), "unread:");
    EXPECT_FALSE(m_pool->IsLoaded());
}

}  // namespace
