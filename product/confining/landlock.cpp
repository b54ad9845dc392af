#include "product/confining/landlock.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace confining {

namespace {

// The record as the youngest kernel knows it; an older one is told of its beginning only.
struct RulesetAttributes {
    std::uint64_t files;
    std::uint64_t network;
    std::uint64_t scoped;
};
constexpr std::uint64_t kTcp = 3;     // bind and connect
constexpr std::uint64_t kOthers = 3;  // abstract sockets and signals
constexpr long kNetworkVersion = 4;
constexpr long kOthersVersion = 6;

// How many rights about files each version knows, the first one first.
constexpr std::array<unsigned int, 5> kFileRights{13, 14, 15, 15, 16};

constexpr std::uint64_t kFileAccess = LANDLOCK_ACCESS_FS_EXECUTE | LANDLOCK_ACCESS_FS_READ_FILE |
                                      LANDLOCK_ACCESS_FS_WRITE_FILE | kTruncateRight |
                                      kDeviceIoctlRight;

std::uint64_t KnownFileRights(long version) {
    const auto index = std::min(static_cast<std::size_t>(version), kFileRights.size()) - 1;
    return (1ULL << kFileRights.at(index)) - 1;
}

std::size_t KnownSize(long version) {
    return version >= kOthersVersion    ? sizeof(RulesetAttributes)
           : version >= kNetworkVersion ? offsetof(RulesetAttributes, scoped)
                                        : offsetof(RulesetAttributes, network);
}

}  // namespace

long Landlock::Version() {
    return ::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
}

Landlock::Landlock(const Denied& denied, long leastVersion) {
    const long version = Version();
    if (version < std::max(leastVersion, 1L)) {
        return;
    }
    m_handled = denied.files & KnownFileRights(version);
    const RulesetAttributes attributes{.files = m_handled,
                                       .network = denied.network ? kTcp : 0,
                                       .scoped = denied.others ? kOthers : 0};
    m_fd.Reset(static_cast<int>(
        ::syscall(SYS_landlock_create_ruleset, &attributes, KnownSize(version), 0)));
}

void Landlock::Allow(const std::string& path, std::uint64_t access) {
    const common::FileDescriptor target(::open(path.c_str(), O_PATH | O_CLOEXEC));
    if (target) {
        Allow(target.Get(), access);
    }
}

void Landlock::Allow(int target, std::uint64_t access) {
    struct stat status {};
    if (::fstat(target, &status) != 0) {
        m_error = errno;
        return;
    }
    if (!S_ISDIR(status.st_mode)) {
        access &= kFileAccess;
    }
    const landlock_path_beneath_attr rule{.allowed_access = access & m_handled,
                                          .parent_fd = target};
    if (::syscall(SYS_landlock_add_rule, m_fd.Get(), LANDLOCK_RULE_PATH_BENEATH, &rule, 0) != 0) {
        m_error = errno;
    }
}

bool Landlock::Enforce() {
    if (m_error != 0) {
        errno = m_error;
        return false;
    }
    return ::syscall(SYS_landlock_restrict_self, m_fd.Get(), 0) == 0;
}

}  // namespace confining
