#include "product/scanapi/read_lease.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <optional>
#include <pthread.h>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "tests/support/scratch.h"

namespace {

using scanapi::ReadLease;

class ReadLeaseTest : public testing::Test {
protected:
    void SetUp() override {
        WriteFile(m_path, "contents");
        m_file.Reset(open(m_path.c_str(), O_RDONLY | O_CLOEXEC));
        ASSERT_TRUE(m_file);
        if (!ReadLease(m_file.Get()).IsHeld()) {
            GTEST_SKIP() << "the file system of " << m_path << " has no leases";
        }
    }
    // What another process gets that opens the file without waiting.
    int TryToWrite() const {
        return InChild([&] {
            const common::FileDescriptor file(
                open(m_path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
            return file ? 0 : errno;
        });
    }
    ScratchFolder m_folder;
    std::string m_path = m_folder / "file";
    common::FileDescriptor m_file;
};

TEST_F(ReadLeaseTest, IsNotBrokenByNobodyAndByReaders) {
    const ReadLease lease(m_file.Get());
    EXPECT_TRUE(lease.IsHeld());
    EXPECT_FALSE(lease.IsRefusedByWriter());
    EXPECT_EQ(ReadFile(m_path), "contents");
    EXPECT_FALSE(lease.IsBroken());
}

TEST_F(ReadLeaseTest, KeepsAWriterOutAndTells) {
    const ReadLease lease(m_file.Get());
    EXPECT_EQ(TryToWrite(), EWOULDBLOCK);
    EXPECT_TRUE(lease.IsBroken());
}

TEST_F(ReadLeaseTest, TellsOfOneWhoCutsTheFile) {
    const ReadLease lease(m_file.Get());
    const pid_t child = StartChild([&] { return truncate(m_path.c_str(), 1) == 0 ? 0 : 1; });
    EXPECT_TRUE(WaitUntil([&] { return lease.IsBroken(); }));
    EXPECT_EQ(ReadFile(m_path), "contents");
    kill(child, SIGKILL);
    JoinChild(child);
}

TEST_F(ReadLeaseTest, EndsWithTheObject) {
    { const ReadLease lease(m_file.Get()); }
    EXPECT_EQ(TryToWrite(), 0);
}

TEST_F(ReadLeaseTest, IsUsedAlongWithOneThatTheFileBears) {
    std::optional<ReadLease> first(std::in_place, m_file.Get());
    {
        const ReadLease second(m_file.Get());
        EXPECT_TRUE(second.IsHeld());
        EXPECT_FALSE(second.IsBroken());
    }
    EXPECT_EQ(TryToWrite(), EWOULDBLOCK) << "it was not the second one's to give back";
    EXPECT_TRUE(first->IsBroken());
    first.emplace(m_file.Get());
    const ReadLease second(m_file.Get());
    EXPECT_FALSE(second.IsBroken());
    first.reset();
    EXPECT_TRUE(second.IsBroken());
}

TEST_F(ReadLeaseTest, IsRefusedByOneWhoWritesAlready) {
    const common::FileDescriptor writer(open(m_path.c_str(), O_WRONLY | O_CLOEXEC));
    const ReadLease lease(m_file.Get());
    EXPECT_TRUE(lease.IsRefusedByWriter());
    EXPECT_FALSE(lease.IsHeld());
    EXPECT_FALSE(lease.IsBroken());
}

TEST_F(ReadLeaseTest, IsNotToBeHadOfAFileThatIsNotOpen) {
    const ReadLease lease(-1);
    EXPECT_FALSE(lease.IsHeld());
    EXPECT_FALSE(lease.IsRefusedByWriter());
    EXPECT_FALSE(lease.IsBroken());
}

TEST_F(ReadLeaseTest, IsNotToBeHadOfAnotherUsersFile) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs root to become another user";
    }
    ASSERT_EQ(seteuid(65534), 0);
    {
        const ReadLease lease(m_file.Get());
        EXPECT_FALSE(lease.IsHeld());
        EXPECT_FALSE(lease.IsRefusedByWriter());
    }
    ASSERT_EQ(seteuid(0), 0);
}

TEST_F(ReadLeaseTest, SendsNoSignalAndChangesNoneOfTheProgramsOwn) {
    // In a program of its own, which the default of the signal would end.
    const int result = InChild([&] {
        struct sigaction before {};
        sigset_t maskBefore;
        sigaction(SIGIO, nullptr, &before);
        pthread_sigmask(SIG_SETMASK, nullptr, &maskBefore);
        {
            const ReadLease lease(m_file.Get());
            if (TryToWrite() != EWOULDBLOCK || !lease.IsBroken()) {
                return 1;
            }
        }
        struct sigaction after {};
        sigset_t maskAfter;
        sigset_t pending;
        sigaction(SIGIO, nullptr, &after);
        pthread_sigmask(SIG_SETMASK, nullptr, &maskAfter);
        sigpending(&pending);
        for (int signal = 1; signal < SIGRTMIN; ++signal) {
            if (sigismember(&maskBefore, signal) != sigismember(&maskAfter, signal) ||
                sigismember(&pending, signal) == 1) {
                return 2;
            }
        }
        return before.sa_handler == after.sa_handler ? 0 : 3;
    });
    EXPECT_EQ(result, 0) << "-1: a signal has ended it";
}

}  // namespace
