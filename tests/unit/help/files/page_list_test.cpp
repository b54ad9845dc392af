#include "help/files/page_list.h"

#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string_view>
#include <sys/stat.h>

#include "tests/support/no_room.h"
#include "tests/support/scratch.h"

namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::string_view kTwoPages(
    "\x00\x00\x00\x02"
    "\x00\x00\x00\x04"
    "\x00/\x00"
    "a"
    "\x00\x00\x00\x06"
    "\x00/\x00\xFC\x20\xAC",
    4 + 4 + 4 + 4 + 6);

std::optional<help::PageList> Parsed(std::string_view bytes) {
    return help::ParsePageList(std::as_bytes(std::span(bytes)));
}

TEST(PageList, IsReadAsTheToolkitStreamsIt) {
    EXPECT_EQ(Parsed(kTwoPages), (help::PageList{u"/a", u"/\u00FC\u20AC"}));
    EXPECT_EQ(Parsed(std::string_view("\0\0\0\0", 4)), help::PageList());
}

TEST(PageList, IsWrittenAsTheToolkitStreamsIt) {
    EXPECT_EQ(help::PageListBytes({u"/a", u"/\u00FC\u20AC"}), kTwoPages);
    EXPECT_EQ(help::PageListBytes({}), std::string_view("\0\0\0\0", 4));
}

TEST(PageList, CutOffAnywhereIsNone) {
    for (std::size_t size = 0; size < kTwoPages.size(); ++size) {
        EXPECT_EQ(Parsed(kTwoPages.substr(0, size)), std::nullopt) << size;
    }
}

TEST(PageList, MayBeFollowedByWhatALongerOneLeft) {
    EXPECT_EQ(Parsed(std::string(kTwoPages) + "rest"), (help::PageList{u"/a", u"/\u00FC\u20AC"}));
}

TEST(PageList, ANullTextIsAnEmptyOne) {
    EXPECT_EQ(Parsed(std::string_view("\0\0\0\x01\xFF\xFF\xFF\xFF", 8)), help::PageList{u""});
}

TEST(PageList, AnnouncingMoreThanThereIsIsNone) {
    std::string many("\xFF\xFF\xFF\xFF", 4);
    EXPECT_EQ(Parsed(many + std::string(64, '\0')), std::nullopt);
    EXPECT_EQ(Parsed(std::string_view("\0\0\0\x01\xFF\xFF\xFF\xFE"
                                      "ab",
                                      10)),
              std::nullopt);
}

TEST(PageList, HalfAUnitIsNone) {
    EXPECT_EQ(Parsed(std::string_view("\0\0\0\x01\0\0\0\x03"
                                      "abc",
                                      11)),
              std::nullopt);
}

/// A folder with a list in it. Not the administrator's: others may write to it.
class PageListFile : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(::chmod(m_scratch.Path().c_str(), 0777), 0); }

    [[nodiscard]] std::string Path() const { return m_scratch / ".bookmarks"; }
    [[nodiscard]] help::PageList Load() const {
        return help::LoadPageList(Path().c_str(), common::Links::kOnlyOfRoot);
    }
    [[nodiscard]] bool Save(const help::PageList& pages) const {
        return help::SavePageList(Path().c_str(), pages);
    }

    ScratchFolder m_scratch;
};

TEST_F(PageListFile, IsLoaded) {
    WriteFile(Path(), kTwoPages);
    EXPECT_THAT(Load(), ElementsAre(u"/a", u"/\u00FC\u20AC"));
}

TEST_F(PageListFile, MissingOrDamagedIsEmpty) {
    EXPECT_THAT(Load(), IsEmpty());
    WriteFile(Path(), kTwoPages.substr(0, 15));
    EXPECT_THAT(Load(), IsEmpty());
    EXPECT_THAT(help::LoadPageList(nullptr, common::Links::kNone), IsEmpty());
}

TEST_F(PageListFile, WhatIsNoFileIsEmptyAndKeepsNobodyWaiting) {
    ASSERT_EQ(::mkfifo(Path().c_str(), 0666), 0);
    EXPECT_THAT(Load(), IsEmpty());
    EXPECT_FALSE(Save({u"/a"}));
    fs::remove(Path());
    fs::create_directory(Path());
    EXPECT_THAT(Load(), IsEmpty());
    EXPECT_FALSE(Save({u"/a"}));
}

TEST_F(PageListFile, ALinkThatOthersMayHaveLaidIsEmptyAndNotWrittenThrough) {
    const std::string victim = m_scratch / "victim";
    WriteFile(victim, kTwoPages);
    ASSERT_EQ(::chmod(victim.c_str(), 0600), 0);
    fs::create_symlink(victim, Path());
    EXPECT_THAT(Load(), IsEmpty());
    EXPECT_FALSE(Save({}));
    fs::remove(Path());
    fs::create_hard_link(victim, Path());
    EXPECT_THAT(Load(), IsEmpty());
    EXPECT_FALSE(Save({}));
    EXPECT_EQ(ReadFile(victim), kTwoPages);
    EXPECT_EQ(ModeOf(victim), 0600U);
}

// The file is sparse: its list would be whole if anybody took so much.
TEST_F(PageListFile, LongerThanAnyListIsEmpty) {
    WriteFile(Path(), kTwoPages);
    fs::resize_file(Path(), help::kMaxPageListSize);
    EXPECT_THAT(Load(), ElementsAre(u"/a", u"/\u00FC\u20AC"));
    fs::resize_file(Path(), help::kMaxPageListSize + 1);
    EXPECT_THAT(Load(), IsEmpty());
    fs::resize_file(Path(), std::uintmax_t{1} << 40U);
    EXPECT_THAT(Load(), IsEmpty());
}

TEST_F(PageListFile, IsMadeForEverybody) {
    const mode_t old = ::umask(0077);
    EXPECT_TRUE(Save({u"/a", u"/\u00FC\u20AC"}));
    ::umask(old);
    EXPECT_EQ(ReadFile(Path()), kTwoPages);
    EXPECT_EQ(ModeOf(Path()), 0666U);
}

TEST_F(PageListFile, IsReplacedByALongerOneAndByAShorterOne) {
    WriteFile(Path(), "short");
    EXPECT_TRUE(Save({u"/a", u"/\u00FC\u20AC"}));
    EXPECT_EQ(ReadFile(Path()), kTwoPages);
    EXPECT_TRUE(Save({}));
    EXPECT_EQ(ReadFile(Path()), std::string_view("\0\0\0\0", 4));
}

// What stands behind the list goes, too, or a reader of another kind might take it for pages.
TEST_F(PageListFile, WithARestBehindItIsCut) {
    WriteFile(Path(), std::string(kTwoPages) + "rest");
    EXPECT_TRUE(Save({u"/a", u"/\u00FC\u20AC"}));
    EXPECT_EQ(ReadFile(Path()), kTwoPages);
}

TEST_F(PageListFile, IsLeftAloneWhenItHoldsTheListAlready) {
    WriteFile(Path(), kTwoPages);
    const NoRoom none;
    EXPECT_TRUE(Save({u"/a", u"/\u00FC\u20AC"}));
}

TEST_F(PageListFile, HoldsWhatItHeldWhenThereIsNoRoom) {
    WriteFile(Path(), kTwoPages);
    const NoRoom none;
    EXPECT_FALSE(Save({u"/other"}));
    EXPECT_EQ(ReadFile(Path()), kTwoPages);
}

TEST_F(PageListFile, IsNeverMadeTooLongToBeRead) {
    const std::size_t most = (help::kMaxPageListSize - 8) / 2;
    EXPECT_TRUE(Save({std::u16string(most, u'x')}));
    EXPECT_THAT(Load(), ElementsAre(std::u16string(most, u'x')));
    EXPECT_FALSE(Save({std::u16string(most + 1, u'x')}));
    EXPECT_THAT(Load(), ElementsAre(std::u16string(most, u'x')));
}

}  // namespace
