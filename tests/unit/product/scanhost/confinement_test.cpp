// A child confined like a worker tries what no worker may do. Each thing is refused, and is done
// once the parts that refuse it are switched off: a part that did nothing would be seen.

#include "product/scanhost/confinement.h"

#include <arpa/inet.h>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <map>
#include <netinet/in.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>

#include "common/file_descriptor.h"
#include "product/confining/landlock.h"
#include "product/scanwire/switches.h"
#include "tests/support/scratch.h"
#include "tests/unit/product/scanhost/forbidden_things.h"

namespace scanhost {
namespace {

using namespace scanwire;

constexpr std::uint32_t kMemoryMiB = 256;

// Errors in which a result of its own lies.
constexpr int kSignalled = 200;  // ended by the filter
constexpr int kCrashed = 201;
constexpr int kNotConfined = 202;

class ConfinementTest : public testing::Test {
protected:
    void SetUp() override {
        WriteFile(m_folder / "file", "of somebody");
        m_file.Reset(open((m_folder / "file").c_str(), O_RDONLY | O_CLOEXEC));
        m_program.Reset(open("/bin/true", O_RDONLY | O_CLOEXEC));
    }

    const Confinement& With(std::uint32_t switches) {
        auto& made = m_made[switches];
        if (made == nullptr) {
            std::string why;
            made = Confinement::Prepare({.switches = switches,
                                         .memoryLimitMiB = kMemoryMiB,
                                         .workers = 1,
                                         .scratchBase = m_folder.Path()},
                                        why);
            EXPECT_NE(made, nullptr) << why;
        }
        return *made;
    }

    /// What `attempt` gave in a worker without what `switches` turn off.
    int Try(std::uint32_t switches, Attempt attempt) {
        const Confinement& confinement = With(switches);
        const Outside outside{m_folder / "file", m_folder.Path(), m_file.Get(), m_program.Get()};
        const pid_t host = getpid();
        const pid_t child = fork();
        if (child == 0) {
            _exit(confinement.Enter(0, host).empty() ? attempt(outside) : kNotConfined);
        }
        int status = 0;
        waitpid(child, &status, 0);
        confinement.Clear(0);
        if (WIFSIGNALED(status)) {
            return WTERMSIG(status) == SIGSYS ? kSignalled : kCrashed;
        }
        return WEXITSTATUS(status);
    }

    [[nodiscard]] bool Lacks(const char* part) {
        for (const PartState& state : With(0).Parts()) {
            if (state.name == part) {
                return !state.missing.empty();
            }
        }
        return true;
    }

    ScratchFolder m_folder;
    common::FileDescriptor m_file;
    common::FileDescriptor m_program;
    std::map<std::uint32_t, std::unique_ptr<Confinement>> m_made;
};

int Connected(const Outside& /*outside*/) {
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in nobody{};
    nobody.sin_family = AF_INET;
    nobody.sin_port = htons(1);
    nobody.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(fd, reinterpret_cast<sockaddr*>(&nobody), sizeof nobody) == 0) {
        return 0;
    }
    // It was allowed to ask.
    return errno == ECONNREFUSED || errno == ENETUNREACH ? 0 : errno;
}

TEST_F(ConfinementTest, HoldsInAllItsPartsHere) {
    if (getuid() != 0) {
        GTEST_SKIP() << "what an ordinary user gets depends on the machine";
    }
    for (const PartState& part : With(0).Parts()) {
        if (part.name != "own user") {
            EXPECT_EQ(part.missing, "") << part.name;
        }
    }
    EXPECT_EQ(With(0).Parts().size(), 9U);
}

TEST_F(ConfinementTest, AllForbiddenThingsAreRefused) {
    for (const Forbidden& thing : ForbiddenThings()) {
        const int result = Try(0, thing.attempt);
        EXPECT_NE(result, 0) << thing.name;
        EXPECT_LT(result, kCrashed) << thing.name;
    }
}

TEST_F(ConfinementTest, EachIsDoneWithoutThePartsThatRefuseIt) {
    for (const Forbidden& thing : ForbiddenThings()) {
        std::uint32_t off = thing.others;
        for (const std::uint32_t guard : thing.guards) {
            off |= guard;
        }
        EXPECT_EQ(Try(off, thing.attempt), 0) << thing.name;
        SetUp();  // what one has removed
    }
}

TEST_F(ConfinementTest, EachPartRefusesAlone) {
    for (const Forbidden& thing : ForbiddenThings()) {
        for (const std::uint32_t guard : thing.guards) {
            const int result = Try(kAllSwitches & ~guard, thing.attempt);
            EXPECT_NE(result, 0) << thing.name << " with only " << guard;
            EXPECT_LT(result, kCrashed) << thing.name << " with only " << guard;
            SetUp();
        }
    }
}

TEST_F(ConfinementTest, LandlockAloneRefusesTheNetworkAndSignals) {
    if (confining::Landlock::Version() < 6) {
        GTEST_SKIP() << "this kernel's Landlock knows files only";
    }
    const Attempt signal = [](const Outside&) { return ErrorUnless(kill(getppid(), 0) == 0); };
    EXPECT_EQ(Try(kAllSwitches & ~kNoLandlock, Connected), EACCES);
    EXPECT_EQ(Try(kAllSwitches & ~kNoLandlock, signal), EPERM);
    EXPECT_EQ(Try(kAllSwitches, Connected), 0);
    EXPECT_EQ(Try(kAllSwitches, signal), 0);
}

TEST_F(ConfinementTest, MoreMemoryThanAllowedIsRefused) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer reserves far more than any limit";
#endif
    const auto take = [](std::size_t mebibytes) {
        return ErrorUnless(mmap(nullptr, mebibytes << 20U, PROT_READ | PROT_WRITE,
                                MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) != MAP_FAILED);
    };
    static const auto kTake = take;
    const Attempt tooMuch = [](const Outside&) { return kTake(kMemoryMiB + 16); };
    const Attempt enough = [](const Outside&) { return kTake(kMemoryMiB - 16); };
    EXPECT_EQ(Try(0, tooMuch), ENOMEM);
    EXPECT_EQ(Try(0, enough), 0);
    EXPECT_EQ(Try(kNoLimits, tooMuch), 0);
}

TEST_F(ConfinementTest, AWorkerIsWhatItShouldBe) {
    const Attempt look = [](const Outside&) {
        rlimit core{};
        getrlimit(RLIMIT_CORE, &core);
        int signal = 0;
        prctl(PR_GET_PDEATHSIG, &signal);
        return prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0) != 1                      ? 1
               : prctl(PR_GET_DUMPABLE) != 0                                    ? 2
               : signal != SIGKILL                                              ? 3
               : core.rlim_max != 0                                             ? 4
               : prctl(PR_CAPBSET_READ, 0) == 1 && open("x", O_CREAT, 0600) < 0 ? 5
                                                                                : 0;
    };
    EXPECT_EQ(Try(kNoSyscallFilter, look), 0);
    EXPECT_EQ(Try(kNoSyscallFilter | kNewPrivileges, look), 1);
    EXPECT_EQ(Try(kNoSyscallFilter | kInspectable, look), 2);
    EXPECT_EQ(Try(kNoSyscallFilter | kNoLimits, look), 4);
}

TEST_F(ConfinementTest, CallsThatNoScanMakesEndTheWorker) {
    const Confinement& confinement = With(0);
    for (const long call : {SYS_clone,
                            SYS_clone3,
                            SYS_vfork,
                            SYS_execve,
                            SYS_execveat,
                            SYS_kill,
                            SYS_tkill,
                            SYS_socket,
                            SYS_socketpair,
                            SYS_connect,
                            SYS_bind,
                            SYS_listen,
                            SYS_accept4,
                            SYS_sendmsg,
                            SYS_sendmmsg,
                            SYS_ptrace,
                            SYS_process_vm_readv,
                            SYS_process_vm_writev,
                            SYS_fchmod,
                            SYS_fchown,
                            SYS_chown,
                            SYS_lchown,
                            SYS_fchownat,
                            SYS_utimensat,
                            SYS_setxattr,
                            SYS_fsetxattr,
                            SYS_fremovexattr,
                            SYS_fgetxattr,
                            SYS_flock,
                            SYS_ftruncate,
                            SYS_truncate,
                            SYS_fallocate,
                            SYS_rename,
                            SYS_renameat2,
                            SYS_link,
                            SYS_linkat,
                            SYS_symlink,
                            SYS_mknod,
                            SYS_chdir,
                            SYS_fchdir,
                            SYS_chroot,
                            SYS_pivot_root,
                            SYS_mount,
                            SYS_umount2,
                            SYS_fsopen,
                            SYS_open_tree,
                            SYS_move_mount,
                            SYS_unshare,
                            SYS_setns,
                            SYS_setuid,
                            SYS_setresuid,
                            SYS_setgroups,
                            SYS_capset,
                            SYS_keyctl,
                            SYS_add_key,
                            SYS_request_key,
                            SYS_bpf,
                            SYS_perf_event_open,
                            SYS_userfaultfd,
                            SYS_io_uring_setup,
                            SYS_memfd_create,
                            SYS_pidfd_open,
                            SYS_pidfd_getfd,
                            SYS_pidfd_send_signal,
                            SYS_open_by_handle_at,
                            SYS_name_to_handle_at,
                            SYS_openat2,
                            SYS_shmget,
                            SYS_msgget,
                            SYS_semget,
                            SYS_mq_open,
                            SYS_init_module,
                            SYS_kexec_load,
                            SYS_reboot,
                            SYS_swapon,
                            SYS_settimeofday,
                            SYS_sethostname,
                            SYS_personality,
                            SYS_inotify_init1,
                            SYS_fanotify_init,
                            SYS_sched_setaffinity,
                            SYS_setpriority,
                            SYS_prlimit64,
                            SYS_setrlimit,
                            SYS_vmsplice,
                            SYS_splice,
                            SYS_tee,
                            SYS_syslog,
                            SYS_acct,
                            SYS_quotactl,
                            SYS_getppid}) {
        const pid_t host = getpid();
        const pid_t child = fork();
        if (child == 0) {
            if (confinement.Enter(0, host).empty()) {
                syscall(call, -1, -1, -1, -1, -1, -1);
            }
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGSYS) << call;
    }
}

#if defined(__x86_64__)
TEST_F(ConfinementTest, CallsOfAnotherKindOfMachineEndTheWorker) {
    const Attempt pidOf32Bits = [](const Outside&) {
        int result = 20;  // "getpid" there, allowed by its own number here
        asm volatile("int $0x80" : "+a"(result) : : "memory");
        return result > 0 || result == -ENOSYS ? 0 : 1;
    };
    EXPECT_EQ(Try(0, pidOf32Bits), kSignalled);
}
#endif

TEST_F(ConfinementTest, TheWorkerEndsWithItsHost) {
    const Confinement& confinement = With(0);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const pid_t host = fork();
    if (host == 0) {
        const pid_t self = getpid();
        if (fork() == 0) {
            close(ends[0]);
            const bool isConfined = confinement.Enter(0, self).empty();
            write(ends[1], isConfined ? "y" : "n", 1);
            // As a worker that waits for files.
            for (std::uint32_t waited = 0;;) {
                syscall(SYS_futex, &waited, 0 /* wait */, 0, nullptr, nullptr, 0);
            }
        }
        for (;;) {
            pause();
        }
    }
    close(ends[1]);
    char said = 0;
    ASSERT_EQ(read(ends[0], &said, 1), 1);
    EXPECT_EQ(said, 'y');
    kill(host, SIGKILL);
    waitpid(host, nullptr, 0);
    EXPECT_EQ(read(ends[0], &said, 1), 0) << "the worker still has its end of the pipe";
    close(ends[0]);
}

TEST_F(ConfinementTest, AWorkerWhoseHostIsGoneIsNotConfinedButEnds) {
    EXPECT_EQ(InChild([&] { return With(0).Enter(0, 1) == "end with the host: No such process"; }),
              1);
}

}  // namespace
}  // namespace scanhost
