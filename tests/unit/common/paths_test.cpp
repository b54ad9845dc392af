#include "common/paths.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "common/run_state.h"
#include "common/text_field.h"
#include "tests/support/scratch.h"

namespace {

std::string OwnDirectory() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path().string() + "/";
}

TEST(GetAppPath, IsTheProgramsFolderWithItsSlash) {
    char buffer[4096];
    ASSERT_EQ(GetAppPath(buffer, sizeof buffer), 1);
    EXPECT_EQ(std::string(buffer), OwnDirectory());
    EXPECT_EQ(std::string(buffer).back(), '/');
}

TEST(GetAppPath, FailsRatherThanCut) {
    std::string buffer(OwnDirectory().size() + 1, 'x');
    EXPECT_EQ(GetAppPath(buffer.data(), buffer.size() - 1), 0);
    EXPECT_EQ(buffer, std::string(buffer.size(), 'x'));
    EXPECT_EQ(GetAppPath(buffer.data(), buffer.size()), 1);
    EXPECT_EQ(GetAppPath(buffer.data(), 0), 0);
    EXPECT_EQ(GetAppPath(nullptr, 256), 0);
}

TEST(GetAppPath, FailsWhereTheLinkCannotBeRead) {
    if (::getuid() != 0) {
        GTEST_SKIP() << "only root can hide /proc from a process";
    }
    const ScratchFolder scratch;
    EXPECT_EQ(InChild([&scratch] {
                  char buffer[260];
                  if (::chroot(scratch.Path().c_str()) != 0) {
                      return 1;
                  }
                  return GetAppPath(buffer, sizeof buffer) == 0 && GetModulePath(buffer) == 0 ? 0
                                                                                              : 2;
              }),
              0);
}

TEST(GetModulePath, IsTheProgramsFolder) {
    if (OwnDirectory().size() > 259) {
        GTEST_SKIP() << "the tests were built in too long a path";
    }
    char buffer[260];
    ASSERT_EQ(GetModulePath(buffer), 1);
    EXPECT_EQ(std::string(buffer), OwnDirectory());
    EXPECT_EQ(GetModulePath(nullptr), 0);
}

TEST(GetModulePath, FailsForAFolderThatDoesNotFit) {
    if (OwnDirectory().size() > 260) {
        // The copy that is started below.
        char buffer[4096];
        std::memset(buffer, 'x', sizeof buffer);
        EXPECT_EQ(GetModulePath(buffer), 0);
        EXPECT_EQ(buffer[0], 'x');
        EXPECT_EQ(GetAppPath(buffer, sizeof buffer), 1);
        EXPECT_EQ(std::string(buffer), OwnDirectory());
        return;
    }
    const ScratchFolder scratch;
    const std::string folder = scratch / std::string(200, 'a') + "/" + std::string(200, 'b');
    std::filesystem::create_directories(folder);
    const std::string program = folder + "/program";
    std::filesystem::copy_file("/proc/self/exe", program);
    EXPECT_EQ(InChild([&program] {
                  ::execl(program.c_str(), program.c_str(),
                          "--gtest_filter=GetModulePath.FailsForAFolderThatDoesNotFit",
                          static_cast<char*>(nullptr));
                  return 99;
              }),
              0);
}

TEST(IsValidPath, IsTrueForWhatExists) {
    const ScratchFolder scratch;
    WriteFile(scratch / "file", "");
    ASSERT_EQ(::symlink("file", (scratch / "link").c_str()), 0);
    ASSERT_EQ(::symlink("nowhere", (scratch / "dangling").c_str()), 0);
    EXPECT_EQ(IsValidPath((scratch / "file").c_str()), 1);
    EXPECT_EQ(IsValidPath(scratch.Path().c_str()), 1);
    EXPECT_EQ(IsValidPath((scratch / "link").c_str()), 1);
    EXPECT_EQ(IsValidPath((scratch / "dangling").c_str()), 0);
    EXPECT_EQ(IsValidPath((scratch / "missing").c_str()), 0);
    EXPECT_EQ(IsValidPath(""), 0);
    EXPECT_EQ(IsValidPath(nullptr), 0);
}

TEST(IsDirectory, FollowsLinks) {
    const ScratchFolder scratch;
    WriteFile(scratch / "file", "");
    ASSERT_EQ(::symlink(scratch.Path().c_str(), (scratch / "link").c_str()), 0);
    EXPECT_EQ(IsDirectory(scratch.Path().c_str()), 1);
    EXPECT_EQ(IsDirectory((scratch / "link").c_str()), 1);
    EXPECT_EQ(IsDirectory((scratch / "file").c_str()), 0);
    EXPECT_EQ(IsDirectory((scratch / "missing").c_str()), 0);
    EXPECT_EQ(IsDirectory(nullptr), 0);
}

TEST(Directories, NamesAreJoinedToThem) {
    common::CopyToField(g_szAppPath, "/opt/program/");
    EXPECT_EQ(common::InProgramDirectory("zqscn.opt"), "/opt/program/zqscn.opt");
    EXPECT_EQ(common::InProgramDirectory(""), "/opt/program/");
    std::fill(std::begin(g_szAppPath), std::end(g_szAppPath), 'a');
    EXPECT_EQ(common::InProgramDirectory("b"), std::string(256, 'a') + "b")
        << "no end in the field";
    common::CopyToField(g_szAppPath, "");
    EXPECT_EQ(common::InProductDirectory("opsitf.so"), "/usr/lib/Corvane/Corvane/opsitf.so");
}

std::string Shortened(const std::string& path, int width) {
    std::string output(256, '#');
    EXPECT_EQ(GetShortPath(path.c_str(), output.data(), width), 1);
    const std::size_t end = output.find('\0');
    // Nothing behind the terminator is touched.
    EXPECT_EQ(output.substr(end + 1), std::string(output.size() - end - 1, '#'));
    return output.substr(0, end);
}

TEST(GetShortPath, KeepsHeadAndTail) {
    const std::string path = "/home/user/documents/file1.txt";
    ASSERT_EQ(path.size(), 30U);
    EXPECT_EQ(Shortened(path, 20), "/home/u.../file1.txt");
    EXPECT_EQ(Shortened(path, 21), "/home/u...s/file1.txt");
}

TEST(GetShortPath, LeavesWhatFits) {
    EXPECT_EQ(Shortened("/home/user", 10), "/home/user");
    EXPECT_EQ(Shortened("/home/user", 11), "/home/user");
    EXPECT_EQ(Shortened("/home/user", 9), "/.../user");
    EXPECT_EQ(Shortened("", 0), "");
}

TEST(GetShortPath, NeverExceedsASmallWidth) {
    for (int width = 0; width < 8; ++width) {
        EXPECT_EQ(Shortened("/home/user/documents", width).size(), static_cast<std::size_t>(width));
    }
    EXPECT_EQ(Shortened("/home/user/documents", -5), "");
    EXPECT_EQ(Shortened("/home/user/documents", 6), "...nts");
}

TEST(GetShortPath, RefusesNullArguments) {
    char output[32];
    EXPECT_EQ(GetShortPath(nullptr, output, 20), 0);
    EXPECT_EQ(GetShortPath("/home", nullptr, 20), 0);
}

}  // namespace
