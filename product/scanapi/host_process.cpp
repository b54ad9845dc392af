#include "product/scanapi/host_process.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <dlfcn.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "common/clean_spawn.h"
#include "common/retrying.h"
#include "product/scanapi/signals_held.h"
#include "product/scanwire/host_messages.h"

// clone() by its other name. The thread sanitizer takes the one that it knows for a fork() even if
// both share their memory, and from then on holds what the program's own process does for that of
// a child.
extern "C" int __clone(int (*start)(void*), void* stack, int flags, void* argument, ...) noexcept;

namespace scanapi {

namespace {

constexpr char kProgramName[] = "corvane-scanhost";
constexpr std::size_t kStackSize = std::size_t{256} * 1024;
// After SIGKILL; only a process that the kernel itself holds takes longer.
constexpr int kKillPatience = 2000;  // milliseconds

class Stack {
public:
    Stack()
        : m_memory(mmap(nullptr, kStackSize, PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0)) {}
    ~Stack() {
        if (m_memory != MAP_FAILED) {
            munmap(m_memory, kStackSize);
        }
    }
    Stack(const Stack&) = delete;
    Stack& operator=(const Stack&) = delete;

    [[nodiscard]] void* Top() const {
        return m_memory == MAP_FAILED ? nullptr : static_cast<std::byte*>(m_memory) + kStackSize;
    }

private:
    void* m_memory;
};

struct Spawning {
    const char* path;
    const common::CleanSpawn& spawn;
    char* const* words;
    char* const* environment;
    pid_t pid = 0;
    int process = -1;
    int error = 0;
};

// In the process between: it shares our memory and descriptors, and the thread that made it stands
// still until it has ended. So nothing here may allocate or lock.
int SpawnBetween(void* opaque) {
    auto& spawning = *static_cast<Spawning*>(opaque);
    spawning.error =
        spawning.spawn.Start(spawning.pid, spawning.path, spawning.words, spawning.environment);
    if (spawning.error == 0) {
        // While this process lives, the number cannot have become another's.
        spawning.process = static_cast<int>(syscall(SYS_pidfd_open, spawning.pid, 0));
        spawning.error = spawning.process < 0 ? errno : 0;
    }
    return 0;
}

// The program that we are in may wait for any child of its own, or ignore SIGCHLD. So the host
// becomes a child of a process that ends at once, and is the system's to collect; and the process
// between is one of those without a signal at their end, which nobody meets who does not ask for
// them. Made in the manner of vfork(), it copies nothing of a large program and runs no handler of
// it, and other threads may hold any lock.
bool SpawnAsNobodysChild(Spawning& spawning) {
    const Stack stack;
    if (stack.Top() == nullptr) {
        return false;
    }
    const SignalsHeld held;
    const pid_t between =
        __clone(SpawnBetween, stack.Top(), CLONE_VM | CLONE_VFORK | CLONE_FILES, &spawning);
    if (between < 0) {
        return false;
    }
    (void)common::Retrying([&] { return ::waitpid(between, nullptr, __WALL); });
    errno = spawning.error;
    return spawning.error == 0;
}

bool WaitForEnd(int process, int milliseconds) {
    pollfd ended{process, POLLIN, 0};
    return common::Retrying([&] { return ::poll(&ended, 1, milliseconds); }) > 0;
}

}  // namespace

HostProcess::~HostProcess() {
    End(std::chrono::milliseconds(0));
}

bool HostProcess::Start(const std::string& path) {
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        return false;
    }
    common::FileDescriptor ours(ends[0]);
    common::FileDescriptor theirs(ends[1]);
    // Above the numbers that are filled on the way, of which the program may have closed some.
    theirs.Reset(::fcntl(theirs.Get(), F_DUPFD_CLOEXEC, scanwire::kControlDescriptor + 1));
    if (!theirs || ::fcntl(ours.Get(), F_SETFL, O_NONBLOCK) != 0) {
        return false;
    }
    // What a terminal sends to the program's session does not reach the host.
    const common::CleanSpawn spawn({{theirs.Get(), scanwire::kControlDescriptor}},
                                   common::Session::kOwn);
    std::string name = path;
    const std::array<char*, 2> words{name.data(), nullptr};
    const std::array<char*, 1> environment{nullptr};
    Spawning spawning{path.c_str(), spawn, words.data(), environment.data()};
    if (!SpawnAsNobodysChild(spawning)) {
        return false;
    }
    m_socket = std::move(ours);
    m_process.Reset(spawning.process);
    m_pid = spawning.pid;
    return true;
}

std::uint64_t HostProcess::Memory() const {
    std::ifstream status("/proc/" + std::to_string(m_pid) + "/statm");
    std::uint64_t pages = 0;
    std::uint64_t resident = 0;
    status >> pages >> resident;
    return status ? resident * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE)) : 0;
}

void HostProcess::End(std::chrono::milliseconds patience) {
    m_socket.Reset();
    if (m_process && !WaitForEnd(m_process.Get(), static_cast<int>(patience.count()))) {
        (void)::syscall(SYS_pidfd_send_signal, m_process.Get(), SIGKILL, nullptr, 0);
        (void)WaitForEnd(m_process.Get(), kKillPatience);
    }
    m_process.Reset();
}

std::string PathOfScanHost() {
    Dl_info here{};
    if (::dladdr(reinterpret_cast<void*>(&PathOfScanHost), &here) == 0) {
        return kProgramName;
    }
    // The host's working directory is another.
    std::error_code ignored;
    const std::filesystem::path library = std::filesystem::absolute(here.dli_fname, ignored);
    return library.parent_path() / kProgramName;
}

}  // namespace scanapi
