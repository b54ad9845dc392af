#include "product/shellscan/glob_filter.h"

#include <gtest/gtest.h>

namespace {

bool LeavesOut(const char* glob, const char* path) {
    return shellscan::GlobFilter({glob}).LeavesOut(path);
}

TEST(GlobFilter, WithoutASlashItIsAboutTheName) {
    EXPECT_TRUE(LeavesOut("*.iso", "/home/a.iso"));
    EXPECT_TRUE(LeavesOut("*.iso", "/home/.iso"));
    EXPECT_FALSE(LeavesOut("*.iso", "/home/a.iso.txt"));
    EXPECT_FALSE(LeavesOut("*.iso", "/home.iso/a"));
    EXPECT_TRUE(LeavesOut("[ab]?", "/x/b1"));
}

TEST(GlobFilter, WithASlashItIsAboutThePath) {
    EXPECT_TRUE(LeavesOut("/proc", "/proc"));
    EXPECT_FALSE(LeavesOut("/proc", "/home/proc"));
    EXPECT_TRUE(LeavesOut("*/.cache", "/home/me/.cache"));
    EXPECT_TRUE(LeavesOut("/home/*", "/home/me/.cache"));
}

TEST(GlobFilter, OneOfSeveralIsEnough) {
    const shellscan::GlobFilter filter({"*.iso", "/proc"});
    EXPECT_TRUE(filter.LeavesOut("/a.iso"));
    EXPECT_TRUE(filter.LeavesOut("/proc"));
    EXPECT_FALSE(filter.LeavesOut("/etc"));
    EXPECT_FALSE(shellscan::GlobFilter({}).LeavesOut("/etc"));
}

TEST(GlobFilter, BytesThatAreNoUtf8Match) {
    EXPECT_TRUE(LeavesOut("*\xff", "/home/a\xff"));
    EXPECT_TRUE(LeavesOut("*.iso", "/home/\xff\xfe.iso"));
}

}  // namespace
