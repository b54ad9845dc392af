#include "product/definitions/read_only_process.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

namespace definitions {

namespace {

#if defined(__x86_64__)
constexpr std::uint32_t kArchitecture = AUDIT_ARCH_X86_64;
#elif defined(__aarch64__)
constexpr std::uint32_t kArchitecture = AUDIT_ARCH_AARCH64;
#else
#error "which system calls this architecture has must be told first"
#endif

constexpr std::uint32_t kRefuse = SECCOMP_RET_ERRNO | EPERM;
// A C library that gets this for a newer call tries the older one, which is looked at.
constexpr std::uint32_t kUnknown = SECCOMP_RET_ERRNO | ENOSYS;

constexpr std::uint32_t kChanging = O_WRONLY | O_RDWR | O_CREAT | O_TRUNC;

// Newer than the headers.
constexpr std::uint32_t kFchmodat2 = 452;

constexpr std::uint32_t kRefused[] = {
#if defined(__x86_64__)
    SYS_creat,
    SYS_rename,
    SYS_unlink,
    SYS_rmdir,
    SYS_mkdir,
    SYS_mknod,
    SYS_link,
    SYS_symlink,
    SYS_chmod,
    SYS_chown,
    SYS_lchown,
    SYS_utime,
    SYS_utimes,
    SYS_futimesat,
    SYS_fork,
    SYS_vfork,
#endif
    SYS_renameat2,
    SYS_unlinkat,
    SYS_mkdirat,
    SYS_mknodat,
    SYS_linkat,
    SYS_symlinkat,
    SYS_fchmod,
    SYS_fchmodat,
    kFchmodat2,
    SYS_fchown,
    SYS_fchownat,
    SYS_utimensat,
    SYS_truncate,
    SYS_ftruncate,
    SYS_setxattr,
    SYS_lsetxattr,
    SYS_fsetxattr,
    SYS_removexattr,
    SYS_lremovexattr,
    SYS_fremovexattr,
    SYS_mq_open,
    SYS_mq_unlink,
    SYS_memfd_create,
    SYS_execve,
    SYS_execveat,
    SYS_socket,
    SYS_socketpair,
    SYS_connect,
    SYS_bind,
    SYS_kill,
    SYS_tkill,
    SYS_ptrace,
    SYS_mount,
    SYS_umount2,
    SYS_unshare,
    SYS_setns,
    SYS_bpf,
    SYS_keyctl,
    SYS_shmget,
    SYS_msgget,
    SYS_semget,
    SYS_process_vm_readv,
    SYS_process_vm_writev,
    SYS_pidfd_send_signal,
    SYS_pidfd_getfd,
    SYS_rt_sigqueueinfo,
    SYS_rt_tgsigqueueinfo,
    SYS_prlimit64,
#if defined(SYS_renameat)
    SYS_renameat,
#endif
};

// These would do the same without being looked at.
constexpr std::uint32_t kNewer[] = {SYS_openat2, SYS_io_uring_setup, SYS_clone3};

constexpr std::uint32_t kNumber = offsetof(seccomp_data, nr);
constexpr std::uint32_t ArgumentAt(std::size_t index) {
    return static_cast<std::uint32_t>(offsetof(seccomp_data, args) + index * sizeof(std::uint64_t));
}

class Program {
public:
    Program() {
        Add(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, arch)));
        Add(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, kArchitecture, 1, 0));
        Add(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS));
        Add(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, kNumber));
#if defined(__x86_64__)
        // The numbers of the other convention stand for the same calls.
        Add(BPF_JUMP(BPF_JMP | BPF_JGE | BPF_K, 0x40000000, 0, 1));
        Add(BPF_STMT(BPF_RET | BPF_K, kUnknown));
#endif
    }

    void Answer(std::uint32_t call, std::uint32_t answer) {
        Add(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 1));
        Add(BPF_STMT(BPF_RET | BPF_K, answer));
    }

    /// Refuses `call` when any of `bits` is set in its argument.
    void RefuseBits(std::uint32_t call, std::size_t argument, std::uint32_t bits) {
        Add(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 4));
        Add(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, ArgumentAt(argument)));
        Add(BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, bits, 0, 1));
        Add(BPF_STMT(BPF_RET | BPF_K, kRefuse));
        Add(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    }

    /// Refuses `call` when its argument is not `value`, in 32 bits.
    void RefuseOther(std::uint32_t call, std::size_t argument, std::uint32_t value) {
        Add(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 4));
        Add(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, ArgumentAt(argument)));
        Add(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, value, 1, 0));
        Add(BPF_STMT(BPF_RET | BPF_K, kRefuse));
        Add(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    }

    /// Refuses `call` unless all of `bits` are set in its argument.
    void RefuseWithout(std::uint32_t call, std::size_t argument, std::uint32_t bits) {
        Add(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 5));
        Add(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, ArgumentAt(argument)));
        Add(BPF_STMT(BPF_ALU | BPF_AND | BPF_K, bits));
        Add(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, bits, 1, 0));
        Add(BPF_STMT(BPF_RET | BPF_K, kRefuse));
        Add(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    }

    bool Install() {
        Add(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
        const sock_fprog program{static_cast<unsigned short>(m_steps.size()), m_steps.data()};
        return ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
    }

private:
    void Add(sock_filter step) {
        m_steps.push_back(step);
    }
    std::vector<sock_filter> m_steps;
};

}  // namespace

bool BecomeReadOnly() {
    Program program;
#if defined(__x86_64__)
    program.RefuseBits(SYS_open, 1, kChanging);
#endif
    program.RefuseBits(SYS_openat, 2, kChanging);
    // Threads are its own; another process would have processor time of its own.
    program.RefuseWithout(SYS_clone, 0, CLONE_THREAD);
    // What abort() and raise() do.
    program.RefuseOther(SYS_tgkill, 0, static_cast<std::uint32_t>(::getpid()));
    for (const std::uint32_t call : kRefused) {
        program.Answer(call, kRefuse);
    }
    for (const std::uint32_t call : kNewer) {
        program.Answer(call, kUnknown);
    }
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && program.Install();
}

}  // namespace definitions
