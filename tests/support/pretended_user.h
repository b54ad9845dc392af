#pragma once

#include <optional>
#include <sys/types.h>

/// Who the code under test takes for the real user of this process while one of these lives: root
/// or not, whoever runs the test.
class PretendedUser {
public:
    explicit PretendedUser(uid_t uid) : m_before(Now()) { Now() = uid; }
    ~PretendedUser() { Now() = m_before; }
    PretendedUser(const PretendedUser&) = delete;
    PretendedUser& operator=(const PretendedUser&) = delete;
    PretendedUser(PretendedUser&&) = delete;
    PretendedUser& operator=(PretendedUser&&) = delete;

    static std::optional<uid_t>& Now();

private:
    std::optional<uid_t> m_before;
};
