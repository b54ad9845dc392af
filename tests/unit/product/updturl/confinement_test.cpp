#include "product/updturl/confinement.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/resource.h>
#include <utility>
#include <vector>

#include "common/file_descriptor.h"
#include "tests/support/scratch.h"

namespace updturl {
namespace {

/// 0 when the file could be opened, else the reason.
int ErrorOf(const std::string& path, int flags) {
    const common::FileDescriptor file(open(path.c_str(), flags | O_CLOEXEC, 0600));
    return file ? 0 : errno;
}

class ConfinementTest : public testing::Test {
protected:
    void SetUp() override {
        std::filesystem::create_directories(m_folder / "own");
        std::filesystem::create_directories(m_folder / "read");
        WriteFile(m_folder / "read/file", "x");
        WriteFile(m_folder / "secret", "x");
    }

    /// The result of `work` in a confined process; 200 where the kernel cannot confine to files.
    int Confined(const std::function<int()>& work) {
        return InChild([&] {
            const std::string done =
                Confine({.readable = {m_folder / "read"}, .writable = {m_folder / "own"}});
            return done.ends_with(", confined to its files") ? work() : 200;
        });
    }

    ScratchFolder m_folder;
};

constexpr int kCannot = 200;

TEST_F(ConfinementTest, OnlyTheNamedFoldersCanBeWritten) {
    const int result = Confined([this] {
        const bool isMoved =
            mkdir((m_folder / "own/inner").c_str(), 0700) == 0 &&
            ErrorOf(m_folder / "own/old", O_WRONLY | O_CREAT) == 0 &&
            rename((m_folder / "own/old").c_str(), (m_folder / "own/inner/old").c_str()) == 0;
        return !isMoved                                                                   ? 8
               : ErrorOf(m_folder / "own/new", O_WRONLY | O_CREAT) != 0                   ? 1
               : ErrorOf(m_folder / "read/new", O_WRONLY | O_CREAT) != EACCES             ? 2
               : ErrorOf(m_folder / "read/file", O_WRONLY) != EACCES                      ? 3
               : ErrorOf(m_folder / "new", O_WRONLY | O_CREAT) != EACCES                  ? 4
               : unlink((m_folder / "secret").c_str()) != -1                              ? 5
               : rename((m_folder / "own/new").c_str(), (m_folder / "out").c_str()) != -1 ? 6
               : ErrorOf("/etc/corvane-test", O_WRONLY | O_CREAT) != EACCES               ? 7
                                                                                          : 0;
    });
    if (result == kCannot) {
        GTEST_SKIP() << "this kernel cannot confine a process to its files";
    }
    EXPECT_EQ(result, 0);
    EXPECT_FALSE(Exists("/etc/corvane-test"));
}

TEST_F(ConfinementTest, OnlyTheNamedFilesAndTheSystemsCanBeRead) {
    const int result = Confined([this] {
        return ErrorOf(m_folder / "read/file", O_RDONLY) != 0     ? 1
               : ErrorOf("/etc/passwd", O_RDONLY) != 0            ? 2
               : ErrorOf(m_folder / "secret", O_RDONLY) != EACCES ? 3
               : ErrorOf("/dev/null", O_WRONLY) != 0              ? 4
                                                                  : 0;
    });
    if (result == kCannot) {
        GTEST_SKIP() << "this kernel cannot confine a process to its files";
    }
    EXPECT_EQ(result, 0);
}

/// 0 when the process is confined as it should be, else what is missing.
int WhatIsMissing() {
    const std::string done = Confine({});
    if (!done.starts_with("without new privileges, limited, ") ||
        ReadFile("/proc/self/status").find("NoNewPrivs:\t1") == std::string::npos) {
        return 100;
    }
    std::vector<std::pair<int, rlim_t>> limits = {{RLIMIT_CORE, 0},
                                                  {RLIMIT_FSIZE, rlim_t{4} << 30U},
                                                  {RLIMIT_CPU, 1800},
                                                  {RLIMIT_NOFILE, 256}};
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    limits.emplace_back(RLIMIT_AS, rlim_t{6} << 30U);
#endif
    for (const auto& [resource, most] : limits) {
        rlimit limit{};
        if (getrlimit(static_cast<__rlimit_resource>(resource), &limit) != 0 ||
            limit.rlim_max > most) {
            return resource + 1;
        }
    }
    return 0;
}

TEST_F(ConfinementTest, NoPrivilegesAndLimitedMeans) {
    EXPECT_EQ(InChild(&WhatIsMissing), 0);
}

}  // namespace
}  // namespace updturl
