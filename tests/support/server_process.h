#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

#include "common/file_descriptor.h"

/// A program that a test starts and that ends with the object: a server, as a rule.
class ServerProcess {
public:
    ServerProcess() = default;
    ~ServerProcess() { Stop(); }
    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;

    /// Starts `arguments`, the first of which is found along PATH. Its standard output can be read.
    void Start(const std::vector<std::string>& arguments);

    /// The first line of its standard output, without the newline; empty when it ends before.
    [[nodiscard]] std::string ReadLine() const;

    void Stop();

private:
    pid_t m_child = -1;
    common::FileDescriptor m_output;
};

/// Waits until somebody listens on the port of 127.0.0.1. False after ten seconds.
bool WaitForPort(int port);

/// A port of 127.0.0.1 on which nobody listens. In a network of the test's own it stays free.
int FreePort();
