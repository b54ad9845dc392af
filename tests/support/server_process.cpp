#include "tests/support/server_process.h"

#include <arpa/inet.h>
#include <array>
#include <csignal>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/scratch.h"

namespace {

sockaddr_in Loopback(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

}  // namespace

void ServerProcess::Start(const std::vector<std::string>& arguments) {
    Stop();
    std::vector<char*> list;
    list.reserve(arguments.size() + 1);
    for (const std::string& argument : arguments) {
        list.push_back(const_cast<char*>(argument.c_str()));
    }
    list.push_back(nullptr);
    std::array<int, 2> ends{-1, -1};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        return;
    }
    m_output.Reset(ends[0]);
    const common::FileDescriptor input(ends[1]);
    m_child = ::fork();
    if (m_child == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        ::dup2(input.Get(), STDOUT_FILENO);
        ::execvp(list[0], list.data());
        ::_exit(127);
    }
}

std::string ServerProcess::ReadLine() const {
    std::string line;
    char byte = 0;
    while (::read(m_output.Get(), &byte, 1) == 1 && byte != '\n') {
        line += byte;
    }
    return line;
}

void ServerProcess::Stop() {
    if (m_child > 0) {
        ::kill(m_child, SIGKILL);
        (void)JoinChild(m_child);
        m_child = -1;
    }
}

bool WaitForPort(int port) {
    return WaitUntil([port] {
        const common::FileDescriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        const sockaddr_in address = Loopback(port);
        return ::connect(socket.Get(), reinterpret_cast<const sockaddr*>(&address),
                         sizeof address) == 0;
    });
}

int FreePort() {
    const common::FileDescriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address = Loopback(0);
    socklen_t length = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    if (::bind(socket.Get(), generic, length) != 0 ||
        ::getsockname(socket.Get(), generic, &length) != 0) {
        return 0;
    }
    return ntohs(address.sin_port);
}
