#include "product/scanhost/confinement.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <grp.h>
#include <linux/capability.h>
#include <linux/landlock.h>
#include <span>
#include <string_view>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "common/io.h"
#include "common/retrying.h"
#include "product/confining/account.h"
#include "product/confining/landlock.h"
#include "product/confining/resource_limit.h"
#include "product/scanhost/system_calls.h"
#include "product/scanwire/switches.h"

namespace scanhost {

namespace {

constexpr rlim_t kMebibyte = rlim_t{1} << 20U;
constexpr rlim_t kOpenFiles = 256;
// What is unpacked from one file is within the library's limits before it is as much as this.
constexpr rlim_t kFileSize = 512 * kMebibyte;

constexpr std::uint64_t kScratchAccess =
    LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_WRITE_FILE | LANDLOCK_ACCESS_FS_READ_DIR |
    LANDLOCK_ACCESS_FS_REMOVE_DIR | LANDLOCK_ACCESS_FS_REMOVE_FILE | LANDLOCK_ACCESS_FS_MAKE_DIR |
    LANDLOCK_ACCESS_FS_MAKE_REG | confining::kTruncateRight;

constexpr std::string_view kMemoryScratch = "memory file system";
constexpr std::string_view kOwnUser = "own user";
constexpr std::string_view kSystemCalls = "system calls";

int ErrorUnless(bool done) {
    return done ? 0 : errno;
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
// Of this process's address space, in bytes; the database that the host loaded is in it.
rlim_t AddressSpace() {
    std::ifstream file("/proc/self/statm");
    rlim_t pages = 0;
    file >> pages;
    return pages * static_cast<rlim_t>(::sysconf(_SC_PAGESIZE));
}
#endif

// Before anything of the system's is, a worker is what the kernel ends when memory runs out.
void BeFirstToGo() {
    const common::FileDescriptor file(::open("/proc/self/oom_score_adj", O_WRONLY | O_CLOEXEC));
    if (file) {
        common::WriteAll(file.Get(), "1000");
    }
}

int DropCapabilities() {
    __user_cap_header_struct header{.version = _LINUX_CAPABILITY_VERSION_3, .pid = 0};
    const std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> none{};
    return ErrorUnless(::syscall(SYS_capset, &header, none.data()) == 0);
}

int DieWithParent() {
    return ErrorUnless(::prctl(PR_SET_PDEATHSIG, SIGKILL) == 0);
}

std::string WhyMissing(std::string_view part, int error) {
    if (part == kOwnUser && error == ENOENT) {
        return std::string("they stay root, for there is no user ") + kScanUser;
    }
    return error == 0 ? "" : std::strerror(error);
}

}  // namespace

struct Confinement::Part {
    std::string_view name;
    std::uint32_t switchedOffBy;
    int (*enter)(const Confinement& confinement);
};

// In the order in which they work: each of them takes what one before it needs.
const std::vector<Confinement::Part>& Confinement::AllParts() {
    static const std::vector<Part> parts{
        // These read below "/proc", which has no name any more within the scratch.
        {"limits", scanwire::kNoLimits, [](const Confinement& c) { return c.EnterLimits(); }},
        {kMemoryScratch, scanwire::kNoOwnScratch,
         [](const Confinement& c) { return c.EnterScratch(); }},
        // Landlock and the filter take it from who is not root.
        {"no new privileges", scanwire::kNewPrivileges,
         [](const Confinement&) {
             return ErrorUnless(::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0);
         }},
        {"Landlock", scanwire::kNoLandlock, [](const Confinement& c) { return c.EnterLandlock(); }},
        {kOwnUser, scanwire::kNoOwnUser, [](const Confinement& c) { return c.EnterUser(); }},
        {"no capabilities", scanwire::kKeepCapabilities,
         [](const Confinement&) { return DropCapabilities(); }},
        {"hidden from others", scanwire::kInspectable,
         [](const Confinement&) { return ErrorUnless(::prctl(PR_SET_DUMPABLE, 0) == 0); }},
        // The change of user took it back.
        {"end with the host", 0, [](const Confinement&) { return DieWithParent(); }},
        {kSystemCalls, scanwire::kNoSyscallFilter,
         [](const Confinement& c) { return c.EnterSystemCalls(); }},
    };
    return parts;
}

std::unique_ptr<Confinement> Confinement::Prepare(const ConfinementWish& wish, std::string& why) {
    std::unique_ptr<Confinement> confinement(new Confinement(wish));
    if (!confinement->Try(why)) {
        return nullptr;
    }
    if (!confinement->Holds(kMemoryScratch)) {
        confinement->m_folders = ScratchFolders::Make(wish.scratchBase);
        if (confinement->m_folders == nullptr) {
            why = "there is no place to unpack in";
            return nullptr;
        }
    }
    return confinement;
}

Confinement::Confinement(const ConfinementWish& wish)
    : m_wish(wish),
      m_user(::geteuid()),
      m_group(::getegid()),
      m_availableMiB(AvailableMemoryMiB()),
      m_scratchMiB(ScratchSizeMiB(m_availableMiB, wish.workers)) {
    if ((wish.switches & scanwire::kNoOwnUser) == 0 && m_user == 0) {
        if (const auto account = confining::AccountOf(kScanUser); account && account->uid != 0) {
            m_user = account->uid;
            m_group = account->gid;
        }
    }
    std::string ignored;  // the kernel refuses an empty filter
    m_filter = CompileFilter(ignored);
}

// A child enters all parts, tells the error of each, and last of all does what the filter ends it
// for.
bool Confinement::Try(std::string& why) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        why = std::strerror(errno);
        return false;
    }
    const common::FileDescriptor reader(ends[0]);
    common::FileDescriptor writer(ends[1]);
    const pid_t child = ::fork();
    if (child < 0) {
        why = std::strerror(errno);
        return false;
    }
    if (child == 0) {
        for (const Part& part : AllParts()) {
            const int error = IsWished(part) ? part.enter(*this) : 0;
            common::WriteAll(writer.Get(), common::BytesOf(error));
        }
        ::syscall(SYS_getppid);
        ::_exit(0);
    }
    writer.Reset();
    std::vector<int> errors(AllParts().size(), ECHILD);  // of what it did not live to tell
    common::ReadFull(reader.Get(), std::as_writable_bytes(std::span(errors)));
    int status = 0;
    common::Retrying([&] { return ::waitpid(child, &status, 0); });
    if (errors.back() == 0 && (!WIFSIGNALED(status) || WTERMSIG(status) != SIGSYS)) {
        errors.back() = ENOSYS;
    }
    for (std::size_t i = 0; i < errors.size(); ++i) {
        if (const Part& part = AllParts()[i]; IsWished(part)) {
            m_parts.push_back({std::string(part.name), WhyMissing(part.name, errors[i])});
        }
    }
    return true;
}

bool Confinement::IsWished(const Part& part) const {
    return (m_wish.switches & part.switchedOffBy) == 0;
}

bool Confinement::Holds(std::string_view name) const {
    return std::any_of(m_parts.begin(), m_parts.end(), [name](const PartState& part) {
        return part.name == name && part.missing.empty();
    });
}

std::vector<std::string> Confinement::Missing() const {
    std::vector<std::string> lines;
    for (const PartState& part : m_parts) {
        if (!part.missing.empty()) {
            lines.push_back("workers are without: " + part.name + " (" + part.missing + ')');
        }
    }
    const std::uint64_t needed = kLeastScratchMiB * std::max(m_wish.workers, 1U);
    const std::uint64_t room = m_folders == nullptr ? m_availableMiB : m_folders->RoomMiB();
    if (room < needed) {
        lines.push_back("workers may run out of room to unpack: there are " + std::to_string(room) +
                        " MiB for all of them");
    }
    return lines;
}

std::string Confinement::Enter(unsigned int worker, pid_t host) const {
    const auto failed = [](std::string_view what, int error) {
        return std::string(what) + ": " + std::strerror(error);
    };
    // From here on it ends with the host; the host may have ended before.
    if (const int error = DieWithParent(); error != 0 || ::getppid() != host) {
        return failed("end with the host", error != 0 ? error : ESRCH);
    }
    if (m_folders != nullptr) {
        const int error = m_folders->Enter(worker, m_user, m_group);
        if (error != 0) {
            return failed("scratch", error);
        }
    }
    for (const Part& part : AllParts()) {
        if (!IsWished(part) || !Holds(part.name)) {
            continue;
        }
        if (const int error = part.enter(*this); error != 0) {
            return failed(part.name, error);
        }
    }
    return {};
}

void Confinement::Clear(unsigned int worker) const {
    if (m_folders != nullptr) {
        m_folders->Clear(worker);
    }
}

int Confinement::EnterScratch() const {
    return EnterMemoryScratch(m_scratchMiB, m_user, m_group);
}

int Confinement::EnterLimits() const {
    // A write beyond the limit is then refused, and noted, instead of a signal.
    ::signal(SIGXFSZ, SIG_IGN);
    BeFirstToGo();
    bool done = confining::LimitResource(RLIMIT_CORE, 0) &&
                confining::LimitResource(RLIMIT_NOFILE, kOpenFiles) &&
                confining::LimitResource(RLIMIT_NPROC, 0) &&
                confining::LimitResource(RLIMIT_FSIZE, kFileSize);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    // The sanitizers reserve far more than they use.
    if (m_wish.memoryLimitMiB != 0) {
        done = done && confining::LimitResource(RLIMIT_AS,
                                                AddressSpace() + m_wish.memoryLimitMiB * kMebibyte);
    }
#endif
    return ErrorUnless(done);
}

int Confinement::EnterLandlock() const {
    confining::Landlock rules({.files = ~0ULL, .network = true, .others = true});
    if (!rules.IsThere()) {
        return ENOSYS;
    }
    rules.Allow(".", kScratchAccess);
    return ErrorUnless(rules.Enforce());
}

int Confinement::EnterUser() const {
    if (::geteuid() != 0) {
        return 0;  // they are whoever started the scan
    }
    if (m_user == 0) {
        return ENOENT;
    }
    return ErrorUnless(::setgroups(0, nullptr) == 0 &&
                       ::setresgid(m_group, m_group, m_group) == 0 &&
                       ::setresuid(m_user, m_user, m_user) == 0);
}

int Confinement::EnterSystemCalls() const {
    return ErrorUnless(EnterFilter(m_filter));
}

}  // namespace scanhost
