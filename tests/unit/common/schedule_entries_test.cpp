// The growable arrays of the scheduler's records: what is in them, who frees what.

#include "common/schedule_entries.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "common/text_field.h"

namespace {

std::vector<std::string> Paths(const tagSCHEDULE_SCAN_ENTRY& entry) {
    std::vector<std::string> paths;
    for (const tagSCAN_ITEM& item : common::FoldersOf(entry)) {
        paths.emplace_back(common::FieldText(item.path));
    }
    return paths;
}

tagSCHEDULE_SCAN_ENTRY Named(const std::string& name) {
    tagSCHEDULE_SCAN_ENTRY entry{};
    common::CopyToField(entry.name, name);
    return entry;
}

TEST(ScheduleEntries, FoldersAreKeptInTheirOrderAndTwiceIfAddedTwice) {
    common::OwnedScheduleEntry entry;
    EXPECT_TRUE(common::FoldersOf(entry.record).empty());
    std::vector<std::string> added;
    for (int i = 0; i < 100; ++i) {
        added.push_back("/folder" + std::to_string(i / 2));
        EXPECT_TRUE(common::AddFolder(entry.record, added.back()));
        EXPECT_EQ(Paths(entry.record), added);
    }
    const auto room =
        reinterpret_cast<std::uintptr_t>(static_cast<void*>(entry.record.folders.capacity)) -
        reinterpret_cast<std::uintptr_t>(static_cast<void*>(entry.record.folders.begin));
    EXPECT_GE(room, 100U * 1024U);
    EXPECT_EQ(room % 1024U, 0U);
}

TEST(ScheduleEntries, AFolderFillsItsFieldWithZeros) {
    common::OwnedScheduleEntry entry;
    EXPECT_TRUE(common::AddFolder(entry.record, "/home"));
    const tagSCAN_ITEM item = common::FoldersOf(entry.record)[0];
    EXPECT_EQ(std::string(item.path, sizeof item.path),
              std::string("/home") + std::string(1019, '\0'));
}

TEST(ScheduleEntries, APathThatDoesNotFitIsNotCut) {
    common::OwnedScheduleEntry entry;
    EXPECT_FALSE(common::AddFolder(entry.record, std::string(1024, 'p')));
    EXPECT_TRUE(common::FoldersOf(entry.record).empty());
    EXPECT_TRUE(common::AddFolder(entry.record, std::string(1023, 'p')));
    EXPECT_EQ(Paths(entry.record), std::vector<std::string>{std::string(1023, 'p')});
}

TEST(ScheduleEntries, FreedFoldersAreGoneAndOthersCanBeAdded) {
    common::OwnedScheduleEntry entry;
    common::AddFolder(entry.record, "/a");
    common::FreeFolders(entry.record);
    EXPECT_TRUE(common::FoldersOf(entry.record).empty());
    // The members of a packed record are compared in place: a reference to one may be misaligned.
    EXPECT_TRUE(entry.record.folders.begin == nullptr);
    EXPECT_TRUE(entry.record.folders.capacity == nullptr);
    common::AddFolder(entry.record, "/b");
    EXPECT_EQ(Paths(entry.record), std::vector<std::string>{"/b"});
}

// Freeing twice or not at all is what the address sanitizer sees.
TEST(ScheduleEntries, AnArrayOwnsTheFoldersOfItsEntries) {
    common::OwnedScheduleEntries entries;
    EXPECT_TRUE(common::EntriesOf(entries.array).empty());
    for (int i = 0; i < 9; ++i) {
        tagSCHEDULE_SCAN_ENTRY entry = Named("task" + std::to_string(i));
        common::AddFolder(entry, "/" + std::to_string(i));
        common::AddEntry(entries.array, entry);
    }
    ASSERT_EQ(common::EntriesOf(entries.array).size(), 9U);
    for (std::size_t i = 0; i < 9; ++i) {
        const tagSCHEDULE_SCAN_ENTRY& entry = common::EntriesOf(entries.array)[i];
        EXPECT_EQ(common::FieldText(entry.name), "task" + std::to_string(i));
        EXPECT_EQ(Paths(entry), std::vector<std::string>{"/" + std::to_string(i)});
    }
    common::FreeEntries(entries.array);
    EXPECT_TRUE(common::EntriesOf(entries.array).empty());
    EXPECT_TRUE(entries.array.begin == nullptr);
}

TEST(ScheduleEntries, AnArrayThatAVectorMadeCanGrow) {
    common::OwnedScheduleEntry entry;
    auto* made = static_cast<tagSCAN_ITEM*>(::operator new(sizeof(tagSCAN_ITEM)));
    *made = tagSCAN_ITEM{"/made"};
    entry.record.folders = {made, made + 1, made + 1};
    common::AddFolder(entry.record, "/added");
    EXPECT_EQ(Paths(entry.record), (std::vector<std::string>{"/made", "/added"}));
}

}  // namespace
