#include "common/users.h"

#include <cstring>
#include <gtest/gtest.h>
#include <pwd.h>
#include <string>
#include <unistd.h>

#include "tests/support/scratch.h"

namespace {

constexpr uid_t kUnknownUser = 3'999'999'999U;

TEST(IsRootPrivileges, IsTheRealUsersName) {
    EXPECT_EQ(IsRootPrivileges(), ::getuid() == 0 ? 1 : 0);
}

TEST(IsRootPrivileges, IsFalseForOthers) {
    if (::getuid() != 0) {
        GTEST_SKIP() << "only root can become somebody else";
    }
    EXPECT_EQ(InChild([] { return ::setuid(65'534) == 0 ? IsRootPrivileges() : 9; }), 0);
    EXPECT_EQ(InChild([] { return ::setuid(kUnknownUser) == 0 ? IsRootPrivileges() : 9; }), 0);
    // The real user counts, not the one whose rights are in force.
    EXPECT_EQ(InChild([] { return ::seteuid(65'534) == 0 ? IsRootPrivileges() : 9; }), 1);
}

TEST(ProcessIdToUsername, NamesTheRealUser) {
    const passwd* self = ::getpwuid(::getuid());
    ASSERT_NE(self, nullptr);
    char name[64];
    ASSERT_EQ(ProcessIdToUsername(::getpid(), name, sizeof name), 1);
    EXPECT_STREQ(name, self->pw_name);
}

TEST(ProcessIdToUsername, CutsToTheSize) {
    const std::string self = ::getpwuid(::getuid())->pw_name;
    char name[8] = "#######";
    ASSERT_EQ(ProcessIdToUsername(::getpid(), name, 3), 1);
    EXPECT_EQ(std::string(name), self.substr(0, 2));
    EXPECT_EQ(name[3], '#');
}

TEST(ProcessIdToUsername, FailsWithoutAProcess) {
    char name[64] = "#";
    EXPECT_EQ(ProcessIdToUsername(0, name, sizeof name), 0);
    EXPECT_EQ(ProcessIdToUsername(-1, name, sizeof name), 0);
    EXPECT_EQ(ProcessIdToUsername(0x7FFFFFFF, name, sizeof name), 0);
    EXPECT_EQ(ProcessIdToUsername(::getpid(), nullptr, sizeof name), 0);
    EXPECT_STREQ(name, "#");
}

TEST(ProcessIdToUsername, FailsForAUserWithoutAName) {
    if (::getuid() != 0) {
        GTEST_SKIP() << "only root can become a user without a name";
    }
    EXPECT_EQ(InChild([] {
                  if (::setuid(kUnknownUser) != 0) {
                      return 9;
                  }
                  char name[64];
                  return ProcessIdToUsername(::getpid(), name, sizeof name);
              }),
              0);
}

TEST(ProcessIdToUsername, TakesTheRealUserNotTheEffectiveOne) {
    if (::getuid() != 0) {
        GTEST_SKIP() << "only root can become somebody else";
    }
    EXPECT_EQ(InChild([] {
                  if (::seteuid(65'534) != 0) {
                      return 9;
                  }
                  char name[64];
                  return ProcessIdToUsername(::getpid(), name, sizeof name) == 1 &&
                                 std::strcmp(name, "root") == 0
                             ? 0
                             : 1;
              }),
              0);
}

}  // namespace
