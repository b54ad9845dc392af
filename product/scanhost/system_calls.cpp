#include "product/scanhost/system_calls.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <fcntl.h>
#include <initializer_list>
#include <linux/seccomp.h>
#include <memory>
#include <seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "common/io.h"

namespace scanhost {

namespace {

// Where a call is known by another number or not at all on a machine, libseccomp passes over it.
constexpr std::array kAllowed {
    // descriptors that are there
    SCMP_SYS(read), SCMP_SYS(pread64), SCMP_SYS(readv), SCMP_SYS(write), SCMP_SYS(pwrite64),
        SCMP_SYS(writev), SCMP_SYS(lseek), SCMP_SYS(fstat), SCMP_SYS(close), SCMP_SYS(dup),
        // files, which are those of the scratch as far as names reach
        SCMP_SYS(openat), SCMP_SYS(open), SCMP_SYS(newfstatat), SCMP_SYS(stat), SCMP_SYS(lstat),
        SCMP_SYS(statx), SCMP_SYS(getcwd), SCMP_SYS(access), SCMP_SYS(faccessat),
        SCMP_SYS(faccessat2), SCMP_SYS(getdents64), SCMP_SYS(mkdir), SCMP_SYS(mkdirat),
        SCMP_SYS(rmdir), SCMP_SYS(unlink), SCMP_SYS(unlinkat),
        // memory
        SCMP_SYS(munmap), SCMP_SYS(mremap), SCMP_SYS(madvise), SCMP_SYS(brk),
        // the socket to the engine; what is sent is under a condition
        SCMP_SYS(recvmsg), SCMP_SYS(recvfrom),
        // this process itself
        SCMP_SYS(futex), SCMP_SYS(clock_gettime), SCMP_SYS(clock_getres), SCMP_SYS(gettimeofday),
        SCMP_SYS(getrandom), SCMP_SYS(getpid), SCMP_SYS(gettid), SCMP_SYS(sched_yield),
        SCMP_SYS(rt_sigprocmask), SCMP_SYS(rt_sigreturn), SCMP_SYS(restart_syscall), SCMP_SYS(exit),
        SCMP_SYS(exit_group),
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
        // What the sanitizers ask for themselves.
        SCMP_SYS(sigaltstack), SCMP_SYS(rt_sigaction), SCMP_SYS(readlink), SCMP_SYS(getrusage),
        SCMP_SYS(tgkill), SCMP_SYS(ioctl), SCMP_SYS(prctl), SCMP_SYS(nanosleep),
        SCMP_SYS(clock_nanosleep),
#endif
};

// Other commands take leases and locks and send signals, through any descriptor.
constexpr std::array kDescriptorCommands{F_DUPFD, F_DUPFD_CLOEXEC, F_GETFD, F_SETFD, F_GETFL};

struct FilterCloser {
    void operator()(void* context) const { seccomp_release(context); }
};
using Filter = std::unique_ptr<void, FilterCloser>;

/// Rules until one is refused.
class Rules {
public:
    explicit Rules(Filter filter) : m_filter(std::move(filter)) {
        if (m_filter == nullptr) {
            m_error = ENOMEM;
            return;
        }
        Note(seccomp_attr_set(m_filter.get(), SCMP_FLTATR_ACT_BADARCH, SCMP_ACT_KILL_PROCESS));
    }
    void Add(std::uint32_t action, int call, std::initializer_list<scmp_arg_cmp> conditions = {}) {
        if (m_error == 0) {
            Note(seccomp_rule_add_array(m_filter.get(), action, call,
                                        static_cast<unsigned int>(conditions.size()),
                                        conditions.begin()));
        }
    }
    void Export(int file) {
        if (m_error == 0) {
            Note(seccomp_export_bpf(m_filter.get(), file));
        }
    }
    [[nodiscard]] int Error() const { return m_error; }

private:
    void Note(int result) { m_error = result < 0 ? -result : 0; }

    Filter m_filter;
    int m_error = 0;
};

void AddConditions(Rules& rules) {
    const scmp_arg_cmp notExecutable{2, SCMP_CMP_MASKED_EQ, PROT_EXEC, 0};
    rules.Add(SCMP_ACT_ALLOW, SCMP_SYS(mmap), {notExecutable});
    rules.Add(SCMP_ACT_ALLOW, SCMP_SYS(mprotect), {notExecutable});
    for (const int command : kDescriptorCommands) {
        rules.Add(SCMP_ACT_ALLOW, SCMP_SYS(fcntl),
                  {{1, SCMP_CMP_EQ, static_cast<scmp_datum_t>(command), 0}});
    }
    // To the other end of the socket, and to no address.
    rules.Add(SCMP_ACT_ALLOW, SCMP_SYS(sendto), {{4, SCMP_CMP_EQ, 0, 0}});
    // libclamav widens the mode of its own folders before it removes them, which needs nothing
    // done; a file outside must not be reached by its name where the scratch is not the root.
    rules.Add(SCMP_ACT_ERRNO(0), SCMP_SYS(chmod));
    rules.Add(SCMP_ACT_ERRNO(0), SCMP_SYS(fchmodat));
}

std::vector<sock_filter> ReadBack(int file) {
    struct stat status {};
    if (::fstat(file, &status) != 0) {
        return {};
    }
    const auto size = static_cast<std::size_t>(status.st_size);
    std::vector<sock_filter> filter(size / sizeof(sock_filter));
    const auto bytes = std::as_writable_bytes(std::span(filter));
    if (::lseek(file, 0, SEEK_SET) != 0 ||
        common::ReadFull(file, bytes) != static_cast<std::ptrdiff_t>(size)) {
        return {};
    }
    return filter;
}

}  // namespace

std::vector<sock_filter> CompileFilter(std::string& why) {
    Rules rules(Filter(seccomp_init(SCMP_ACT_KILL_PROCESS)));
    for (const int call : kAllowed) {
        rules.Add(SCMP_ACT_ALLOW, call);
    }
    AddConditions(rules);
    const common::FileDescriptor file(::memfd_create("corvane-filter", MFD_CLOEXEC));
    rules.Export(file.Get());
    std::vector<sock_filter> filter;
    if (rules.Error() == 0) {
        filter = ReadBack(file.Get());
    }
    if (filter.empty()) {
        why = std::strerror(rules.Error() != 0 ? rules.Error() : errno);
    }
    return filter;
}

bool EnterFilter(const std::vector<sock_filter>& filter) {
    const sock_fprog program{.len = static_cast<unsigned short>(filter.size()),
                             // The kernel only reads it.
                             .filter = const_cast<sock_filter*>(filter.data())};
    return ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program, 0, 0) == 0;
}

}  // namespace scanhost
