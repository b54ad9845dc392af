#include <cinttypes>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "tests/unit/product/libdbmod/corvane_admin_fixture.h"
#include "tests/unit/product/libdbmod/database_support.h"

// What is left of a password in corvane-admin's memory once its hash is known.

namespace dbmod {
namespace {

constexpr char kSecret[] = "a secret that stands nowhere else";

// The sanitizers' own maps are terabytes of nothing.
constexpr std::uint64_t kLargestMap = std::uint64_t{256} << 20;

/// Whether `text` stands in what the process may write.
bool IsInMemory(pid_t pid, const std::string& text) {
    const std::string folder = "/proc/" + std::to_string(pid) + "/";
    const common::FileDescriptor memory(open((folder + "mem").c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_TRUE(memory);
    std::ifstream maps(folder + "maps");
    bool hasStack = false;
    for (std::string line; std::getline(maps, line);) {
        std::uint64_t begin = 0;
        std::uint64_t end = 0;
        char rights[5] = {};
        if (std::sscanf(line.c_str(), "%" SCNx64 "-%" SCNx64 " %4s", &begin, &end, rights) != 3 ||
            rights[1] != 'w' || end - begin > kLargestMap) {
            continue;
        }
        std::string bytes(end - begin, '\0');
        const ssize_t got =
            pread(memory.Get(), bytes.data(), bytes.size(), static_cast<off_t>(begin));
        hasStack = hasStack || (got > 0 && line.ends_with("[stack]"));
        if (got > 0 && bytes.find(text) != std::string::npos) {
            return true;
        }
    }
    EXPECT_TRUE(hasStack) << "nothing was looked at";
    return false;
}

/// Whether the process holds the lock that a writer of the database takes.
bool IsWriting(pid_t pid) {
    return ReadFile("/proc/locks").find(" WRITE " + std::to_string(pid) + " ") != std::string::npos;
}

TEST_F(CorvaneAdminTest, KeepsNothingOfThePasswordOnceItsHashIsKnown) {
    // A reader that stays holds the writer up when the hash is to be stored.
    const DatabaseLock reader(kDatabase, "BEGIN; SELECT count(*) FROM settings_password");
    // Without a newline, which would take the place of the last character.
    for (const std::string& input : {std::string(kSecret), std::string(kSecret) + "\n"}) {
        int ends[2] = {-1, -1};
        ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
        const pid_t admin = fork();
        if (admin == 0) {
            dup2(ends[0], STDIN_FILENO);
            dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
            execl(ADMIN_PROGRAM, ADMIN_PROGRAM, "set-password", "--stdin", nullptr);
            _exit(127);
        }
        close(ends[0]);
        ASSERT_EQ(write(ends[1], input.data(), input.size()), static_cast<ssize_t>(input.size()));
        close(ends[1]);
        const bool isWriting = WaitUntil([&] { return IsWriting(admin); });
        EXPECT_TRUE(isWriting);
        kill(admin, SIGSTOP);
        // Without its first bytes, which the memory's next owner may have written over.
        EXPECT_FALSE(IsInMemory(admin, std::string(kSecret).substr(16)));
        kill(admin, SIGKILL);
        waitpid(admin, nullptr, 0);
    }
}

TEST_F(CorvaneAdminTest, CannotBeDumped) {
    const ScratchFolder scratch;
    const std::string trace = scratch / "trace";
    if (std::system("strace -o /dev/null true 2>/dev/null") != 0) {
        GTEST_SKIP() << "strace is missing, or not allowed to look at processes";
    }
    RunAdmin({"-E", "ASAN_OPTIONS=detect_leaks=0", "-o", trace, "-e", "trace=prctl,prlimit64",
              ADMIN_PROGRAM, "status"},
             {}, "/usr/bin/strace");
    const std::string calls = ReadFile(trace);
    EXPECT_NE(calls.find("prctl(PR_SET_DUMPABLE, SUID_DUMP_DISABLE) = 0"), std::string::npos)
        << calls;
    EXPECT_NE(calls.find("RLIMIT_CORE, {rlim_cur=0, rlim_max=0}"), std::string::npos) << calls;
}

}  // namespace
}  // namespace dbmod
