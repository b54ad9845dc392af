#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "common/file_descriptor.h"
#include "tests/unit/update/files/product_fixture.h"
#include "tests/unit/update/files/watched_allocations.h"
#include "update/files/admin_links.h"
#include "update/files/update_links.h"

namespace {

using testing::ElementsAre;

// A record with a value of its own in every field, and its count as two hexadecimal bytes.
std::string Head(const char* count) {
    return Swapped(Hex("0100 ea07 0b00 0600 1500 0d00 0e00 0f00 a602 1400 0100 3800 0200") +
                   Hex(count) + Hex("a0a1a2a3a4a5a6a7a8a9aaabacad") + Padded("/pub/first", 256) +
                   Padded("/pub/second", 256));
}

class AdminRead : public ProductFixture {
protected:
    bool Read(const std::string& bytes) {
        WriteFile(m_path, bytes);
        return ReadPath();
    }

    bool ReadPath() {
        if (ReadUpdateInfo(m_path.c_str(), &m_record, &m_count, &m_list, m_error) == 0) {
            return false;
        }
        m_links.clear();
        for (int index = 0; index < m_count; ++index) {
            m_links.emplace_back(m_list[index]);
        }
        m_listWasNull = m_list == nullptr;
        FreeMemory(m_list, m_count);
        m_list = &m_nobodys;
        return true;
    }

    // As it was before a read that failed.
    [[nodiscard]] bool ListIsUntouched() const { return m_count == 4711 && m_list == &m_nobodys; }

    std::string m_path = m_scratch / "admnlink.dat";
    tagADMNURLRECORD m_record{};
    unsigned short m_count = 4711;
    char* m_nobodys = nullptr;
    char** m_list = &m_nobodys;
    bool m_listWasNull = false;
    unsigned int m_error = 99;
    std::vector<std::string> m_links;
};

TEST_F(AdminRead, GivesTheRecordAndTheAddresses) {
    // "http://a" and "/b", the halves of each byte changed.
    ASSERT_TRUE(Read(Head("0200") + Hex("8647470 7a3f2f216") + std::string(248, '\0') +
                     Hex("f226") + std::string(254, '\0')));
    EXPECT_EQ(m_record.kind, 1);
    EXPECT_EQ(m_record.created.year, 2026);
    EXPECT_EQ(m_record.created.month, 11);
    EXPECT_EQ(m_record.created.dayOfWeek, 6);
    EXPECT_EQ(m_record.created.day, 21);
    EXPECT_EQ(m_record.created.hour, 13);
    EXPECT_EQ(m_record.created.minute, 14);
    EXPECT_EQ(m_record.created.second, 15);
    EXPECT_EQ(m_record.created.milliseconds, 678);
    EXPECT_EQ(m_record.value18, 20);
    EXPECT_EQ(m_record.value20, 1);
    EXPECT_EQ(m_record.value22, 56);
    EXPECT_EQ(m_record.value24, 2);
    EXPECT_EQ(m_record.addressCount, 2);
    EXPECT_EQ(m_record.reserved[0], 0xA0);
    EXPECT_EQ(m_record.reserved[13], 0xAD);
    EXPECT_STREQ(m_record.folders[0], "/pub/first");
    EXPECT_STREQ(m_record.folders[1], "/pub/second");
    EXPECT_EQ(m_count, 2);
    EXPECT_THAT(m_links, ElementsAre("http://a", "/b"));
    EXPECT_EQ(m_error, 0U);
    EXPECT_EQ(Log(), "");
}

TEST_F(AdminRead, LeavesTheFileAsItIs) {
    const std::string bytes = Head("0100") + AdminEntry("one");
    ASSERT_TRUE(Read(bytes));
    EXPECT_EQ(ReadFile(m_path), bytes);
}

TEST_F(AdminRead, IgnoresWhatIsBehindTheLastAddress) {
    ASSERT_TRUE(Read(Head("0100") + AdminEntry("one") + AdminEntry("two") + "three"));
    EXPECT_THAT(m_links, ElementsAre("one"));
}

TEST_F(AdminRead, GivesNoListWithoutAddresses) {
    ASSERT_TRUE(Read(Head("0000") + AdminEntry("old")));
    EXPECT_EQ(m_count, 0);
    EXPECT_TRUE(m_listWasNull);
    EXPECT_EQ(m_error, 0U);
}

TEST_F(AdminRead, EndsATextAtItsTerminatorOrAt256Bytes) {
    ASSERT_TRUE(Read(Head("0400") + AdminEntry("") + AdminEntry(std::string("a\0b", 3)) +
                     AdminEntry(std::string(255, 'c')) + AdminEntry(std::string(256, 'd'))));
    EXPECT_THAT(m_links, ElementsAre("", "a", std::string(255, 'c'), std::string(256, 'd')));
}

TEST_F(AdminRead, TakesTheCountForUnsigned) {
    std::string bytes = Head("0180");
    for (int index = 0; index < 0x8001; ++index) {
        bytes += AdminEntry(index == 0x8000 ? "last" : "x");
    }
    ASSERT_TRUE(Read(bytes));
    EXPECT_EQ(m_count, 0x8001);
    EXPECT_EQ(m_links.back(), "last");
}

TEST_F(AdminRead, NeedsTheWholeRecord) {
    const std::string head = Head("0000");
    for (const std::size_t size : {0U, 1U, 26U, 553U}) {
        m_error = 99;
        EXPECT_FALSE(Read(head.substr(0, size))) << size;
        EXPECT_EQ(m_error, 0U) << size;
    }
    EXPECT_TRUE(ListIsUntouched());
    EXPECT_EQ(m_record.kind, 0);
}

TEST_F(AdminRead, NeedsEveryAddress) {
    const std::string three = AdminEntry("one") + AdminEntry("two") + AdminEntry("three");
    for (const std::size_t size : {0U, 1U, 255U, 256U, 512U, 767U}) {
        EXPECT_FALSE(Read(Head("0300") + three.substr(0, size))) << size;
    }
    EXPECT_TRUE(ListIsUntouched());
    EXPECT_EQ(m_record.addressCount, 3);
    EXPECT_TRUE(Read(Head("0300") + three));
}

TEST_F(AdminRead, HasRoomForEachAddressAndItsTerminatorOnly) {
    for (const std::size_t length : {0U, 1U, 10U, 255U, 256U}) {
        ASSERT_TRUE(Read(Head("0100") + AdminEntry(std::string(length, 'a'))));
        EXPECT_EQ(LastAllocationSize(), length + 1);
    }
}

TEST_F(AdminRead, FailsWhenMemoryIsShort) {
    WriteFile(m_path, Head("0200") + AdminEntry("one") + AdminEntry("two"));
    // The array and two texts.
    for (int allowed = 0; allowed < 3; ++allowed) {
        AllowAllocations(allowed);
        const bool read = ReadPath();
        AllowAllocations(-1);
        EXPECT_FALSE(read) << allowed;
    }
    EXPECT_TRUE(ListIsUntouched());
    AllowAllocations(3);
    const bool read = ReadPath();
    AllowAllocations(-1);
    EXPECT_TRUE(read);
}

TEST_F(AdminRead, FailsForNullPointersAndLeavesTheError) {
    WriteFile(m_path, Head("0000"));
    EXPECT_EQ(ReadUpdateInfo(nullptr, &m_record, &m_count, &m_list, m_error), 0);
    EXPECT_EQ(ReadUpdateInfo(m_path.c_str(), nullptr, &m_count, &m_list, m_error), 0);
    EXPECT_EQ(ReadUpdateInfo(m_path.c_str(), &m_record, nullptr, &m_list, m_error), 0);
    EXPECT_EQ(ReadUpdateInfo(m_path.c_str(), &m_record, &m_count, nullptr, m_error), 0);
    EXPECT_EQ(m_error, 99U);
    EXPECT_TRUE(ListIsUntouched());
}

TEST_F(AdminRead, FailsWithoutTheFile) {
    EXPECT_FALSE(ReadPath());
    EXPECT_EQ(m_error, 0U);
    EXPECT_FALSE(Exists(m_path));
}

TEST_F(AdminRead, NeedsTheRightToWriteToo) {
    WriteFile(m_path, Head("0000"));
    ASSERT_EQ(::chmod(m_scratch.Path().c_str(), 0755), 0);
    const auto readAsUser = [this] {
        return InChild([this] {
            if (::geteuid() == 0 && ::seteuid(65'534) != 0) {
                return 9;
            }
            return ReadPath() ? 1 : 0;
        });
    };
    ASSERT_EQ(::chmod(m_path.c_str(), 0444), 0);
    EXPECT_EQ(readAsUser(), 0);
    ASSERT_EQ(::chmod(m_path.c_str(), 0222), 0);
    EXPECT_EQ(readAsUser(), 0);
    ASSERT_EQ(::chmod(m_path.c_str(), 0666), 0);
    EXPECT_EQ(readAsUser(), 1);
}

TEST_F(AdminRead, DoesNotWaitForAFifo) {
    ASSERT_EQ(::mkfifo(m_path.c_str(), 0600), 0);
    EXPECT_FALSE(ReadPath());
}

class AdminUrls : public AdminRead {
protected:
    // The list of the fixed place, null when `wasNull` is set.
    std::vector<std::string> Get(bool& wasNull) {
        char** list = CUpdate::GetURLsForAdmin(&m_urlCount);
        wasNull = list == nullptr;
        std::vector<std::string> urls;
        for (int index = 0; !wasNull && index < m_urlCount; ++index) {
            urls.emplace_back(list[index]);
        }
        CUpdate::FreeUpdtLink(list, m_urlCount);
        return urls;
    }

    int m_urlCount = 4711;
};

TEST_F(AdminUrls, AreThoseOfTheProductDirectory) {
    WriteFile(kAdminLinks, Head("0200") + AdminEntry("http://one/update/0512") + AdminEntry("two"));
    bool wasNull = true;
    EXPECT_THAT(Get(wasNull), ElementsAre("http://one/update/0512", "two"));
    EXPECT_EQ(m_urlCount, 2);
    EXPECT_EQ(Log(), "");
}

TEST_F(AdminUrls, AreNoListWhenThereAreNone) {
    WriteFile(kAdminLinks, Head("0000"));
    bool wasNull = false;
    EXPECT_THAT(Get(wasNull), ElementsAre());
    EXPECT_TRUE(wasNull);
    EXPECT_EQ(m_urlCount, 0);
    EXPECT_EQ(Log(), "");
}

TEST_F(AdminUrls, AMissingFileIsLogged) {
    bool wasNull = false;
    EXPECT_THAT(Get(wasNull), ElementsAre());
    EXPECT_TRUE(wasNull);
    EXPECT_EQ(m_urlCount, 4711);
    EXPECT_EQ(Log(),
              "In CUpdate::GetURLsForAdmin:ReadUpdateInfo() Failed. "
              "Error(No such file or directory)\n");
}

// With no word on an error that was there before.
TEST_F(AdminUrls, AShortFileIsLogged) {
    WriteFile(kAdminLinks, Head("0100"));
    errno = ENOTBLK;
    EXPECT_EQ(CUpdate::GetURLsForAdmin(&m_urlCount), nullptr);
    EXPECT_EQ(m_urlCount, 4711);
    EXPECT_EQ(Log(), "In CUpdate::GetURLsForAdmin:ReadUpdateInfo() Failed. Error(Success)\n");
}

TEST_F(AdminUrls, ShortMemoryIsLogged) {
    WriteFile(kAdminLinks, Head("0100") + AdminEntry("one"));
    AllowAllocations(1);
    char** list = CUpdate::GetURLsForAdmin(&m_urlCount);
    AllowAllocations(-1);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(Log(),
              "In CUpdate::GetURLsForAdmin:ReadUpdateInfo() Failed. "
              "Error(Cannot allocate memory)\n");
}

TEST_F(AdminUrls, AFolderInTheFilesPlaceIsLogged) {
    std::filesystem::create_directory(kAdminLinks);
    EXPECT_EQ(CUpdate::GetURLsForAdmin(&m_urlCount), nullptr);
    EXPECT_EQ(Log(),
              "In CUpdate::GetURLsForAdmin:ReadUpdateInfo() Failed. Error(Is a directory)\n");
}

TEST_F(AdminUrls, FailForANullPointer) {
    WriteFile(kAdminLinks, Head("0000"));
    EXPECT_EQ(CUpdate::GetURLsForAdmin(nullptr), nullptr);
    EXPECT_EQ(Log(), "");
}

}  // namespace
