#include "common/locks.h"

#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <iterator>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "common/file_descriptor.h"
#include "common/io.h"
#include "tests/support/scratch.h"

namespace {

// Exit status of a process that got a lock, and of one that did not.
constexpr int kGot = 10;
constexpr int kRefused = 11;

class NamedLock : public testing::Test {
protected:
    void TearDown() override {
        if (g_fdlock >= 0) {
            ::close(g_fdlock);
            g_fdlock = -1;
        }
        ::umask(m_umask);
    }

    int TryInOtherProcess() const {
        return InChild([this] { return Get_Lock(m_path.c_str()) ? kGot : kRefused; });
    }

    ScratchFolder m_scratch;
    std::string m_path = m_scratch / "scan.lck";
    mode_t m_umask = ::umask(077);  // the mode is set whatever the umask
};

TEST_F(NamedLock, KeepsOtherProcessesOut) {
    ASSERT_TRUE(Get_Lock(m_path.c_str()));
    EXPECT_GE(g_fdlock, 0);
    EXPECT_EQ(ModeOf(m_path), 0666U);
    EXPECT_EQ(TryInOtherProcess(), kRefused);
    Release_Lock(m_path.c_str());
    EXPECT_EQ(g_fdlock, -1);
    EXPECT_FALSE(Exists(m_path));
    EXPECT_EQ(TryInOtherProcess(), kGot);
}

TEST_F(NamedLock, EndsWithItsProcess) {
    ASSERT_EQ(TryInOtherProcess(), kGot);
    EXPECT_TRUE(Exists(m_path));
    EXPECT_TRUE(Get_Lock(m_path.c_str()));
}

TEST_F(NamedLock, SetsTheModeAlsoWhenRefused) {
    ASSERT_TRUE(Get_Lock(m_path.c_str()));
    ASSERT_EQ(::chmod(m_path.c_str(), 0622), 0);
    EXPECT_EQ(TryInOtherProcess(), kRefused);
    EXPECT_EQ(ModeOf(m_path), 0666U);
}

TEST_F(NamedLock, ARefusedProcessHoldsNoDescriptor) {
    ASSERT_TRUE(Get_Lock(m_path.c_str()));
    EXPECT_EQ(
        InChild([this] { return !Get_Lock(m_path.c_str()) && g_fdlock == -1 ? kRefused : kGot; }),
        kRefused);
}

TEST_F(NamedLock, ASecondCallOverwritesTheDescriptor) {
    const std::string other = m_scratch / "other.lck";
    ASSERT_TRUE(Get_Lock(m_path.c_str()));
    const common::FileDescriptor first(g_fdlock);
    ASSERT_TRUE(Get_Lock(other.c_str()));
    EXPECT_NE(g_fdlock, first.Get());
    // The first lock is still held.
    EXPECT_EQ(TryInOtherProcess(), kRefused);
}

TEST_F(NamedLock, LocksTheFirstByteOnly) {
    ASSERT_TRUE(Get_Lock(m_path.c_str()));
    EXPECT_EQ(InChild([this] {
                  const common::FileDescriptor file(::open(m_path.c_str(), O_WRONLY | O_CLOEXEC));
                  struct flock lock {};
                  lock.l_type = F_WRLCK;
                  lock.l_whence = SEEK_SET;
                  lock.l_start = 1;
                  lock.l_len = 1;
                  return ::fcntl(file.Get(), F_SETLK, &lock) == 0 ? kGot : kRefused;
              }),
              kGot);
}

TEST_F(NamedLock, NeverEmptiesAnExistingFile) {
    WriteFile(m_path, "somebody's");
    ASSERT_TRUE(Get_Lock(m_path.c_str()));
    EXPECT_EQ(ReadFile(m_path), "somebody's");
}

TEST_F(NamedLock, FollowsNoLink) {
    WriteFile(m_scratch / "victim", "precious");
    ASSERT_EQ(::chmod((m_scratch / "victim").c_str(), 0600), 0);
    ASSERT_EQ(::symlink((m_scratch / "victim").c_str(), m_path.c_str()), 0);
    EXPECT_FALSE(Get_Lock(m_path.c_str()));
    EXPECT_EQ(g_fdlock, -1);
    Release_Lock(m_path.c_str());
    EXPECT_EQ(ModeOf(m_scratch / "victim"), 0600U);
    EXPECT_EQ(ReadFile(m_scratch / "victim"), "precious");
}

TEST_F(NamedLock, FollowsNoLinkInAFolderLikeTmp) {
    ASSERT_EQ(::chmod(m_scratch.Path().c_str(), 01777), 0);
    WriteFile(m_scratch / "victim", "precious");
    ASSERT_EQ(::chmod((m_scratch / "victim").c_str(), 0600), 0);
    ASSERT_EQ(::symlink("victim", m_path.c_str()), 0);
    EXPECT_FALSE(Get_Lock(m_path.c_str()));
    EXPECT_EQ(g_fdlock, -1);
    EXPECT_EQ(ModeOf(m_scratch / "victim"), 0600U);
    ZQFileLock lock(m_path.c_str());
    EXPECT_EQ(lock.AcquireLock(), -1);
    Release_Lock(m_path.c_str());
    EXPECT_FALSE(Exists(m_path)) << "the link goes";
    EXPECT_EQ(ModeOf(m_scratch / "victim"), 0600U);
    EXPECT_EQ(ReadFile(m_scratch / "victim"), "precious");
}

TEST_F(NamedLock, ReleaseLeavesTheModeOfAFileWithAFurtherNameAndDeletesThisOne) {
    const std::string other = m_scratch / "other";
    ASSERT_TRUE(Get_Lock(m_path.c_str()));
    ASSERT_EQ(::link(m_path.c_str(), other.c_str()), 0);
    ASSERT_EQ(::chmod(other.c_str(), 0600), 0);
    Release_Lock(m_path.c_str());
    EXPECT_FALSE(Exists(m_path));
    EXPECT_EQ(g_fdlock, -1);
    EXPECT_EQ(ModeOf(other), 0600U);

    // And without the lock.
    ASSERT_EQ(::link(other.c_str(), m_path.c_str()), 0);
    Release_Lock(m_path.c_str());
    EXPECT_FALSE(Exists(m_path));
    EXPECT_EQ(ModeOf(other), 0600U);
}

TEST_F(NamedLock, ReleaseSetsTheModeOfTheFileThatIsLocked) {
    ASSERT_TRUE(Get_Lock(m_path.c_str()));
    ASSERT_EQ(::chmod(m_path.c_str(), 0600), 0);
    // Whatever has come under the name meanwhile.
    ASSERT_EQ(::rename(m_path.c_str(), (m_scratch / "away").c_str()), 0);
    WriteFile(m_path, "somebody's");
    ASSERT_EQ(::chmod(m_path.c_str(), 0600), 0);
    const common::FileDescriptor somebodys(::open(m_path.c_str(), O_RDONLY | O_CLOEXEC));
    Release_Lock(m_path.c_str());
    EXPECT_EQ(ModeOf(m_scratch / "away"), 0666U);
    struct stat status {};
    ASSERT_EQ(::fstat(somebodys.Get(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
    EXPECT_FALSE(Exists(m_path));
}

TEST_F(NamedLock, ReleaseSetsTheModeOfAFileThatIsNotLocked) {
    WriteFile(m_path, "");
    ASSERT_EQ(::chmod(m_path.c_str(), 0600), 0);
    const common::FileDescriptor open(::open(m_path.c_str(), O_RDONLY | O_CLOEXEC));
    Release_Lock(m_path.c_str());
    struct stat status {};
    ASSERT_EQ(::fstat(open.Get(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0666U);
}

TEST_F(NamedLock, FailsForPathsThatCannotBe) {
    EXPECT_FALSE(Get_Lock(nullptr));
    EXPECT_FALSE(Get_Lock((m_scratch / "missing/scan.lck").c_str()));
    EXPECT_EQ(g_fdlock, -1);
    Release_Lock(nullptr);
}

TEST_F(NamedLock, ReleaseDeletesTheFileAlsoWhenNoLockIsHeld) {
    WriteFile(m_path, "");
    Release_Lock(m_path.c_str());
    EXPECT_FALSE(Exists(m_path));
}

TEST_F(NamedLock, TwoNeverHoldItAtOnceWhileItsFileComesAndGoes) {
    const std::string marker = m_scratch / "inside";
    std::vector<pid_t> children;
    children.reserve(4);
    for (int process = 0; process < 4; ++process) {
        children.push_back(StartChild([&] {
            int rounds = 0;
            while (rounds < 200) {
                if (!Get_Lock(m_path.c_str())) {
                    continue;
                }
                const common::FileDescriptor alone(
                    ::open(marker.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
                if (!alone) {
                    return 1;
                }
                ::unlink(marker.c_str());
                Release_Lock(m_path.c_str());
                ++rounds;
            }
            return 0;
        }));
    }
    for (const pid_t child : children) {
        EXPECT_EQ(JoinChild(child), 0);
    }
}

class FileLock : public testing::Test {
protected:
    int TryInOtherProcess() const {
        return InChild([this] {
            ZQFileLock lock(m_path.c_str());
            return lock.AcquireLock() == 0 ? kGot : kRefused;
        });
    }

    ScratchFolder m_scratch;
    std::string m_path = m_scratch / "data.lck";
};

TEST_F(FileLock, KeepsOtherProcessesOutUntilReleased) {
    ZQFileLock lock(m_path.c_str());
    EXPECT_FALSE(Exists(m_path));
    ASSERT_EQ(lock.AcquireLock(), 0);
    EXPECT_EQ(TryInOtherProcess(), kRefused);
    EXPECT_EQ(lock.ReleaseLock(), 0);
    EXPECT_TRUE(Exists(m_path));
    EXPECT_EQ(TryInOtherProcess(), kGot);
}

TEST_F(FileLock, ItsHolderCanBeTold) {
    ZQFileLock lock(m_path.c_str());
    ASSERT_EQ(lock.AcquireLock(), 0);
    const pid_t holder = ::getpid();
    // One's own lock keeps oneself from nothing.
    const common::FileDescriptor file(::open(m_path.c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(common::LockHolder(file.Get()), std::nullopt);
    EXPECT_EQ(InChild([&] { return common::LockHolder(file.Get()) == holder ? kGot : kRefused; }),
              kGot);
    lock.ReleaseLock();
    EXPECT_EQ(InChild([&] { return common::LockHolder(file.Get()) ? kGot : kRefused; }), kRefused);
    EXPECT_EQ(common::LockHolder(-1), std::nullopt);
}

// A lock that belongs to an open file, not to a process, has no number.
TEST_F(FileLock, AHolderWithoutANumberIsToldFromNobody) {
    WriteFile(m_path, "");
    const common::FileDescriptor held(::open(m_path.c_str(), O_RDWR | O_CLOEXEC));
    const common::FileDescriptor file(::open(m_path.c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(common::LockHolder(file.Get()), std::nullopt);
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    ASSERT_EQ(::fcntl(held.Get(), F_OFD_SETLK, &lock), 0);
    EXPECT_EQ(common::LockHolder(file.Get()), common::kUnknownHolder);
    lock.l_type = F_UNLCK;
    ASSERT_EQ(::fcntl(held.Get(), F_OFD_SETLK, &lock), 0);
    EXPECT_EQ(common::LockHolder(file.Get()), std::nullopt);
}

TEST_F(FileLock, CreatesItsFileForEveryUser) {
    const mode_t before = ::umask(077);
    ZQFileLock lock(m_path.c_str());
    const int result = lock.AcquireLock();
    ::umask(before);
    ASSERT_EQ(result, 0);
    EXPECT_EQ(ModeOf(m_path), 0666U);
    lock.ReleaseLock();
}

TEST_F(FileLock, LeavesTheModeOfAFileThatIsThere) {
    WriteFile(m_path, "data");
    ASSERT_EQ(::chmod(m_path.c_str(), 0640), 0);
    ZQFileLock lock(m_path.c_str());
    ASSERT_EQ(lock.AcquireLock(), 0);
    EXPECT_EQ(ModeOf(m_path), 0640U);
    EXPECT_EQ(ReadFile(m_path), "data");
    lock.ReleaseLock();
}

TEST_F(FileLock, NoDescriptorStaysOpenWithoutTheLock) {
    const auto openDescriptors = [] {
        const std::filesystem::directory_iterator all("/proc/self/fd");
        return std::distance(begin(all), end(all));
    };
    ZQFileLock lock(m_path.c_str());
    const auto before = openDescriptors();
    ASSERT_EQ(lock.AcquireLock(), 0);
    EXPECT_EQ(openDescriptors(), before + 1);
    EXPECT_EQ(InChild([&] {
                  ZQFileLock mine(m_path.c_str());
                  return mine.AcquireLock() == -1 && openDescriptors() == before + 1 ? 0 : 1;
              }),
              0);
    lock.ReleaseLock();
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(FileLock, OutlivesTheObject) {
    EXPECT_EQ(InChild([this] {
                  {
                      ZQFileLock lock(m_path.c_str());
                      if (lock.AcquireLock() != 0) {
                          return 1;
                      }
                  }
                  return TryInOtherProcess();
              }),
              kRefused);
}

TEST_F(FileLock, CanBeTakenAgain) {
    ZQFileLock lock(m_path.c_str());
    EXPECT_EQ(lock.ReleaseLock(), 0);
    EXPECT_EQ(lock.AcquireLock(), 0);
    EXPECT_EQ(lock.AcquireLock(), 0);
    EXPECT_EQ(TryInOtherProcess(), kRefused);
    EXPECT_EQ(lock.ReleaseLock(), 0);
    EXPECT_EQ(TryInOtherProcess(), kGot);
    EXPECT_EQ(lock.AcquireLock(), 0);
    EXPECT_EQ(TryInOtherProcess(), kRefused);
    EXPECT_EQ(lock.ReleaseLock(), 0);
}

TEST_F(FileLock, FailsForPathsThatCannotBe) {
    EXPECT_EQ(ZQFileLock(nullptr).AcquireLock(), -1);
    EXPECT_EQ(ZQFileLock((m_scratch / "missing/lock").c_str()).AcquireLock(), -1);
    ASSERT_EQ(::symlink((m_scratch / "elsewhere").c_str(), m_path.c_str()), 0);
    EXPECT_EQ(ZQFileLock(m_path.c_str()).AcquireLock(), -1);
    EXPECT_FALSE(Exists(m_scratch / "elsewhere"));
}

// Whether a process waits for a record lock, as the kernel lists it.
bool WaitsForLock(pid_t process) {
    std::istringstream locks(ReadFile("/proc/locks"));
    for (std::string line; std::getline(locks, line);) {
        if (line.find("->") != std::string::npos &&
            line.find(" " + std::to_string(process) + " ") != std::string::npos) {
            return true;
        }
    }
    return false;
}

class HandleLock : public testing::Test {
protected:
    [[nodiscard]] common::FileDescriptor Open() const {
        return common::FileDescriptor(::open(m_path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    }
    [[nodiscard]] bool IsLockedAt(off_t offset) const {
        return InChild([&] {
                   const common::FileDescriptor file = Open();
                   struct flock lock {};
                   lock.l_type = F_WRLCK;
                   lock.l_whence = SEEK_SET;
                   lock.l_start = offset;
                   lock.l_len = 1;
                   return ::fcntl(file.Get(), F_SETLK, &lock) == 0 ? kGot : kRefused;
               }) == kRefused;
    }

    ScratchFolder m_scratch;
    std::string m_path = m_scratch / "main.rpt";
};

TEST_F(HandleLock, CoversTheWholeFileAndWhatIsAddedLater) {
    const common::FileDescriptor file = Open();
    ASSERT_TRUE(common::WriteAll(file.Get(), "0123456789"));
    ASSERT_EQ(LockFileHandle(file.Get()),
              0);  // the position is at 10: the lock is not from there on
    EXPECT_TRUE(IsLockedAt(0));
    EXPECT_TRUE(IsLockedAt(9));
    EXPECT_TRUE(IsLockedAt(1'000'000));
    ASSERT_EQ(::lseek(file.Get(), 5, SEEK_SET), 5);
    ASSERT_EQ(UnlockFileHandle(file.Get()), 0);
    EXPECT_FALSE(IsLockedAt(0));
    EXPECT_FALSE(IsLockedAt(9));
    EXPECT_FALSE(IsLockedAt(1'000'000));
}

TEST_F(HandleLock, WaitsUntilTheFileIsFree) {
    const common::FileDescriptor file = Open();
    ASSERT_EQ(LockFileHandle(file.Get()), 0);
    const pid_t other = StartChild([this] {
        const common::FileDescriptor mine = Open();
        if (LockFileHandle(mine.Get()) != 0) {
            return 1;
        }
        return ReadFile(m_path) == "done" ? 0 : 2;
    });
    EXPECT_TRUE(WaitUntil([other] { return WaitsForLock(other); }));
    EXPECT_TRUE(common::WriteAll(file.Get(), "done"));
    EXPECT_EQ(UnlockFileHandle(file.Get()), 0);
    EXPECT_EQ(JoinChild(other), 0);
}

TEST_F(HandleLock, RefusesDescriptorsBelowOne) {
    EXPECT_EQ(LockFileHandle(-1), -1);
    EXPECT_EQ(UnlockFileHandle(-1), -1);
    // Standard input is refused though it could be locked here.
    EXPECT_EQ(InChild([this] {
                  ::close(0);
                  const common::FileDescriptor standardInput = Open();
                  if (standardInput.Get() != 0) {
                      return 1;
                  }
                  return LockFileHandle(0) == -1 && UnlockFileHandle(0) == -1 ? 0 : 2;
              }),
              0);
}

TEST_F(HandleLock, FailsForWhatCannotBeLocked) {
    EXPECT_EQ(LockFileHandle(9999), -1);
    EXPECT_EQ(UnlockFileHandle(9999), -1);
    WriteFile(m_path, "");
    const common::FileDescriptor readOnly(::open(m_path.c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(LockFileHandle(readOnly.Get()), -1);
}

}  // namespace
