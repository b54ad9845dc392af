#include "update/files/address_list.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <string>

#include "tests/unit/update/files/watched_allocations.h"
#include "update/files/update_links.h"

namespace {

// What is not freed shows at the end, what is freed twice under the address sanitizer.
class AddressLists : public testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(LiveAllocations(), 0U); }
};

class AddressListTest : public AddressLists {};
class FreeingAList : public AddressLists {};

char** MakeList(std::size_t capacity, std::size_t filled) {
    update::AddressList list;
    EXPECT_TRUE(list.Reserve(capacity));
    for (std::size_t index = 0; index < filled; ++index) {
        EXPECT_TRUE(list.Add("address", 8));
    }
    return list.Release();
}

TEST_F(AddressListTest, GivesItsTextsAway) {
    update::AddressList list;
    ASSERT_TRUE(list.Reserve(2));
    ASSERT_TRUE(list.Add("one", 8));
    ASSERT_TRUE(list.Add("", 1));
    EXPECT_EQ(list.Size(), 2U);
    char** entries = list.Release();
    EXPECT_EQ(std::string(entries[0], 8), std::string("one\0\0\0\0\0", 8));
    EXPECT_STREQ(entries[1], "");
    EXPECT_EQ(list.Size(), 0U);
    EXPECT_EQ(list.Release(), nullptr);
    EXPECT_FALSE(list.Add("three", 8));
    FreeMemory(entries, 2);
}

TEST_F(AddressListTest, CutsToTheBuffer) {
    update::AddressList list;
    ASSERT_TRUE(list.Reserve(1));
    ASSERT_TRUE(list.Add("12345678", 8));
    char** entries = list.Release();
    EXPECT_STREQ(entries[0], "1234567");
    FreeMemory(entries, 1);
}

TEST_F(AddressListTest, HoldsNoMoreThanItHasRoomFor) {
    update::AddressList list;
    EXPECT_FALSE(list.Add("before", 8));
    ASSERT_TRUE(list.Reserve(1));
    EXPECT_TRUE(list.Add("one", 8));
    EXPECT_FALSE(list.Add("two", 8));
    EXPECT_EQ(list.Size(), 1U);
}

TEST_F(AddressListTest, IsNotNullWhenItIsEmpty) {
    char** entries = MakeList(0, 0);
    EXPECT_NE(entries, nullptr);
    FreeMemory(entries, 0);
}

TEST_F(AddressListTest, StartsAfreshWithEachReserve) {
    update::AddressList list;
    ASSERT_TRUE(list.Reserve(2));
    ASSERT_TRUE(list.Add("one", 8));
    ASSERT_TRUE(list.Reserve(1));
    EXPECT_EQ(list.Size(), 0U);
    EXPECT_TRUE(list.Add("two", 8));
}

TEST_F(AddressListTest, FailsWithoutMemory) {
    update::AddressList list;
    AllowAllocations(0);
    const bool reserved = list.Reserve(2);
    AllowAllocations(-1);
    EXPECT_FALSE(reserved);
    EXPECT_FALSE(list.Add("one", 8));

    ASSERT_TRUE(list.Reserve(2));
    AllowAllocations(0);
    const bool added = list.Add("one", 8);
    AllowAllocations(-1);
    EXPECT_FALSE(added);
    EXPECT_EQ(list.Size(), 0U);
}

TEST_F(FreeingAList, PassesOverNullEntries) {
    FreeMemory(MakeList(3, 1), 3);
    CUpdate::FreeUpdtLink(MakeList(3, 1), 3);
}

TEST_F(FreeingAList, OfNothingDoesNothing) {
    FreeMemory(nullptr, 3);
    CUpdate::FreeUpdtLink(nullptr, 3);
    CUpdate::FreeUpdtLink(nullptr, -3);
}

TEST_F(FreeingAList, WithoutACountFreesTheArrayAlone) {
    char** entries = MakeList(1, 1);
    char* kept = entries[0];
    FreeMemory(entries, 0);
    EXPECT_STREQ(kept, "address");
    std::free(kept);
    for (const int count : {0, -1, -2'147'483'647 - 1}) {
        entries = MakeList(1, 1);
        kept = entries[0];
        CUpdate::FreeUpdtLink(entries, count);
        EXPECT_STREQ(kept, "address");
        std::free(kept);
    }
}

}  // namespace
