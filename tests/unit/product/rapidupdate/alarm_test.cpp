#include "product/rapidupdate/alarm.h"

#include <csignal>
#include <gtest/gtest.h>

#include "tests/support/scratch.h"

// Waiting for a time or for the end. In processes of their own, as signals are blocked.

namespace rapidupdate {
namespace {

TEST(Alarm, ATimeThatHasPassedIsNotWaitedFor) {
    EXPECT_EQ(InChild([] {
                  const Alarm alarm;
                  const Seconds begin = Alarm::Now();
                  return alarm.IsReady() && alarm.WaitUntil(Seconds(0)) && alarm.WaitUntil(begin) &&
                                 Alarm::Now() - begin < Seconds(5)
                             ? 0
                             : 1;
              }),
              0);
}

TEST(Alarm, ATimeToComeIsWaitedFor) {
    EXPECT_EQ(InChild([] {
                  const Alarm alarm;
                  const Seconds due = Alarm::Now() + Seconds(2);
                  return alarm.WaitUntil(due) && Alarm::Now() >= due ? 0 : 1;
              }),
              0);
}

TEST(Alarm, TheEndOfTheServiceEndsThisWaitAndEveryLaterOne) {
    for (const int signal : {SIGTERM, SIGINT}) {
        const pid_t child = StartChild([] {
            const Alarm alarm;
            const Seconds later = Alarm::Now() + Seconds(60);
            return !alarm.WaitUntil(later) && !alarm.WaitUntil(later) &&
                           !alarm.WaitUntil(Seconds(0))
                       ? 0
                       : 1;
        });
        // Until the signal is blocked, it would end the child itself.
        const std::string status = "/proc/" + std::to_string(child) + "/status";
        const auto bit = 1ULL << (signal - 1);
        ASSERT_TRUE(WaitUntil([&] {
            const std::string text = ReadFile(status);
            const auto at = text.find("SigBlk:\t");
            return at != std::string::npos &&
                   (std::stoull(text.substr(at + 8, 16), nullptr, 16) & bit) != 0;
        }));
        ::kill(child, signal);
        EXPECT_EQ(JoinChild(child), 0) << signal;
    }
}

// CLOCK_BOOTTIME, the one that goes on while the machine sleeps, is number 7.
TEST(Alarm, ItsTimerGoesOnWhileTheMachineSleeps) {
    const Alarm alarm;
    std::string clocks;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fdinfo")) {
        const std::string text = ReadFile(entry.path().string());
        const auto at = text.find("clockid: ");
        if (at != std::string::npos) {
            clocks += text.substr(at, text.find('\n', at) - at) + ";";
        }
    }
    EXPECT_EQ(clocks, "clockid: 7;");
}

TEST(Alarm, NowIsWhatTheMachineHasBeenUpFor) {
    const double uptime = std::stod(ReadFile("/proc/uptime"));
    EXPECT_NEAR(static_cast<double>(Alarm::Now().count()), uptime, 5);
}

}  // namespace
}  // namespace rapidupdate
