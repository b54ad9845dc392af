#pragma once

#include <csignal>
#include <sys/resource.h>

/// While it lives no file of this process may grow or be written: every write fails as on a full
/// disk.
class NoRoom {
public:
    NoRoom() : m_handler(std::signal(SIGXFSZ, SIG_IGN)) {
        ::getrlimit(RLIMIT_FSIZE, &m_limit);
        const rlimit none{0, m_limit.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &none);
    }
    ~NoRoom() {
        ::setrlimit(RLIMIT_FSIZE, &m_limit);
        std::signal(SIGXFSZ, m_handler);
    }
    NoRoom(const NoRoom&) = delete;
    NoRoom& operator=(const NoRoom&) = delete;
    NoRoom(NoRoom&&) = delete;
    NoRoom& operator=(NoRoom&&) = delete;

private:
    void (*m_handler)(int);
    rlimit m_limit{};
};
