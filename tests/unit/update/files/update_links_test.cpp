#include "update/files/update_links.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "common/file_descriptor.h"
#include "tests/unit/update/files/product_fixture.h"
#include "tests/unit/update/files/watched_allocations.h"

namespace {

using testing::ElementsAre;

constexpr char kNoHeader[] = "In CUpdate::ReadUpdLink(): Invalid UpdtHeader!!\n";

class UpdateLinks : public ProductFixture {
protected:
    // Reads `bytes` as an update link file into m_count and m_links.
    bool Read(const std::string& bytes) {
        WriteFile(m_path, bytes);
        return ReadPath();
    }

    bool ReadPath() {
        char** list = CUpdate::ReadUpdLink(&m_count, m_path.c_str());
        if (list == nullptr) {
            return false;
        }
        for (int index = 0; index < m_count; ++index) {
            m_links.emplace_back(list[index]);
        }
        CUpdate::FreeUpdtLink(list, m_count);
        return true;
    }

    std::string m_path = m_scratch / "updlink.dat";
    int m_count = 4711;
    std::vector<std::string> m_links;
};

TEST_F(UpdateLinks, AreTheTextsOfTheRecords) {
    // "http://a.b" and "ftp://c", each bit pattern rotated left by three.
    const std::string first = Hex("ffeeddcc 43a3a3 83d179790b7113") + std::string(1022, '\0');
    const std::string second = Hex("00000000 33a383d179791b") + std::string(1025, '\0');
    ASSERT_TRUE(Read(Hex("0bad0bad 0200") + first + second));
    EXPECT_EQ(m_count, 2);
    EXPECT_THAT(m_links, ElementsAre("http://a.b", "ftp://c"));
    EXPECT_EQ(Log(), "");
}

TEST_F(UpdateLinks, WhatFollowsThemCountsForNothing) {
    ASSERT_TRUE(Read(Hex("00000000 0100") + UpdateRecord("one") + UpdateRecord("two") + "three"));
    EXPECT_EQ(m_count, 1);
    EXPECT_THAT(m_links, ElementsAre("one"));
}

TEST_F(UpdateLinks, ReachToTheirTerminator) {
    ASSERT_TRUE(
        Read(Hex("00000000 0200") + UpdateRecord(std::string("one\0two", 7)) + UpdateRecord("")));
    EXPECT_THAT(m_links, ElementsAre("one", ""));
}

TEST_F(UpdateLinks, AreCopiedUpTo1023Bytes) {
    ASSERT_TRUE(Read(Hex("00000000 0400") + UpdateRecord(std::string(1022, 'a')) +
                     UpdateRecord(std::string(1023, 'b')) + UpdateRecord(std::string(1024, 'c')) +
                     UpdateRecord(std::string(1032, 'd'))));
    EXPECT_THAT(m_links, ElementsAre(std::string(1022, 'a'), std::string(1023, 'b'),
                                     std::string(1023, 'c'), std::string(1023, 'd')));
}

TEST_F(UpdateLinks, HaveRoomFor1024BytesWithZerosBehindTheText) {
    WriteFile(m_path, Hex("00000000 0100") + UpdateRecord(std::string("ab\0cd", 5)));
    char** list = CUpdate::ReadUpdLink(&m_count, m_path.c_str());
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(std::string(list[0], 1024), Padded("ab", 1024));
    CUpdate::FreeUpdtLink(list, m_count);
}

TEST_F(UpdateLinks, MayBeNone) {
    ASSERT_TRUE(Read(Hex("12345678 0000")));
    EXPECT_EQ(m_count, 0);
    EXPECT_THAT(m_links, ElementsAre());
    EXPECT_EQ(Log(), "");
}

TEST_F(UpdateLinks, MayBeMany) {
    std::string bytes = Hex("00000000 2c01");
    std::vector<std::string> expected;
    for (int index = 0; index < 300; ++index) {
        expected.push_back("http://" + std::to_string(index));
        bytes += UpdateRecord(expected.back());
    }
    ASSERT_TRUE(Read(bytes));
    EXPECT_EQ(m_count, 300);
    EXPECT_EQ(m_links, expected);
}

TEST_F(UpdateLinks, NeedTheWholeHead) {
    const std::string head = Hex("00000000 0000");
    std::string expectedLog;
    for (std::size_t size = 0; size < 6; ++size) {
        EXPECT_FALSE(Read(head.substr(0, size))) << size;
        expectedLog += kNoHeader;
        EXPECT_EQ(Log(), expectedLog) << size;
    }
    EXPECT_EQ(m_count, 4711);
}

TEST_F(UpdateLinks, AreAllThereOrNone) {
    const std::string three =
        UpdateRecord("http://one") + UpdateRecord("http://two") + UpdateRecord("http://three");
    for (const std::size_t size : {0U, 1U, 1035U, 1036U, 1037U, 2072U, 3107U}) {
        EXPECT_FALSE(Read(Hex("00000000 0300") + three.substr(0, size))) << size;
    }
    EXPECT_EQ(m_count, 4711);
    EXPECT_EQ(Log(), "");
    EXPECT_TRUE(Read(Hex("00000000 0300") + three));
}

TEST_F(UpdateLinks, CannotBeFewerThanNone) {
    for (const char* count : {"ffff", "0080", "feff"}) {
        EXPECT_FALSE(Read(Hex("00000000") + Hex(count) + UpdateRecord("one"))) << count;
    }
    EXPECT_EQ(m_count, 4711);
    EXPECT_EQ(Log(), "");
}

TEST_F(UpdateLinks, FailWithoutAWordWhenMemoryIsShort) {
    const std::string bytes =
        Hex("00000000 0300") + UpdateRecord("one") + UpdateRecord("two") + UpdateRecord("three");
    // The array and three buffers.
    for (int allowed = 0; allowed < 4; ++allowed) {
        WriteFile(m_path, bytes);
        AllowAllocations(allowed);
        char** list = CUpdate::ReadUpdLink(&m_count, m_path.c_str());
        AllowAllocations(-1);
        EXPECT_EQ(list, nullptr) << allowed;
    }
    EXPECT_EQ(m_count, 4711);
    EXPECT_EQ(Log(), "");
    AllowAllocations(4);
    const bool read = Read(bytes);
    AllowAllocations(-1);
    EXPECT_TRUE(read);
}

TEST_F(UpdateLinks, AFileThatCannotBeOpenedIsLogged) {
    EXPECT_FALSE(ReadPath());
    EXPECT_EQ(Log(), "In CUpdate::ReadUpdLink(): file (" + m_path + ") open Error!!\n");
    EXPECT_EQ(m_count, 4711);
}

TEST_F(UpdateLinks, APathOfAnyLengthIsLoggedWhole) {
    m_path = "/" + std::string(9'000, 'p');
    EXPECT_FALSE(ReadPath());
    EXPECT_EQ(Log(),
              "In CUpdate::ReadUpdLink(): file (/" + std::string(9'000, 'p') + ") open Error!!\n");
}

TEST_F(UpdateLinks, APathIsNoFormat) {
    m_path = m_scratch / "%s%n\xFF";
    EXPECT_FALSE(ReadPath());
    EXPECT_EQ(Log(),
              "In CUpdate::ReadUpdLink(): file (" + m_scratch.Path() + "%s%n\xFF) open Error!!\n");
}

TEST_F(UpdateLinks, NeedNoRightToWrite) {
    WriteFile(m_path, Hex("00000000 0100") + UpdateRecord("one"));
    ASSERT_EQ(::chmod(m_path.c_str(), 0444), 0);
    ASSERT_EQ(::chmod(m_scratch.Path().c_str(), 0755), 0);
    EXPECT_EQ(InChild([this] {
                  if (::geteuid() == 0 && ::seteuid(65'534) != 0) {
                      return 9;
                  }
                  return ReadPath() && m_links.at(0) == "one" ? 0 : 1;
              }),
              0);
}

TEST_F(UpdateLinks, DoNotWaitForAFifo) {
    ASSERT_EQ(::mkfifo(m_path.c_str(), 0600), 0);
    EXPECT_FALSE(ReadPath());
    // Nor for one with a writer that does not write.
    const common::FileDescriptor writer(::open(m_path.c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_TRUE(writer);
    EXPECT_FALSE(ReadPath());
    EXPECT_EQ(Log(), std::string(kNoHeader) + kNoHeader);
}

TEST_F(UpdateLinks, AFolderHasNoHead) {
    ASSERT_EQ(::mkdir(m_path.c_str(), 0700), 0);
    EXPECT_FALSE(ReadPath());
    EXPECT_EQ(Log(), kNoHeader);
}

TEST_F(UpdateLinks, FailForNullPointers) {
    WriteFile(m_path, Hex("00000000 0000"));
    EXPECT_EQ(CUpdate::ReadUpdLink(nullptr, m_path.c_str()), nullptr);
    EXPECT_EQ(CUpdate::ReadUpdLink(&m_count, nullptr), nullptr);
    EXPECT_EQ(m_count, 4711);
    EXPECT_EQ(Log(), "");
}

}  // namespace
