#include <algorithm>
#include <atomic>
#include <cstring>
#include <iterator>
#include <memory>
#include <optional>
#include <stdexcept>
#include <thread>

#include "tests/unit/update/run/shell_update.h"

// What the updater is answered.

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

int Say(void* context, int status, const std::string& name = "") {
    tagUPDATEINFO info{};
    info.status = static_cast<std::uint16_t>(status);
    common::CopyToField(info.fileName, name);
    return UpdtCallBack(&info, context);
}

TEST_F(ShellUpdate, EachStatusIsToldAsItsEvent) {
    for (const int status : {2000, 2001, 2002, 2003, 2004, 2005, 2006, 2015}) {
        EXPECT_EQ(Say(this, status), 1) << status;
    }
    EXPECT_THAT(m_told, ElementsAre(1117, 1118, 1119, 1120, 1121, 1122, 1124, 1123));
}

TEST_F(ShellUpdate, OtherStatusesAreTakenAndNotTold) {
    for (const int status :
         {2007, 2008, 2009, 2010, 2011, 2012, 2013, 2014, 0, 1, 1999, 2016, 65535}) {
        EXPECT_EQ(Say(this, status, "f"), 1) << status;
        EXPECT_EQ(g_updFileInfo.status, status);
    }
    EXPECT_THAT(m_told, IsEmpty());
}

TEST_F(ShellUpdate, TheRecordIsCopiedWhole) {
    tagUPDATEINFO info{};
    info.status = 2006;
    std::fill(std::begin(info.fileName), std::end(info.fileName), 'f');
    std::fill(std::begin(info.reserved), std::end(info.reserved), 'r');
    UpdtCallBack(&info, this);
    const tagUPDATEINFO kept = m_run.LastInfo();
    EXPECT_EQ(std::memcmp(&kept, &info, sizeof info), 0);
    EXPECT_EQ(std::memcmp(&g_updFileInfo, &info, sizeof info), 0);
}

TEST_F(ShellUpdate, StoppedItIsAnsweredToStopWhateverItSays) {
    EXPECT_FALSE(m_run.IsStopped());
    m_run.Stop();
    EXPECT_TRUE(m_run.IsStopped());
    for (const int status : {2000, 2006, 2010, 2015, 0, 65535}) {
        EXPECT_EQ(Say(this, status, "last"), 2) << status;
    }
    EXPECT_THAT(m_told, IsEmpty());
    EXPECT_STREQ(m_run.LastInfo().fileName, "last") << "it is copied all the same";
}

TEST_F(ShellUpdate, WithoutRecordOrContextItGoesOn) {
    EXPECT_EQ(UpdtCallBack(nullptr, this), 1);
    EXPECT_EQ(Say(nullptr, 2000), 1);
    EXPECT_THAT(m_told, IsEmpty());
}

TEST_F(ShellUpdate, ForAWindowThatIsGoneItIsToStop) {
    int context = 0;
    auto run = std::make_unique<update::UpdateRun>(*this, &context);
    std::optional<update::LiveUpdate> live(std::in_place, &context, *run);
    EXPECT_EQ(Say(&context, 2000), 1);
    live.reset();
    run.reset();
    EXPECT_EQ(Say(&context, 2001), 2);
    EXPECT_THAT(m_told, ElementsAre(1117));
}

TEST_F(ShellUpdate, AWindowDoesNotGoWhileItIsTold) {
    int context = 0;
    auto run = std::make_unique<update::UpdateRun>(*this, &context);
    std::optional<update::LiveUpdate> live(std::in_place, &context, *run);
    std::atomic<bool> isTold{false};
    std::atomic<bool> isReleased{false};
    std::atomic<bool> isGone{false};
    m_onEvent = [&](UpdateEvent) {
        isTold = true;
        EXPECT_TRUE(WaitUntil([&] { return isReleased.load(); }));
        EXPECT_FALSE(isGone);
    };
    std::thread updater([&] { EXPECT_EQ(Say(&context, 2000), 1); });
    EXPECT_TRUE(WaitUntil([&] { return isTold.load(); }));
    std::thread window([&] {
        live.reset();
        isGone = true;
    });
    // Once it is to go it is not found any more, though it is still in use.
    EXPECT_TRUE(WaitUntil([&] { return Say(&context, 2010) == 2; }));
    EXPECT_FALSE(isGone);
    isReleased = true;
    updater.join();
    window.join();
    EXPECT_TRUE(isGone);
}

TEST_F(ShellUpdate, WhatItsListenerThrowsIsLoggedAndNotTheUpdaters) {
    m_onEvent = [](UpdateEvent) { throw std::runtime_error("no memory"); };
    EXPECT_EQ(Say(this, 2000), 1);
    EXPECT_EQ(ProgramLog(), "In UpdateRun::Reply(): no memory\n");
}

TEST_F(ShellUpdate, AnUpdaterThatIsStoppedEndsInterrupted) {
    Prepare("status 2000\nwait-for-stop\nresult 3\n");
    m_onEvent = [this](UpdateEvent event) {
        if (event == kEvtUpdateLoadingFiles) {
            m_run.Stop();
        }
    };
    EXPECT_EQ(Update(), 3);
    EXPECT_THAT(m_told, ElementsAre(1117, 1118, 1116));
}

TEST_F(ShellUpdate, MayBeCalledOnAThreadOfTheUpdater) {
    Prepare("elsewhere 2006 daily.cvd\nelsewhere 2010\nresult 2\n");
    std::string name;
    m_onEvent = [&](UpdateEvent event) {
        if (event == kEvtUpdateLoadingNamedFile) {
            name = m_run.LastInfo().fileName;
        }
    };
    EXPECT_EQ(Update(), 2);
    EXPECT_THAT(m_told, ElementsAre(1124, 1116));
    EXPECT_EQ(name, "daily.cvd");
}

}  // namespace
