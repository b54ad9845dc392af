#include "product/updturl/asker.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <thread>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "common/io.h"
#include "tests/support/patient_clock.h"

namespace updturl {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

class AskerTest : public testing::Test {
protected:
    void SetUp() override {
        std::array<int, 2> ends{};
        ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
        m_input.Reset(ends[0]);
        m_asks.Reset(ends[1]);
        ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
        m_hears.Reset(ends[0]);
        m_output.Reset(ends[1]);
        m_asker.emplace(m_input.Get(), m_output.Get());
    }

    /// What was said so far.
    std::string Heard() {
        (void)fcntl(m_hears.Get(), F_SETFL, O_NONBLOCK);
        std::array<char, 65536> buffer{};
        const ssize_t count = read(m_hears.Get(), buffer.data(), buffer.size());
        return count > 0 ? std::string(buffer.data(), static_cast<std::size_t>(count)) : "";
    }

    common::FileDescriptor m_input;
    common::FileDescriptor m_asks;
    common::FileDescriptor m_hears;
    common::FileDescriptor m_output;
    std::optional<Asker> m_asker;
    Request m_request;
    std::string m_reason;
};

TEST_F(AskerTest, TheRequestIsReadAndWhatFollowsIsNotLost) {
    ASSERT_TRUE(common::WriteAll(m_asks.Get(), "source index\nfolder /f\ngo\nstop\n"));
    EXPECT_TRUE(m_asker->ReadRequest(m_request, m_reason));
    EXPECT_EQ(m_request.folder, "/f");
    EXPECT_TRUE(m_asker->IsStopping());
}

TEST_F(AskerTest, ARequestThatIsRefusedSaysWhy) {
    ASSERT_TRUE(common::WriteAll(m_asks.Get(), "command rm\n"));
    EXPECT_FALSE(m_asker->ReadRequest(m_request, m_reason));
    EXPECT_EQ(m_reason, "the request is not understood at \"command\"");
}

TEST_F(AskerTest, ARequestWithoutItsEndIsNone) {
    ASSERT_TRUE(common::WriteAll(m_asks.Get(), "source index\n"));
    m_asks.Reset();
    EXPECT_FALSE(m_asker->ReadRequest(m_request, m_reason));
    EXPECT_EQ(m_reason, "the request ends in the middle");
}

TEST_F(AskerTest, MoreThanARequestCanHoldIsNotRead) {
    std::thread other([this] {
        (void)signal(SIGPIPE, SIG_IGN);
        for (int line = 0; line < 300; ++line) {
            common::WriteAll(m_asks.Get(), "address " + std::string(4000, 'a') + "\n");
        }
    });
    EXPECT_FALSE(m_asker->ReadRequest(m_request, m_reason));
    EXPECT_EQ(m_reason, "the request ends in the middle");
    m_input.Reset();
    other.join();
}

TEST_F(AskerTest, AStopIsALineOfItsOwnOrTheEnd) {
    EXPECT_FALSE(m_asker->IsStopping());
    ASSERT_TRUE(common::WriteAll(m_asks.Get(), "halt\nsto"));
    EXPECT_FALSE(m_asker->IsStopping());
    ASSERT_TRUE(common::WriteAll(m_asks.Get(), "p\n"));
    EXPECT_TRUE(m_asker->IsStopping());
    EXPECT_TRUE(m_asker->IsStopping());
}

TEST_F(AskerTest, WhoGoesAwayWantsItToStop) {
    m_asks.Reset();
    EXPECT_TRUE(m_asker->IsStopping());
}

TEST_F(AskerTest, WhoHearsNothingAnyMoreWantsItToStop) {
    (void)signal(SIGPIPE, SIG_IGN);
    m_hears.Reset();
    m_asker->Log("word");
    EXPECT_TRUE(m_asker->IsStopping());
}

TEST_F(AskerTest, AStatusIsToldOnceAndThenRepeatedByBeats) {
    m_asker->Beat();
    EXPECT_EQ(Heard(), "");  // nothing is done yet
    m_asker->Status(2005);
    m_asker->Status(2005);
    m_asker->Beat();
    EXPECT_EQ(Heard(), "status 2005\n");
    auto toldAfter = Clock::time_point::min();
    auto toldBefore = Clock::now();
    for (int told = 0; told < 4;) {
        std::this_thread::sleep_for(20ms);
        const auto before = Clock::now();
        m_asker->Beat();
        const std::string heard = Heard();
        if (heard.empty()) {
            ASSERT_LT(before - toldBefore, 250ms) << "four times a second";
            continue;
        }
        EXPECT_EQ(heard, "status 2005\n");
        if (toldAfter != Clock::time_point::min()) {
            EXPECT_GT(Clock::now() - toldAfter, 150ms) << "and not much more often";
        }
        toldAfter = before;
        toldBefore = Clock::now();
        ++told;
    }
}

TEST_F(AskerTest, ManyNamesAreToldTenTimesASecondTheLastOneSurely) {
    const auto begun = Clock::now();
    for (int number = 0; number < 1000; ++number) {
        m_asker->Status(2006, std::to_string(number));
    }
    const auto tenths = (Clock::now() - begun) / 100ms;  // more than none on a busy machine
    const std::string heard = Heard();
    EXPECT_TRUE(heard.starts_with("status 2006 0\n")) << heard;
    EXPECT_LE(std::count(heard.begin(), heard.end(), '\n'), 1 + tenths);
    std::this_thread::sleep_for(120ms);
    m_asker->Beat();
    EXPECT_TRUE((heard + Heard()).ends_with("status 2006 999\n"));
}

TEST_F(AskerTest, AnotherStatusIsToldAtOnce) {
    m_asker->Status(2000);
    m_asker->Status(2003);
    EXPECT_EQ(Heard(), "status 2000\nstatus 2003\n");
}

TEST_F(AskerTest, EverythingElseIsALine) {
    m_asker->Log("a\nb");
    m_asker->Candidate("/d/candidate");
    m_asker->Switching();
    m_asker->Result(1);
    m_asker->Say("test ok\n");
    EXPECT_EQ(Heard(), "log a%0Ab\ncandidate /d/candidate\nswitching\nresult 1\ntest ok\n");
}

TEST_F(AskerTest, WhoDoesNotReadHoldsNothingUp) {
    const auto begun = PatientClock::now();
    for (int number = 0; number < 100; ++number) {
        m_asker->Log(std::string(4000, 'a'));  // 16 of them fill the pipe
    }
    EXPECT_LT(PatientClock::now() - begun, 1s);
    const auto full = PatientClock::now();
    for (int number = 0; number < 100; ++number) {
        m_asker->Status(static_cast<std::uint16_t>(2000 + number % 2));
    }
    EXPECT_LT(PatientClock::now() - full, 100ms);
    EXPECT_FALSE(m_asker->IsStopping());
}

TEST_F(AskerTest, TheResultIsWaitedForAlsoWhereTheLogWasNot) {
    for (int number = 0; number < 20; ++number) {
        m_asker->Log(std::string(4000, 'a'));
    }
    std::string heard;
    std::thread other([&] {
        std::this_thread::sleep_for(200ms);
        std::array<char, 4096> buffer{};
        for (ssize_t count = 1; count > 0 && !heard.ends_with("result 1\n");) {
            count = read(m_hears.Get(), buffer.data(), buffer.size());
            heard.append(buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        }
    });
    m_asker->Result(1);
    m_output.Reset();
    other.join();
    EXPECT_TRUE(heard.ends_with("result 1\n"));
}

}  // namespace
}  // namespace updturl
