#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <gmock/gmock.h>
#include <string>
#include <utility>

#include "tests/unit/scan/scanner_fixture.h"

// The options record that the engine is given.

namespace {

using ::testing::IsEmpty;

struct FlagRow {
    std::uint8_t flags;
    unsigned char archives;
    unsigned char packed;
    unsigned char dumb;
    bool adware;
};

constexpr FlagRow kFlagRows[] = {
    {0, 0, 0, 0, false}, {1, 1, 0, 0, false}, {2, 0, 0, 0, true},     {4, 0, 0, 1, false},
    {8, 0, 1, 0, false}, {15, 1, 1, 1, true}, {11, 1, 1, 0, true},    {13, 1, 1, 1, false},
    {6, 0, 0, 1, true},  {9, 1, 1, 0, false}, {0xF0, 0, 0, 0, false}, {0xFF, 1, 1, 1, true},
};

TEST_F(ScannerTest, InitScanBuildsTheOptionsAndLeavesAdwareAtZeroWhenOff) {
    for (const FlagRow& row : kFlagRows) {
        ASSERT_EQ(Init(3, row.flags), 1);
        const std::string options =
            ExpectedOptions(m_directory, row.archives, row.packed, row.dumb, row.adware ? 7 : 0);
        EXPECT_EQ(m_engine.Calls("ZqInitScan ").back(), "ZqInitScan " + options + " -> 1")
            << int{row.flags};
        EXPECT_EQ(Scanner::m_shAction, 3);
    }
}

TEST_F(ScannerTest, SetScanOptionsRefreshesTheFourWordsWithAdwareThreeWhenOff) {
    ASSERT_EQ(Init(1, 11), 1);
    for (const FlagRow& row : kFlagRows) {
        tagSCNOPTS settings{2, row.flags};
        EXPECT_EQ(Scanner::SetScanOptions(&settings), 1);
        EXPECT_EQ(m_engine.Calls("ZqSetOptions ").back(),
                  "ZqSetOptions " + ExpectedOptions(m_directory, row.archives, row.packed, row.dumb,
                                                    row.adware ? 7 : 3))
            << int{row.flags};
        EXPECT_EQ(Scanner::m_shAction, 2);
    }
}

TEST_F(ScannerTest, SetScanOptionsKeepsTheLabScanFlagAndInitScanClearsIt) {
    ASSERT_EQ(Init(1, 11), 1);
    Scanner::m_ScanOptns.extraFlags = 0x8000;
    tagSCNOPTS settings{1, 11};
    EXPECT_EQ(Scanner::SetScanOptions(&settings), 1);
    EXPECT_EQ(m_engine.Calls("ZqSetOptions ").back(),
              "ZqSetOptions " + ExpectedOptions(m_directory, 1, 1, 0, 7, 0x80));
    ASSERT_EQ(Init(1, 11), 1);
    EXPECT_EQ(m_engine.Calls("ZqInitScan ").back(),
              "ZqInitScan " + ExpectedOptions(m_directory, 1, 1, 0, 7) + " -> 1");
}

TEST_F(ScannerTest, InitScanZeroesWhatItDoesNotSet) {
    std::memset(&Scanner::m_ScanOptns, 0xAA, sizeof(Scanner::m_ScanOptns));
    ASSERT_EQ(Init(1, 0), 1);
    EXPECT_EQ(m_engine.Calls("ZqInitScan ").back(),
              "ZqInitScan " + ExpectedOptions(m_directory, 0, 0, 0, 0) + " -> 1");
}

TEST_F(ScannerTest, SetScanOptionsWithoutSettingsDoesNothing) {
    ASSERT_EQ(Init(1, 11), 1);
    EXPECT_EQ(Scanner::SetScanOptions(nullptr), 0);
    EXPECT_THAT(m_engine.Calls("ZqSetOptions"), IsEmpty());
    EXPECT_EQ(Scanner::m_shAction, 1);
}

TEST_F(ScannerTest, TheActionIsTakenAsItStands) {
    for (const int action : {0, 1, 2, 3, 4, 7, 0x7FFF}) {
        tagSCNOPTS settings{static_cast<std::uint16_t>(action), 0};
        EXPECT_EQ(Scanner::SetScanOptions(&settings), 1);
        EXPECT_EQ(Scanner::m_shAction, action);
    }
}

TEST_F(ScannerTest, ADirectoryTooLongForItsFieldIsRefusedNotCut) {
    // 252 bytes are too many: with "/tmp" they leave no room for the terminator of the second
    // field.
    for (const auto& [length, result] : {std::pair<std::size_t, int>{251, 1}, {252, 0}, {255, 0}}) {
        std::string directory = m_engine.Directory().string() + "/";
        while (directory.size() < length) {
            const std::size_t part = std::min<std::size_t>(length - directory.size() - 1, 100);
            if (part == 0) {
                directory += '/';
                break;
            }
            directory += std::string(part, 'd') + "/";
        }
        ASSERT_EQ(directory.size(), length);
        std::filesystem::create_directories(directory);
        std::filesystem::copy_file(FakeEngine::Variant("good") + "scanapi.so",
                                   directory + "scanapi.so");
        m_directory = directory;
        ASSERT_TRUE(common::CopyToField(g_szAppPath, directory));
        EXPECT_EQ(Init(1, 11), result) << length;
        if (result == 1) {
            EXPECT_EQ(m_engine.Calls("ZqInitScan ").back(),
                      "ZqInitScan " + ExpectedOptions(directory, 1, 1, 0, 7) + " -> 1");
            EXPECT_EQ(Scanner::DestroyScan(), 1);
        } else {
            ExpectNothingLoaded();
            EXPECT_EQ(m_engine.Calls("ZqInitScan ").size(), 1U);
        }
    }
}

}  // namespace
