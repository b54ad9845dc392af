#include "common/shared_file.h"

#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "common/io.h"
#include "tests/support/scratch.h"

namespace {

class SharedFile : public testing::Test {
protected:
    [[nodiscard]] common::FileDescriptor Open(int flags = O_WRONLY) const {
        return common::OpenSharedFile(m_path.c_str(), flags, 0600);
    }

    ScratchFolder m_scratch;
    std::string m_path = m_scratch / "file";
};

TEST_F(SharedFile, CreatesWithTheMode) {
    EXPECT_TRUE(Open());
    EXPECT_EQ(ModeOf(m_path), 0600U);
}

TEST_F(SharedFile, CreatesForOtherUsersWhateverTheUmask) {
    const mode_t before = ::umask(077);
    EXPECT_TRUE(common::OpenSharedFile(m_path.c_str(), O_RDWR, 0666));
    ::umask(before);
    EXPECT_EQ(ModeOf(m_path), 0666U);
}

TEST_F(SharedFile, KeepsWhatIsThere) {
    WriteFile(m_path, "before");
    ASSERT_EQ(::chmod(m_path.c_str(), 0640), 0);
    EXPECT_TRUE(Open());
    EXPECT_EQ(ReadFile(m_path), "before");
    EXPECT_EQ(ModeOf(m_path), 0640U);
}

TEST_F(SharedFile, AppendsWhenAsked) {
    WriteFile(m_path, "before");
    const common::FileDescriptor file = Open(O_WRONLY | O_APPEND);
    ASSERT_TRUE(common::WriteAll(file.Get(), ", after"));
    EXPECT_EQ(ReadFile(m_path), "before, after");
}

TEST_F(SharedFile, IsNotInherited) {
    const common::FileDescriptor file = Open();
    EXPECT_NE(::fcntl(file.Get(), F_GETFD) & FD_CLOEXEC, 0);
}

TEST_F(SharedFile, RefusesALink) {
    WriteFile(m_scratch / "victim", "precious");
    ASSERT_EQ(::symlink("victim", m_path.c_str()), 0);
    EXPECT_FALSE(Open());
    EXPECT_EQ(errno, ELOOP);
}

TEST_F(SharedFile, CreatesNothingThroughADanglingLink) {
    ASSERT_EQ(::symlink("victim", m_path.c_str()), 0);
    EXPECT_FALSE(Open());
    EXPECT_FALSE(Exists(m_scratch / "victim"));
}

TEST_F(SharedFile, RefusesAnotherFilesSecondName) {
    WriteFile(m_scratch / "victim", "precious");
    ASSERT_EQ(::link((m_scratch / "victim").c_str(), m_path.c_str()), 0);
    EXPECT_FALSE(Open());
    EXPECT_EQ(errno, EPERM);
}

TEST_F(SharedFile, DoesNotWaitOnAPipe) {
    ASSERT_EQ(::mkfifo(m_path.c_str(), 0600), 0);
    EXPECT_FALSE(Open(O_WRONLY));
    EXPECT_FALSE(Open(O_RDWR));
}

TEST_F(SharedFile, RefusesAFolder) {
    ASSERT_EQ(::mkdir(m_path.c_str(), 0700), 0);
    EXPECT_FALSE(Open(O_WRONLY));
    EXPECT_FALSE(Open(O_RDONLY));
}

TEST_F(SharedFile, RefusesNoPath) {
    EXPECT_FALSE(common::OpenSharedFile(nullptr, O_WRONLY, 0600));
    EXPECT_FALSE(common::OpenSharedFile((m_scratch / "missing/file").c_str(), O_WRONLY, 0600));
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(SharedFile, OpensAnotherUsersFileInAFolderLikeTmp) {
    if (::getuid() != 0) {
        GTEST_SKIP() << "only root can make another user's file";
    }
    ASSERT_EQ(::chmod(m_scratch.Path().c_str(), 01777), 0);
    WriteFile(m_path, "theirs");
    ASSERT_EQ(::chmod(m_path.c_str(), 0666), 0);
    ASSERT_EQ(::chown(m_path.c_str(), 12345, 12345), 0);
    EXPECT_TRUE(Open());
    EXPECT_EQ(InChild([this] {
                  if (::setgid(54321) != 0 || ::setuid(54321) != 0) {
                      return 1;
                  }
                  return Open() ? 0 : 2;
              }),
              0);
}

}  // namespace
