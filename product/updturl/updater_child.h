#pragma once

#include <string>
#include <sys/types.h>

#include "common/file_descriptor.h"

namespace updturl {

/// A running updater, in a process group of its own, that is ended with the object. Started and
/// ended on one thread, whichever.
class UpdaterChild {
public:
    UpdaterChild() = default;
    ~UpdaterChild();
    UpdaterChild(const UpdaterChild&) = delete;
    UpdaterChild& operator=(const UpdaterChild&) = delete;

    /// Starts `program` with a socket as its standard input and output: no other descriptor, none
    /// of our environment, no signal blocked or ignored, in the directory "/". The other end of the
    /// socket, not open on failure with the reason in errno.
    FileDescriptor Start(const std::string& program);

    /// Waits a moment for a child that has said its last word, then ends it with all its group.
    void EndInPeace();

    /// Asks the group to end, and makes it shortly after.
    void EndByForce();

private:
    bool WaitForEnd(int milliseconds) const;
    void Signal(int signal) const;
    void Finish();

    pid_t m_pid = 0;
};

}  // namespace updturl
