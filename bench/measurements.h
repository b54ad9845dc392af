#pragma once

#include <chrono>
#include <string>

/// Seconds on a clock that only goes forward.
class Stopwatch {
public:
    [[nodiscard]] double Seconds() const {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count();
    }

private:
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

/// The most memory this process has had in use so far, in KiB ("VmHWM"); 0 when unknown.
long PeakMemory();

/// What this process has in memory, in KiB, what it shares counted in parts ("Pss"); 0 when
/// unknown.
long ProportionalMemory();
/// The same of all processes together whose program has this name.
long ProportionalMemory(const char* program);
