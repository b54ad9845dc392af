#include "product/updated/asker.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include "common/io.h"

// One who asks, over a connection of the test's own.

namespace updated {
namespace {

class AskerTest : public testing::Test {
protected:
    void SetUp() override {
        int ends[2];
        ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends), 0);
        m_far.Reset(ends[0]);
        m_asker = std::make_unique<Asker>(common::FileDescriptor(ends[1]));
    }

    Asker::State After(std::string_view text) {
        common::WriteAll(m_far.Get(), text);
        m_asker->Hear();
        return m_asker->Now();
    }

    std::string Received() const {
        std::string all;
        char buffer[4096];
        for (ssize_t got = 0; (got = ::read(m_far.Get(), buffer, sizeof buffer)) > 0;) {
            all.append(buffer, static_cast<std::size_t>(got));
        }
        return all;
    }

    common::FileDescriptor m_far;
    std::unique_ptr<Asker> m_asker;
};

TEST_F(AskerTest, IsKnownByTheSystemNotByWhatItSays) {
    EXPECT_EQ(m_asker->User(), ::getuid());
    EXPECT_EQ(m_asker->Process(), ::getpid());
}

TEST_F(AskerTest, WaitsOnceItsWishHasCome) {
    EXPECT_EQ(After("upd"), Asker::State::kNew);
    EXPECT_EQ(After("ate\n"), Asker::State::kWaiting);
    EXPECT_EQ(m_asker->Wanted(), Asker::Wish::kUpdate);
}

TEST_F(AskerTest, MayWishForTheFolder) {
    EXPECT_EQ(After("index\n"), Asker::State::kWaiting);
    EXPECT_EQ(m_asker->Wanted(), Asker::Wish::kIndex);
}

TEST_F(AskerTest, AnyOtherWishIsRefused) {
    using std::string_view_literals::operator""sv;
    for (const std::string_view wish :
         {"\n"sv, "go\n"sv, "update /etc\n"sv, "Update\n"sv, "folder %2F\n"sv, "update\0\n"sv}) {
        SetUp();
        EXPECT_EQ(After(wish), Asker::State::kGone) << wish;
    }
}

TEST_F(AskerTest, AWishWithoutEndIsRefused) {
    EXPECT_EQ(After(std::string(100, 'u')), Asker::State::kGone);
}

TEST_F(AskerTest, HearsWhatItsRunComesToWhenItStopsIt) {
    EXPECT_EQ(After("update\n"), Asker::State::kWaiting);
    m_asker->Begin();
    EXPECT_FALSE(m_asker->IsStopping());
    EXPECT_EQ(After("stop\nstop\n"), Asker::State::kRunning);
    EXPECT_TRUE(m_asker->IsStopping());
    EXPECT_EQ(After("update\n"), Asker::State::kGone) << "one run is all that it gets";
}

TEST_F(AskerTest, IsGoneWhenItDoesNotWaitOrHangsUp) {
    EXPECT_EQ(After("update\n"), Asker::State::kWaiting);
    EXPECT_EQ(After("stop\n"), Asker::State::kGone);
    SetUp();
    EXPECT_EQ(After("update\n"), Asker::State::kWaiting);
    m_far.Reset();
    m_asker->Hear();
    EXPECT_EQ(m_asker->Now(), Asker::State::kGone);
}

TEST_F(AskerTest, OneThatDoesNotReadIsLeftWhenTooMuchWaits) {
    After("update\n");
    m_asker->Begin();
    const std::string line = std::string(1023, 'x') + "\n";
    int lines = 0;
    while (m_asker->Now() == Asker::State::kRunning && lines < 10'000) {
        m_asker->Say(line);
        ++lines;
    }
    EXPECT_EQ(m_asker->Now(), Asker::State::kGone);
    EXPECT_LT(lines, 10'000);
}

TEST_F(AskerTest, OneThatReadsSlowlyMissesWhatMayBeMissedAndHearsTheResult) {
    After("update\n");
    m_asker->Begin();
    for (int i = 0; i < 10'000; ++i) {
        m_asker->Mention("status 2001\n");
    }
    EXPECT_EQ(m_asker->Now(), Asker::State::kRunning);
    m_asker->Say("result 1\n");
    m_asker->Leave();
    EXPECT_EQ(After("stop\n"), Asker::State::kLeaving) << "which is too late";
    std::string all;
    while (m_asker->Now() == Asker::State::kLeaving) {
        const std::string more = Received();
        ASSERT_FALSE(more.empty());
        all += more;
        m_asker->Send();
    }
    all += Received();
    EXPECT_TRUE(all.ends_with("status 2001\nresult 1\n"));
    EXPECT_LT(all.size(), std::size_t{10'000} * 12);
}

TEST_F(AskerTest, LeavesAtOnceWhenAllIsSent) {
    After("update\n");
    m_asker->Say("result 2\n");
    m_asker->Leave();
    EXPECT_EQ(m_asker->Now(), Asker::State::kGone);
    EXPECT_EQ(Received(), "result 2\n");
}

}  // namespace
}  // namespace updated
