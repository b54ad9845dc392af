#include "common/regular_file.h"

#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "common/io.h"
#include "tests/support/scratch.h"

namespace {

using common::Links;
using common::OpenRegularFile;

constexpr Links kAllPolicies[] = {Links::kFollow, Links::kNoSymbolic, Links::kNone,
                                  Links::kOnlyOfRoot};

class RegularFile : public testing::Test {
protected:
    /// 0, or why the file cannot be opened.
    [[nodiscard]] int WhyNot(Links links, int flags = O_RDONLY) const {
        errno = 0;
        const common::FileDescriptor file = OpenRegularFile(m_path.c_str(), flags, links);
        return file ? 0 : errno;
    }
    void PutLink() const {
        WriteFile(m_scratch / "target", "precious");
        ASSERT_EQ(::chmod((m_scratch / "target").c_str(), 0600), 0);
        ASSERT_EQ(::symlink("target", m_path.c_str()), 0);
    }
    void PutFurtherName() const {
        WriteFile(m_scratch / "target", "precious");
        ASSERT_EQ(::chmod((m_scratch / "target").c_str(), 0600), 0);
        ASSERT_EQ(::link((m_scratch / "target").c_str(), m_path.c_str()), 0);
    }
    void SetFolderMode(mode_t mode) const { ASSERT_EQ(::chmod(m_scratch.Path().c_str(), mode), 0); }

    ScratchFolder m_scratch;
    std::string m_path = m_scratch / "file";
};

TEST_F(RegularFile, IsOpenedWhateverTheLinksMayBe) {
    WriteFile(m_path, "text");
    for (const Links links : kAllPolicies) {
        const common::FileDescriptor file = OpenRegularFile(m_path.c_str(), O_RDWR, links);
        ASSERT_TRUE(file);
        EXPECT_NE(::fcntl(file.Get(), F_GETFD) & FD_CLOEXEC, 0);
        char text[4];
        ASSERT_EQ(common::ReadFull(file.Get(), std::as_writable_bytes(std::span(text))), 4);
        EXPECT_EQ(std::string(text, 4), "text");
    }
}

TEST_F(RegularFile, IsOpenedInAnOpenFolder) {
    WriteFile(m_path, "text");
    const common::FileDescriptor folder(
        ::open(m_scratch.Path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    for (const Links links : kAllPolicies) {
        EXPECT_TRUE(common::OpenRegularFileAt(folder.Get(), "file", O_RDONLY, links));
        EXPECT_FALSE(common::OpenRegularFileAt(folder.Get(), "other", O_RDONLY, links));
        EXPECT_EQ(errno, ENOENT);
    }
}

TEST_F(RegularFile, IsCreatedWithTheModeAndNotOverAnotherWhenThatIsAsked) {
    const mode_t before = ::umask(022);
    EXPECT_TRUE(OpenRegularFile(m_path.c_str(), O_RDWR | O_CREAT, Links::kFollow, 0666));
    ::umask(before);
    EXPECT_EQ(ModeOf(m_path), 0644U);
    EXPECT_EQ(WhyNot(Links::kNone, O_RDWR | O_CREAT | O_EXCL), EEXIST);
}

TEST_F(RegularFile, IsOnlyEmptiedAndAppendedToWhenThatIsAsked) {
    WriteFile(m_path, "before");
    EXPECT_EQ(WhyNot(Links::kFollow, O_RDWR), 0);
    EXPECT_EQ(ReadFile(m_path), "before");
    const common::FileDescriptor end =
        OpenRegularFile(m_path.c_str(), O_WRONLY | O_APPEND, Links::kFollow);
    ASSERT_TRUE(common::WriteAll(end.Get(), ", after"));
    EXPECT_EQ(ReadFile(m_path), "before, after");
    EXPECT_EQ(WhyNot(Links::kFollow, O_WRONLY | O_TRUNC), 0);
    EXPECT_EQ(ReadFile(m_path), "");
}

TEST_F(RegularFile, WhatIsNoneIsRefusedAtOnce) {
    for (const Links links : kAllPolicies) {
        EXPECT_EQ(WhyNot(links), ENOENT);
    }
    ASSERT_EQ(::mkfifo(m_path.c_str(), 0600), 0);
    for (const Links links : kAllPolicies) {
        EXPECT_EQ(WhyNot(links, O_RDONLY), EPERM) << "a FIFO that nobody writes to";
        EXPECT_EQ(WhyNot(links, O_RDWR), EPERM);
        EXPECT_EQ(WhyNot(links, O_WRONLY), ENXIO) << "one that nobody reads from";
    }
    ASSERT_EQ(::unlink(m_path.c_str()), 0);
    ASSERT_EQ(::mkdir(m_path.c_str(), 0700), 0);
    for (const Links links : kAllPolicies) {
        EXPECT_EQ(WhyNot(links, O_RDONLY), EPERM);
        EXPECT_EQ(WhyNot(links, O_RDWR), EISDIR);
    }
    EXPECT_FALSE(OpenRegularFile("/dev/null", O_RDONLY, Links::kFollow));
    EXPECT_EQ(errno, EPERM);
}

TEST_F(RegularFile, WithoutAPathThereIsNone) {
    for (const Links links : kAllPolicies) {
        errno = 0;
        EXPECT_FALSE(OpenRegularFile(nullptr, O_RDONLY, links));
        EXPECT_EQ(errno, EINVAL);
        EXPECT_FALSE(OpenRegularFile("", O_RDONLY, links));
        EXPECT_EQ(errno, ENOENT);
        EXPECT_FALSE(OpenRegularFile((m_scratch / "missing/file").c_str(), O_RDONLY, links));
        EXPECT_EQ(errno, ENOENT);
        EXPECT_FALSE(OpenRegularFile((m_scratch / "missing/").c_str(), O_RDONLY, links));
        EXPECT_EQ(errno, ENOENT);
    }
}

TEST_F(RegularFile, ASymbolicLinkIsFollowedOnlyWhereThatIsSaid) {
    SetFolderMode(0777);
    PutLink();
    EXPECT_EQ(WhyNot(Links::kFollow), 0);
    EXPECT_EQ(WhyNot(Links::kNoSymbolic), ELOOP);
    EXPECT_EQ(WhyNot(Links::kNone), ELOOP);
    EXPECT_EQ(WhyNot(Links::kOnlyOfRoot), ELOOP);
}

TEST_F(RegularFile, NothingIsCreatedThroughALinkThatIsNotFollowed) {
    SetFolderMode(01777);
    ASSERT_EQ(::symlink("target", m_path.c_str()), 0);
    for (const Links links : {Links::kNoSymbolic, Links::kNone, Links::kOnlyOfRoot}) {
        EXPECT_FALSE(OpenRegularFile(m_path.c_str(), O_RDWR | O_CREAT, links, 0600));
    }
    EXPECT_FALSE(Exists(m_scratch / "target"));
}

TEST_F(RegularFile, AFurtherNameIsRefusedOnlyWhereThatIsSaid) {
    SetFolderMode(0777);
    PutFurtherName();
    EXPECT_EQ(WhyNot(Links::kFollow), 0);
    EXPECT_EQ(WhyNot(Links::kNoSymbolic), 0);
    EXPECT_EQ(WhyNot(Links::kNone), EPERM);
    EXPECT_EQ(WhyNot(Links::kOnlyOfRoot), EPERM);
}

TEST_F(RegularFile, RootsOwnLinksAreFollowedWhereNobodyElseCanWrite) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root, to own the folder and to give it away";
    }
    PutLink();
    for (const mode_t mode : {0755U, 0700U, 01755U}) {
        SetFolderMode(mode);
        EXPECT_EQ(WhyNot(Links::kOnlyOfRoot), 0) << std::oct << mode;
    }
    for (const mode_t mode : {0775U, 0757U, 0777U, 01777U, 0720U, 0702U}) {
        SetFolderMode(mode);
        EXPECT_EQ(WhyNot(Links::kOnlyOfRoot), ELOOP) << std::oct << mode;
    }
    SetFolderMode(0755);
    ASSERT_EQ(::chown(m_scratch.Path().c_str(), 12345, 0), 0);
    EXPECT_EQ(WhyNot(Links::kOnlyOfRoot), ELOOP) << "its owner can write";
    ASSERT_EQ(::chown(m_scratch.Path().c_str(), 0, 0), 0);
    ASSERT_EQ(::unlink(m_path.c_str()), 0);
    ASSERT_EQ(::link((m_scratch / "target").c_str(), m_path.c_str()), 0);
    EXPECT_EQ(WhyNot(Links::kOnlyOfRoot), 0) << "a further name";
}

TEST_F(RegularFile, APathWithoutAFolderIsInTheWorkingDirectory) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root, to own the folder";
    }
    PutLink();
    EXPECT_EQ(InChild([this] {
                  if (::chdir(m_scratch.Path().c_str()) != 0) {
                      return 1;
                  }
                  if (!OpenRegularFile("file", O_RDONLY, Links::kOnlyOfRoot)) {
                      return 2;
                  }
                  (void)::chmod(".", 0777);
                  return OpenRegularFile("file", O_RDONLY, Links::kOnlyOfRoot) ? 3 : 0;
              }),
              0);
}

TEST_F(RegularFile, ItsModeIsSetThoughItCannotBeOpened) {
    WriteFile(m_path, "text");
    ASSERT_EQ(::chmod(m_path.c_str(), 0), 0);
    SetFolderMode(0777);
    ASSERT_TRUE(::geteuid() != 0 || ::chown(m_path.c_str(), 12345, 12345) == 0);
    EXPECT_EQ(InChild([this] {
                  if (::geteuid() == 0 && (::setgid(12345) != 0 || ::setuid(12345) != 0)) {
                      return 1;
                  }
                  if (OpenRegularFile(m_path.c_str(), O_RDONLY, Links::kFollow)) {
                      return 2;
                  }
                  return common::SetFileMode(m_path.c_str(), 0666, Links::kNone) ? 0 : 3;
              }),
              0);
    EXPECT_EQ(ModeOf(m_path), 0666U);
}

TEST_F(RegularFile, AModeIsNotSetThroughLinksThatAreNotFollowed) {
    SetFolderMode(0777);
    PutLink();
    EXPECT_FALSE(common::SetFileMode(m_path.c_str(), 0666, Links::kNoSymbolic));
    EXPECT_FALSE(common::SetFileMode(m_path.c_str(), 0666, Links::kNone));
    EXPECT_FALSE(common::SetFileMode(m_path.c_str(), 0666, Links::kOnlyOfRoot));
    EXPECT_EQ(ModeOf(m_scratch / "target"), 0600U);
    ASSERT_EQ(::unlink(m_path.c_str()), 0);
    ASSERT_EQ(::link((m_scratch / "target").c_str(), m_path.c_str()), 0);
    EXPECT_FALSE(common::SetFileMode(m_path.c_str(), 0666, Links::kNone));
    EXPECT_FALSE(common::SetFileMode(m_path.c_str(), 0666, Links::kOnlyOfRoot));
    EXPECT_EQ(ModeOf(m_scratch / "target"), 0600U);
    EXPECT_TRUE(common::SetFileMode(m_path.c_str(), 0640, Links::kFollow));
    EXPECT_EQ(ModeOf(m_scratch / "target"), 0640U);
}

TEST_F(RegularFile, AModeIsSetOfNothingElse) {
    EXPECT_FALSE(common::SetFileMode(m_path.c_str(), 0666, Links::kFollow));
    EXPECT_EQ(errno, ENOENT);
    ASSERT_EQ(::mkfifo(m_path.c_str(), 0600), 0);
    EXPECT_FALSE(common::SetFileMode(m_path.c_str(), 0666, Links::kFollow));
    EXPECT_EQ(ModeOf(m_path), 0600U);
}

}  // namespace
