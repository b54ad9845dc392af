#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

#include "common/file_descriptor.h"

namespace updturl {

/// Which processes end together.
enum class ProcessGroup {
    kOwn,       ///< the child and all that it starts, in a session without a terminal
    kOfParent,  ///< the child alone, by us; with us, by whoever ends our group
};

/// A running part of the updater that is ended with the object. Started and ended on one thread,
/// whichever.
class ChildProcess {
public:
    ChildProcess() = default;
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Starts `program` with `arguments` and a socket as its standard input and
    /// output: no other descriptor, none of our environment, no signal blocked or ignored, in the
    /// directory "/". The other end of the socket, not open on failure with the reason in errno.
    common::FileDescriptor Start(const std::string& program, std::vector<std::string> arguments,
                                 ProcessGroup group);

    /// Waits a moment for a child that has said its last word, then ends it.
    void EndInPeace();

    /// Asks it to end, and makes it shortly after.
    void EndByForce();

private:
    bool WaitForEnd(int milliseconds) const;
    [[nodiscard]] bool Signal(int signal) const;
    void Finish();

    pid_t m_pid = 0;
    ProcessGroup m_group = ProcessGroup::kOwn;
};

}  // namespace updturl
