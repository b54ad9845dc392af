#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

#include "product/definitions/file_copy.h"

namespace definitions {

/// What a child may use up, and how long several of them one after the other.
struct ChildLimits {
    using Clock = std::chrono::steady_clock;

    std::uint64_t memory = std::uint64_t{4} << 30U;  ///< bytes of address space
    unsigned int processorSeconds = 300;
    std::chrono::milliseconds wall = std::chrono::minutes(10);
    Clock::time_point end = Clock::time_point::max();  ///< when none may run any longer
};

enum class ChildEnd {
    kSucceeded,  ///< its work gave 0
    kFailed,     ///< its work gave something else
    kDied,       ///< of a fault, of too much memory or of too much work
    kTooSlow,    ///< and was ended
    kStopped,
    kNotStarted,  ///< see errno
};

struct ChildResult {
    ChildEnd end = ChildEnd::kNotStarted;
    int status = 0;    ///< of kFailed: what its work gave, 1 when that was thrown
    std::string said;  ///< what it wrote to its descriptor, cut at 64 KiB
    std::string why;   ///< of a failure, in words
};

/// Runs `work` in a child process that can do nothing but read files and compute: it changes no
/// file, starts no program, reaches no network and no other process, holds no descriptor of ours
/// and dies with us. `work` is given a descriptor to say something, and its result is 0 for
/// success. The calling process has one thread. `goOn` is asked ten times a second.
ChildResult RunLimited(const ChildLimits& limits, const std::function<int(int)>& work,
                       const GoOn& goOn);

}  // namespace definitions
