#pragma once

#include <chrono>

#include "common/file_descriptor.h"

namespace shellscan {

/// The signals that ask a program to end, SIGHUP, SIGINT and SIGTERM, told to whoever waits for
/// them instead; those that are ignored stay so. Made on the first thread before there are others,
/// once.
class StopSignals {
public:
    StopSignals();

    /// Waits for one until `other` becomes readable or the time is up; -1 is for ever. The signal;
    /// 0 when none has come.
    [[nodiscard]] int WaitFor(int other, std::chrono::milliseconds limit) const;

private:
    common::FileDescriptor m_signals;
};

}  // namespace shellscan
