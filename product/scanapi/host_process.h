#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <sys/types.h>

#include "common/file_descriptor.h"

namespace scanapi {

/// A scan host that was started. It has nothing of ours but the other end of a socket, and ends
/// when that is closed. It is no child of this process: a program that waits for any child, or
/// that has told the system to forget its children, does not meet it, and it does not meet us.
/// One thread at a time.
class HostProcess {
public:
    HostProcess() = default;
    ~HostProcess();
    HostProcess(const HostProcess&) = delete;
    HostProcess& operator=(const HostProcess&) = delete;

    /// Starts the program at `path`; called once. False with errno when it could not.
    bool Start(const std::string& path);

    /// Our end of the control socket, a SOCK_SEQPACKET that does not wait.
    [[nodiscard]] int Socket() const { return m_socket.Get(); }
    /// Readable once the process has ended.
    [[nodiscard]] int Process() const { return m_process.Get(); }

    /// The memory it takes, in bytes; 0 when that cannot be told.
    [[nodiscard]] std::uint64_t Memory() const;

    /// Closes the socket, waits at most `patience` for the process to end by itself, and kills it
    /// then. Returns when it has ended.
    void End(std::chrono::milliseconds patience);

private:
    common::FileDescriptor m_socket;
    common::FileDescriptor m_process;
    pid_t m_pid = 0;
};

/// The path of the scan host that belongs to this library: in the library's own directory.
std::string PathOfScanHost();

}  // namespace scanapi
