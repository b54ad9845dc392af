#include "product/updturl/confinement.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <linux/landlock.h>
#include <sys/prctl.h>

#include "product/confining/landlock.h"
#include "product/confining/resource_limit.h"

namespace updturl {
namespace {

using confining::Landlock;
using confining::LimitResource;

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
/// The first in which a file can be moved from one folder to another.
constexpr long kLandlockVersion = 2;

bool LimitResources() {
    bool isLimited = LimitResource(RLIMIT_CORE, 0) && LimitResource(RLIMIT_FSIZE, kFileSize) &&
                     LimitResource(RLIMIT_CPU, kProcessorTime) &&
                     LimitResource(RLIMIT_NOFILE, kOpenFiles);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    // The sanitizers reserve far more than they use.
    isLimited = LimitResource(RLIMIT_AS, kMemory) && isLimited;
#endif
    return isLimited;
}

std::string ConfineFiles(const Confinement& confinement) {
    Landlock rules({.files = kReadAccess | kWriteAccess | kNoAccess}, kLandlockVersion);
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
