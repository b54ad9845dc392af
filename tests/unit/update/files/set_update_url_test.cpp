#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <vector>

#include "tests/unit/update/files/product_fixture.h"
#include "update/files/admin_links.h"
#include "update/files/update_links.h"

namespace {

class SetUrl : public ProductFixture {
protected:
    std::string m_first = "http://one";
    std::string m_second = "http://two";
    char* m_list[2] = {m_first.data(), m_second.data()};
};

// A number of two bytes at an offset.
int NumberAt(const std::string& bytes, std::size_t offset) {
    return static_cast<unsigned char>(bytes.at(offset)) +
           256 * static_cast<unsigned char>(bytes.at(offset + 1));
}

// The instant that the record tells, read as local time.
std::time_t CreationTime(const std::string& record) {
    std::tm local{};
    local.tm_year = NumberAt(record, 2) - 1900;
    local.tm_mon = NumberAt(record, 4) - 1;
    local.tm_mday = NumberAt(record, 8);
    local.tm_hour = NumberAt(record, 10);
    local.tm_min = NumberAt(record, 12);
    local.tm_sec = NumberAt(record, 14);
    local.tm_isdst = -1;
    const std::time_t instant = std::mktime(&local);
    EXPECT_EQ(local.tm_wday, NumberAt(record, 6));
    EXPECT_LT(NumberAt(record, 16), 1000);
    return instant;
}

TEST_F(SetUrl, MakesTheFileWithANewRecord) {
    // Far from UTC, so that the two cannot be taken for each other.
    ::setenv("TZ", "TST-5:30", 1);
    ::tzset();
    const std::time_t before = std::time(nullptr);
    EXPECT_EQ(SetUpdateUrl(m_list, 2), 1);
    const std::time_t after = std::time(nullptr);

    const std::string bytes = Swapped(ReadFile(kAdminLinks));
    ASSERT_EQ(bytes.size(), 554U + 2 * 256U);
    EXPECT_EQ(bytes.substr(0, 2), Hex("0100"));
    const std::time_t created = CreationTime(bytes);
    EXPECT_GE(created, before);
    EXPECT_LE(created, after);
    ::setenv("TZ", "UTC", 1);
    ::tzset();
    EXPECT_EQ(bytes.substr(18, 10), Hex("1400 0000 3800 0000 0200"));
    EXPECT_EQ(bytes.substr(28, 526), std::string(526, '\0'));
    EXPECT_EQ(bytes.substr(554),
              Padded("http://one/update/0512", 256) + Padded("http://two/update/0512", 256));
    EXPECT_EQ(ModeOf(kAdminLinks), 0600U);
}

TEST_F(SetUrl, KeepsTheRecordOfTheFile) {
    const std::string front =
        Hex("0700 ea07 0b00 0600 1500 0d00 0e00 0f00 a602 1500 1600 1700 1800");
    const std::string reserved = Hex("a0a1a2a3a4a5a6a7a8a9aaabacad");
    WriteFile(kAdminLinks,
              Swapped(front + Hex("0100") + reserved + Padded("/pub", 256) + Padded("", 256)) +
                  AdminEntry("old"));
    EXPECT_EQ(SetUpdateUrl(m_list, 2), 1);
    EXPECT_EQ(ReadFile(kAdminLinks), Swapped(front + Hex("0200") + reserved +
                                             Padded("/pub/update/0512", 256) + Padded("", 256)) +
                                         AdminEntry("http://one/update/0512") +
                                         AdminEntry("http://two/update/0512"));

    // Once more: the folder text has the release already.
    EXPECT_EQ(SetUpdateUrl(m_list, 1), 1);
    EXPECT_EQ(ReadFile(kAdminLinks), Swapped(front + Hex("0100") + reserved +
                                             Padded("/pub/update/0512", 256) + Padded("", 256)) +
                                         AdminEntry("http://one/update/0512") +
                                         AdminEntry("http://two/update/0512"));
}

TEST_F(SetUrl, ReplacesFiveAddressesByTwo) {
    std::string bytes = Swapped(std::string(26, '\0') + Hex("0500") + std::string(526, '\0'));
    for (const char* old : {"old1", "old2", "old3", "old4", "old5"}) {
        bytes += AdminEntry(old);
    }
    WriteFile(kAdminLinks, bytes);
    EXPECT_EQ(SetUpdateUrl(m_list, 2), 1);
    EXPECT_EQ(ReadFile(kAdminLinks).size(), 554U + 5 * 256U);
    EXPECT_EQ(ReadFile(kAdminLinks).substr(554 + 2 * 256), bytes.substr(554 + 2 * 256));
    EXPECT_EQ(ToHex(ReadFile(kAdminLinks).substr(26, 2)), "2000");

    int count = 0;
    char** list = CUpdate::GetURLsForAdmin(&count);
    ASSERT_NE(list, nullptr);
    ASSERT_EQ(count, 2);
    EXPECT_STREQ(list[0], "http://one/update/0512");
    EXPECT_STREQ(list[1], "http://two/update/0512");
    FreeMemory(list, 2);
}

// Nothing of a record whose addresses could not be read is kept.
TEST_F(SetUrl, StartsAfreshWhenTheFileIsCutShort) {
    WriteFile(kAdminLinks,
              Swapped(Hex("0700") + std::string(24, 'x') + Hex("0200") + std::string(526, 'y')) +
                  AdminEntry("old"));
    EXPECT_EQ(SetUpdateUrl(m_list, 0), 1);
    const std::string bytes = Swapped(ReadFile(kAdminLinks));
    EXPECT_EQ(bytes.substr(0, 2), Hex("0100"));
    EXPECT_EQ(bytes.substr(18, 10), Hex("1400 0000 3800 0000 0000"));
    EXPECT_EQ(bytes.substr(28, 526), std::string(526, '\0'));
    EXPECT_EQ(bytes.substr(554), Padded("old", 256));
}

TEST_F(SetUrl, FailsWithoutAList) {
    EXPECT_EQ(SetUpdateUrl(nullptr, 0), 0);
    EXPECT_EQ(SetUpdateUrl(nullptr, 2), 0);
    EXPECT_FALSE(Exists(kAdminLinks));
}

TEST_F(SetUrl, FailsWithoutTheProductDirectory) {
    std::filesystem::remove_all("/usr/lib/Corvane");
    EXPECT_EQ(SetUpdateUrl(m_list, 2), 0);
    EXPECT_FALSE(Exists("/usr/lib/Corvane"));
}

TEST_F(SetUrl, DoesNotTellAFailedWrite) {
    std::filesystem::remove(kVersionFile);
    EXPECT_EQ(SetUpdateUrl(m_list, 2), 1);
    EXPECT_FALSE(Exists(kAdminLinks));
}

TEST_F(SetUrl, DoesNotTellAFullDisk) {
    if (!HasPrivateRoot()) {
        GTEST_SKIP() << "disks are only mounted in a private root";
    }
    const TinyDisk disk(kProductFolder, "8k");
    if (!disk.IsMounted()) {
        GTEST_SKIP() << "no right to mount a disk to fill";
    }
    SetVersion("0500 0c00");  // one of the two pages
    std::vector<char*> list(20, m_first.data());
    EXPECT_EQ(SetUpdateUrl(list.data(), 20), 1);
    EXPECT_EQ(std::filesystem::file_size(kAdminLinks), 4096U);
}

TEST_F(SetUrl, LogsNothing) {
    EXPECT_EQ(SetUpdateUrl(m_list, 2), 1);
    std::filesystem::remove(kVersionFile);
    EXPECT_EQ(SetUpdateUrl(m_list, 2), 1);
    EXPECT_FALSE(Exists(kLog));
}

}  // namespace
