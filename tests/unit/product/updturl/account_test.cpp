#include "product/updturl/account.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <pwd.h>

// The list of users is this test's own: its getpwnam_r stands before that of the C library.

namespace {

int g_error = 0;
std::string g_missing;

}  // namespace

extern "C" int getpwnam_r(const char* name, passwd* entry, char* /*buffer*/, std::size_t /*size*/,
                          passwd** found) {
    *found = nullptr;
    if (name == g_missing) {
        return g_error;
    }
    entry->pw_uid = std::string(name) == "corvane" ? 901 : 902;
    entry->pw_gid = 903;
    *found = entry;
    return 0;
}

namespace updturl {
namespace {

std::string WhyNot(const std::string& missing, int error) {
    g_missing = missing;
    g_error = error;
    std::string why;
    const bool isFound = AccountsOfUpdate(why).has_value();
    return isFound ? "found" : why;
}

TEST(Accounts, AreThoseOfTheInstallerAndOfTheDownloader) {
    g_missing.clear();
    std::string why;
    const auto accounts = AccountsOfUpdate(why);
    ASSERT_TRUE(accounts);
    EXPECT_EQ(accounts->installer.name, "corvane");
    EXPECT_EQ(accounts->installer.uid, 901U);
    EXPECT_EQ(accounts->downloader.name, "corvane-fetch");
    EXPECT_EQ(accounts->downloader.uid, 902U);
    EXPECT_EQ(accounts->downloader.gid, 903U);
}

TEST(Accounts, AreNotThereWhenOneIsMissing) {
    for (const int error : {0, ENOENT, ESRCH}) {
        errno = EBUSY;  // of something else
        EXPECT_EQ(WhyNot("corvane", error), "there is no user corvane");
        EXPECT_EQ(WhyNot("corvane-fetch", error), "there is no user corvane-fetch");
    }
}

TEST(Accounts, AreNotThereWhenNobodyCanTell) {
    EXPECT_EQ(WhyNot("corvane", EIO), "the user corvane cannot be looked up: Input/output error");
    EXPECT_EQ(WhyNot("corvane-fetch", EMFILE),
              "the user corvane-fetch cannot be looked up: Too many open files");
}

}  // namespace
}  // namespace updturl
