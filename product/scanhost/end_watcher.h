#pragma once

#include <thread>

#include "common/file_descriptor.h"

namespace scanhost {

/// While there is one, this process ends at once when the other end of a socket is closed:
/// databases load for seconds, and nothing can break that off. A thread of its own, which is gone
/// with it.
class EndWatcher {
public:
    /// Throws std::system_error when there is no descriptor or thread for it.
    explicit EndWatcher(int socket);
    ~EndWatcher();
    EndWatcher(const EndWatcher&) = delete;
    EndWatcher& operator=(const EndWatcher&) = delete;

private:
    common::FileDescriptor m_enough;
    std::thread m_thread;
};

}  // namespace scanhost
