#pragma once

#include <atomic>
#include <chrono>
#include <thread>

/// Time as this machine gives it: the naps of a thread that does nothing else. It runs as
/// steady_clock does, never ahead of it, and slower where whoever wakes up has to wait for a
/// processor, or where the whole process is halted. So what is measured with it can be held to a
/// limit on a busy machine, too. Any thread, but not in a child of a fork, where it stands still.
class PatientClock {
public:
    using duration = std::chrono::steady_clock::duration;
    using rep = duration::rep;
    using period = duration::period;
    using time_point = std::chrono::time_point<PatientClock>;
    static constexpr bool is_steady = true;

    static time_point now() {
        static std::atomic<rep> naps = 0;
        static const bool isRunning = Start(naps);
        return time_point(isRunning ? naps.load() * kNap : duration());
    }

private:
    static constexpr std::chrono::milliseconds kNap{5};

    static bool Start(std::atomic<rep>& naps) {
        // As long as the process.
        std::thread([&naps] {
            while (true) {
                std::this_thread::sleep_for(kNap);
                ++naps;
            }
        }).detach();
        return true;
    }
};
