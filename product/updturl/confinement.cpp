#include "product/updturl/confinement.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "common/file_descriptor.h"

namespace updturl {
namespace {

constexpr rlim_t kGibibyte = rlim_t{1} << 30U;
constexpr rlim_t kMemory = 6 * kGibibyte;  // a large official database is loaded to test it
constexpr rlim_t kFileSize = 4 * kGibibyte;
constexpr rlim_t kProcessorTime = 1800;  // seconds
constexpr rlim_t kOpenFiles = 256;

// What programs and their libraries read: code, configurations, names, random numbers.
constexpr std::array<const char*, 9> kSystemFolders = {
    "/usr", "/lib", "/lib64", "/etc", "/bin", "/dev", "/proc", "/run", "/var/lib/clamav"};

constexpr std::uint64_t kReadAccess =
    LANDLOCK_ACCESS_FS_EXECUTE | LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;
constexpr std::uint64_t kWriteAccess =
    LANDLOCK_ACCESS_FS_WRITE_FILE | LANDLOCK_ACCESS_FS_REMOVE_DIR | LANDLOCK_ACCESS_FS_REMOVE_FILE |
    LANDLOCK_ACCESS_FS_MAKE_DIR | LANDLOCK_ACCESS_FS_MAKE_REG | LANDLOCK_ACCESS_FS_MAKE_SYM |
    LANDLOCK_ACCESS_FS_REFER;
/// Forbidden everywhere, the writable folders included.
constexpr std::uint64_t kNoAccess = LANDLOCK_ACCESS_FS_MAKE_CHAR | LANDLOCK_ACCESS_FS_MAKE_BLOCK |
                                    LANDLOCK_ACCESS_FS_MAKE_SOCK | LANDLOCK_ACCESS_FS_MAKE_FIFO;
constexpr std::uint64_t kFileAccess =
    LANDLOCK_ACCESS_FS_EXECUTE | LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_WRITE_FILE;

class Ruleset {
public:
    Ruleset() {
        if (Version() < kVersion) {
            return;
        }
        const landlock_ruleset_attr attributes{.handled_access_fs =
                                                   kReadAccess | kWriteAccess | kNoAccess};
        m_fd.Reset(static_cast<int>(
            ::syscall(SYS_landlock_create_ruleset, &attributes, sizeof attributes, 0)));
    }

    [[nodiscard]] bool IsThere() const { return m_fd.IsOpen(); }

    /// What is not there needs no rule.
    void Allow(const std::string& path, std::uint64_t access) {
        const common::FileDescriptor target(::open(path.c_str(), O_PATH | O_CLOEXEC));
        struct stat status {};
        if (!target || ::fstat(target.Get(), &status) != 0) {
            return;
        }
        if (!S_ISDIR(status.st_mode)) {
            access &= kFileAccess;
        }
        const landlock_path_beneath_attr rule{.allowed_access = access, .parent_fd = target.Get()};
        m_isWhole = m_isWhole && ::syscall(SYS_landlock_add_rule, m_fd.Get(),
                                           LANDLOCK_RULE_PATH_BENEATH, &rule, 0) == 0;
    }

    bool Enforce() {
        return m_isWhole && ::syscall(SYS_landlock_restrict_self, m_fd.Get(), 0) == 0;
    }

private:
    /// The first in which a file can be moved from one folder to another.
    static constexpr long kVersion = 2;

    static long Version() {
        return ::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
    }

    common::FileDescriptor m_fd;
    bool m_isWhole = true;
};

bool Limit(__rlimit_resource resource, rlim_t most) {
    rlimit limit{};
    if (::getrlimit(resource, &limit) != 0) {
        return false;
    }
    limit.rlim_max = std::min(limit.rlim_max, most);
    limit.rlim_cur = limit.rlim_max;
    return ::setrlimit(resource, &limit) == 0;
}

bool LimitResources() {
    bool isLimited = Limit(RLIMIT_CORE, 0) && Limit(RLIMIT_FSIZE, kFileSize) &&
                     Limit(RLIMIT_CPU, kProcessorTime) && Limit(RLIMIT_NOFILE, kOpenFiles);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    // The sanitizers reserve far more than they use.
    isLimited = Limit(RLIMIT_AS, kMemory) && isLimited;
#endif
    return isLimited;
}

std::string ConfineFiles(const Confinement& confinement) {
    Ruleset rules;
    if (!rules.IsThere()) {
        return "not confined to its files, which this kernel cannot";
    }
    for (const char* const folder : kSystemFolders) {
        rules.Allow(folder, kReadAccess);
    }
    rules.Allow("/dev/null", kReadAccess | kWriteAccess);
    for (const std::string& path : confinement.readable) {
        rules.Allow(path, kReadAccess);
    }
    for (const std::string& folder : confinement.writable) {
        rules.Allow(folder, (kReadAccess | kWriteAccess) & ~LANDLOCK_ACCESS_FS_EXECUTE);
    }
    return rules.Enforce() ? "confined to its files"
                           : std::string("not confined to its files: ") + std::strerror(errno);
}

}  // namespace

std::string Confine(const Confinement& confinement) {
    std::string done = ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0
                           ? "without new privileges"
                           : "with the privileges that programs give";
    done += LimitResources() ? ", limited" : ", not limited";
    return done + ", " + ConfineFiles(confinement);
}

}  // namespace updturl
