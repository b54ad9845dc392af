#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "common/users.h"
#include "tests/support/scratch.h"

namespace {

constexpr char kRecords[] = "/var/run/utmp";

// One login record of 384 bytes: the line stands at 8 (32 bytes), the user at 44 (32 bytes).
std::string Record(const std::string& line, const std::string& user) {
    std::string record(384, '\0');
    record.replace(8, line.size(), line);
    record.replace(44, user.size(), user);
    return record;
}

class LoginRecords : public testing::Test {
protected:
    void SetUp() override {
        if (!HasPrivateRoot()) {
            GTEST_SKIP() << "the login records are only replaced in a private root";
        }
        ::unlink(kRecords);
        WriteFile(kRecords, "x");
        if (ReadFile(kRecords) != "x") {
            GTEST_SKIP() << "no right to replace the login records";
        }
    }
    void TearDown() override {
        if (HasPrivateRoot()) {
            ::unlink(kRecords);
        }
    }

    char m_name[64] = "untouched";
};

TEST_F(LoginRecords, GiveTheFirstUserWithALine) {
    WriteFile(kRecords, Record("", "nobody") + Record("tty1", "") + Record("~", "reboot") +
                            Record("~~", "runlevel") + Record("tty2", "alice") +
                            Record("tty3", "bob"));
    EXPECT_EQ(GetLoggedInUsername(m_name, sizeof m_name), 1);
    EXPECT_STREQ(m_name, "alice");
}

TEST_F(LoginRecords, LeaveTheBufferWhenNobodyQualifies) {
    WriteFile(kRecords, Record("~", "reboot") + Record("", "nobody"));
    EXPECT_EQ(GetLoggedInUsername(m_name, sizeof m_name), 1);
    EXPECT_STREQ(m_name, "untouched");
    WriteFile(kRecords, "");
    EXPECT_EQ(GetLoggedInUsername(m_name, sizeof m_name), 1);
    EXPECT_STREQ(m_name, "untouched");
}

TEST_F(LoginRecords, PassOverATornLastRecord) {
    WriteFile(kRecords, Record("~", "reboot") + Record("tty1", "alice").substr(0, 383));
    EXPECT_EQ(GetLoggedInUsername(m_name, sizeof m_name), 1);
    EXPECT_STREQ(m_name, "untouched");
}

TEST_F(LoginRecords, FillTheirFieldsWithoutATerminator) {
    WriteFile(kRecords, Record(std::string(32, 'l'), std::string(32, 'u')));
    EXPECT_EQ(GetLoggedInUsername(m_name, sizeof m_name), 1);
    EXPECT_EQ(std::string(m_name), std::string(32, 'u'));
}

TEST_F(LoginRecords, AreCutToTheSize) {
    WriteFile(kRecords, Record("tty1", "alice"));
    EXPECT_EQ(GetLoggedInUsername(m_name, 4), 1);
    EXPECT_STREQ(m_name, "ali");
    EXPECT_EQ(m_name[4], 'u');
    EXPECT_EQ(GetLoggedInUsername(m_name, 0), 1);
    EXPECT_STREQ(m_name, "ali");
}

TEST_F(LoginRecords, FailWhenTheyCannotBeRead) {
    EXPECT_EQ(GetLoggedInUsername(nullptr, 10), 0);
    ::unlink(kRecords);
    EXPECT_EQ(GetLoggedInUsername(m_name, sizeof m_name), 0);
    ASSERT_EQ(::mkdir(kRecords, 0755), 0);
    EXPECT_EQ(GetLoggedInUsername(m_name, sizeof m_name), 0);
    ASSERT_EQ(::rmdir(kRecords), 0);
    EXPECT_STREQ(m_name, "untouched");
}

class UserNames : public testing::Test {
protected:
    void SetUp() override {
        if (!HasPrivateRoot() || ::getuid() != 0) {
            GTEST_SKIP() << "the user database is only replaced in a private root, as root";
        }
        m_before = ReadFile(kUsers);
    }
    void TearDown() override {
        if (!m_before.empty()) {
            WriteFile(kUsers, m_before);
        }
    }

    static constexpr char kUsers[] = "/etc/passwd";
    std::string m_before;
};

TEST_F(UserNames, RootIsWhoIsCalledRoot) {
    WriteFile(kUsers,
              "toor:x:0:0::/root:/bin/sh\n"
              "root:x:12345:12345::/:/bin/sh\n");
    EXPECT_EQ(InChild([] { return IsRootPrivileges(); }), 0);
    EXPECT_EQ(InChild([] { return ::setuid(12345) == 0 ? IsRootPrivileges() : 9; }), 1);
}

TEST_F(UserNames, ALongUserRecordIsRead) {
    WriteFile(kUsers, "root:x:0:0:" + std::string(5000, 'g') + ":/root:/bin/sh\n");
    EXPECT_EQ(InChild([] { return IsRootPrivileges(); }), 1);
}

}  // namespace
