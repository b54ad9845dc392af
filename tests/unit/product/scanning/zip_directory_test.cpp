#include "product/scanning/zip_directory.h"

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;
using scanning::CheckZip;
using scanning::IsZipMember;

std::string Number(std::uint64_t value, int bytes) {
    std::string out;
    for (int i = 0; i < bytes; ++i) {
        out += static_cast<char>(value & 0xffU);
        value >>= 8U;
    }
    return out;
}

// A stored member of one byte's name.
std::string Member(char name, const std::string& contents) {
    return "PK\x03\x04"s + Number(20, 2) + Number(0, 2 + 2 + 4 + 4) + Number(contents.size(), 4) +
           Number(contents.size(), 4) + Number(1, 2) + Number(0, 2) + name + contents;
}

std::string Entry(char name, std::size_t size, std::size_t offset) {
    return "PK\x01\x02"s + Number(20, 4) + Number(0, 2 + 2 + 4 + 4) + Number(size, 4) +
           Number(size, 4) + Number(1, 2) + Number(0, 2 + 2 + 2 + 2 + 4) + Number(offset, 4) + name;
}

std::string End(std::size_t entries, std::size_t size, std::size_t offset) {
    return "PK\x05\x06"s + Number(0, 4) + Number(entries, 2) + Number(entries, 2) +
           Number(size, 4) + Number(offset, 4) + Number(0, 2);
}

std::string TwoMembers() {
    const auto members = Member('a', "first") + Member('b', "second");
    const auto listing = Entry('a', 5, 0) + Entry('b', 6, 36);
    return members + listing + End(2, listing.size(), members.size());
}

TEST(ZipDirectoryTest, AWholeFileIsWhole) {
    EXPECT_EQ(CheckZip(TwoMembers()), "");
    EXPECT_EQ(CheckZip(End(0, 0, 0)), "");
    // Behind a program, offsets may still count from the first member.
    EXPECT_EQ(CheckZip("program" + TwoMembers()), "");
    EXPECT_EQ(CheckZip(TwoMembers() + "trailing bytes"), "");
}

TEST(ZipDirectoryTest, EachCutIsNoticed) {
    const auto whole = TwoMembers();
    for (std::size_t size = 4; size < whole.size(); ++size) {
        EXPECT_NE(CheckZip(whole.substr(0, size)), "") << size;
    }
    // What is missing in the middle or at the front is missed as well.
    EXPECT_EQ(CheckZip(whole.substr(0, 30) + whole.substr(40)), "archive cut short");
    EXPECT_EQ(CheckZip(whole.substr(10)), "archive cut short");
}

TEST(ZipDirectoryTest, AMemberOutsideTheListingIsNoticed) {
    const auto hidden = Member('h', "hidden");
    EXPECT_EQ(CheckZip(hidden + TwoMembers()), "a member is not in the listing");
    const auto listing = Entry('a', 5, 0);
    const auto between = Member('a', "first") + hidden;
    EXPECT_EQ(CheckZip(between + listing + End(1, listing.size(), between.size())),
              "a member is not in the listing");
    // In the contents of a member, another zip file is no such thing.
    const auto nested = Member('n', TwoMembers());
    const auto entry = Entry('n', TwoMembers().size(), 0);
    EXPECT_EQ(CheckZip(nested + entry + End(1, entry.size(), nested.size())), "");
}

TEST(ZipDirectoryTest, APartOfASplitFileIsCutShort) {
    auto whole = TwoMembers();
    whole[whole.size() - 18] = 1;
    EXPECT_EQ(CheckZip(whole), "archive cut short");
}

TEST(ZipDirectoryTest, LargeNumbersStandInFieldsOfTheirOwn) {
    const auto member = Member('a', "first");
    const auto entry = "PK\x01\x02"s + Number(45, 4) + Number(0, 2 + 2 + 4 + 4) +
                       Number(0xffffffff, 4) + Number(0xffffffff, 4) + Number(1, 2) +
                       Number(28, 2) + Number(0, 2 + 2 + 2 + 4) + Number(0xffffffff, 4) + 'a' +
                       Number(1, 2) + Number(24, 2) + Number(5, 8) + Number(5, 8) + Number(0, 8);
    const auto large = "PK\x06\x06"s + Number(44, 8) + Number(45, 4) + Number(0, 8) + Number(1, 8) +
                       Number(1, 8) + Number(entry.size(), 8) + Number(member.size(), 8);
    const auto place =
        "PK\x06\x07"s + Number(0, 4) + Number(member.size() + entry.size(), 8) + Number(1, 4);
    const auto end = End(0xffff, 0xffffffff, 0xffffffff);
    EXPECT_EQ(CheckZip(member + entry + large + place + end), "");
    EXPECT_NE(CheckZip(member.substr(0, 33) + entry + large + place + end), "");
}

TEST(ZipDirectoryTest, AHeadHasToBePlausible) {
    const auto member = Member('a', "first");
    EXPECT_TRUE(IsZipMember(member, 0));
    EXPECT_TRUE(IsZipMember("xx" + member, 2));
    EXPECT_FALSE(IsZipMember(member, 1));
    EXPECT_FALSE(IsZipMember(member.substr(0, 30), 0));
    EXPECT_FALSE(IsZipMember(Member('\n', "first"), 0));
    auto odd = member;
    odd[8] = 50;
    EXPECT_FALSE(IsZipMember(odd, 0));
}

// A member "xbee" within other data, with ten bytes of contents behind its head.
std::string WithHead(std::uint64_t flags, std::uint64_t method, std::uint64_t packed,
                     std::uint64_t size) {
    return "some data PK\x03\x04"s + Number(20, 2) + Number(flags, 2) + Number(method, 2) +
           Number(0, 4 + 4) + Number(packed, 4) + Number(size, 4) + Number(4, 2) + Number(0, 2) +
           "xbee" + "0123456789";
}

// What is passed over, as letters.
std::string PassedOver(const std::string& bytes) {
    const auto found = scanning::FindMembersPassedOver(bytes);
    return std::string(found.encrypted ? "e" : "") + (found.packedOtherwise ? "o" : "") +
           (found.cutShort ? "c" : "");
}

TEST(ZipDirectoryTest, WhatIsPassedOverWithinOtherDataIsSeen) {
    EXPECT_EQ(PassedOver("nothing at all"), "");
    for (const std::uint64_t method : {0U, 6U, 8U, 9U, 12U}) {
        EXPECT_EQ(PassedOver(WithHead(0, method, 10, 100)), "") << method;
    }
    for (const std::uint64_t method : {1U, 5U, 7U, 10U, 14U, 93U, 95U, 98U, 99U}) {
        EXPECT_EQ(PassedOver(WithHead(0, method, 10, 100)), "o") << method;
    }
    EXPECT_EQ(PassedOver(WithHead(1, 8, 10, 100)), "e");
    EXPECT_EQ(PassedOver(WithHead(0, 8, 11, 100)), "c");
    EXPECT_EQ(PassedOver(WithHead(0, 8, 0xffffffff, 100)), "") << "its size is elsewhere";
    EXPECT_EQ(PassedOver(WithHead(8, 8, 11, 0)), "") << "its size comes behind it";
    EXPECT_EQ(PassedOver(WithHead(9, 14, 0, 0)), "eo");
    EXPECT_EQ(PassedOver(WithHead(1, 14, 11, 5)), "") << "too small for a find";
    EXPECT_EQ(PassedOver(WithHead(0, 30, 11, 100)), "") << "no member";
    // One after the other.
    EXPECT_EQ(PassedOver(WithHead(0, 8, 10, 100) + WithHead(1, 8, 10, 100)), "e");
    EXPECT_EQ(PassedOver(WithHead(1, 8, 10, 100) + WithHead(0, 14, 11, 100)), "eoc");
}

}  // namespace
