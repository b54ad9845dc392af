#include "scan/scanner.h"

#include <array>
#include <climits>
#include <cstring>
#include <dlfcn.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "common/run_state.h"
#include "common/text_field.h"
#include "scan/detection_filters.h"
#include "tests/fakes/scanapi/fake_engine.h"
#include "tests/unit/scan/recording_dialog.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

using OptionBytes = std::array<unsigned char, 546>;

std::string Hex(const OptionBytes& bytes) {
    std::string text;
    for (const unsigned char byte : bytes) {
        text += {"0123456789ABCDEF"[byte >> 4U], "0123456789ABCDEF"[byte & 15U]};
    }
    return text;
}

void PutText(OptionBytes& bytes, std::size_t offset, const std::string& text) {
    std::memcpy(&bytes.at(offset), text.data(), text.size());
}

/// The options record as the engine is to see it, byte by byte.
std::string ExpectedOptions(const std::string& directory, unsigned char archives,
                            unsigned char packed, unsigned char dumb, unsigned char adware,
                            unsigned char extraHigh = 0) {
    OptionBytes bytes{};
    bytes[0] = 0x22;  // 546 = 0x0222
    bytes[1] = 0x02;
    bytes[2] = 1;
    bytes[4] = 5;
    bytes[6] = archives;
    bytes[8] = packed;
    PutText(bytes, 10, directory);
    PutText(bytes, 266, directory + "/tmp");
    bytes[522] = dumb;
    bytes[524] = adware;
    bytes[527] = extraHigh;
    return Hex(bytes);
}

bool IsLoaded(const std::string& library) {
    void* handle = ::dlopen(library.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr) {
        ::dlclose(handle);
    }
    return handle != nullptr;
}

class ScannerTest : public ::testing::Test {
protected:
    void SetUp() override { Use("good"); }
    void TearDown() override {
        Scanner::DestroyScan();
        g_iCleanFileSeqCnt = 0;
        g_iCntLabViruses = 0;
        g_scnopts = {};
    }

    void Use(const std::string& variant) {
        m_directory = FakeEngine::Variant(variant);
        ASSERT_TRUE(CopyToField(g_szAppPath, m_directory)) << "the build folder's path is too long";
        ASSERT_TRUE(std::filesystem::exists(Library())) << Library();
    }
    [[nodiscard]] std::string Library() const { return m_directory + "scanapi.so"; }

    static int Init(std::uint16_t action = 1, std::uint8_t flags = 11) {
        tagSCNOPTS settings{action, flags};
        return Scanner::InitScan(&settings);
    }

    void ExpectNothingLoaded() const {
        EXPECT_EQ(g_hModScanAPI, nullptr);
        EXPECT_TRUE(pfnGetVer == nullptr);
        EXPECT_FALSE(IsLoaded(Library()));
        EXPECT_EQ(UnLoadScanAPI(), 0);
    }

    FakeEngine m_engine;
    std::string m_directory;
};

// --- starting and ending the engine --------------------------------------------------------------

TEST_F(ScannerTest, InitScanStartsTheEngineAndThenRegistersTheCallback) {
    ASSERT_EQ(Init(), 1);
    EXPECT_NE(g_hModScanAPI, nullptr);
    EXPECT_TRUE(IsLoaded(Library()));
    EXPECT_THAT(m_engine.Calls(),
                ElementsAre("ZqInitScan " + ExpectedOptions(m_directory, 1, 1, 0, 7) + " -> 1",
                            "ZqSetCallBack set -> 1"));
}

TEST_F(ScannerTest, InitScanWithoutSettingsDoesNothing) {
    EXPECT_EQ(Scanner::InitScan(nullptr), 0);
    ExpectNothingLoaded();
    ASSERT_EQ(Init(), 1);
    EXPECT_EQ(Scanner::InitScan(nullptr), 0);
    EXPECT_NE(g_hModScanAPI, nullptr) << "an engine that runs stays";
}

TEST_F(ScannerTest, EachMissingEntryPointFreesTheLibrary) {
    for (const char* symbol :
         {"ZqInitScan", "ZqDeinitScan", "ZqGetAPIVersion", "ZqSetCallBack", "ZqSetOptions",
          "ZqOpenFile", "ZqCloseFile", "ZqScanFileEx", "ZqResetFPTFlags"}) {
        Use(std::string("without_") + symbol);
        EXPECT_EQ(Init(), 0) << symbol;
        ExpectNothingLoaded();
        EXPECT_THAT(m_engine.Calls(), IsEmpty()) << symbol;
    }
}

TEST_F(ScannerTest, AnEngineThatDoesNotStartIsFreedWithoutBeingEnded) {
    Use("init_fails");
    EXPECT_EQ(Init(), 0);
    ExpectNothingLoaded();
    EXPECT_THAT(m_engine.Calls(), ElementsAre(StartsWith("ZqInitScan ")));
}

TEST_F(ScannerTest, AnEngineThatRefusesTheCallbackIsEndedAndFreed) {
    Use("set_callback_fails");
    EXPECT_EQ(Init(), 0);
    ExpectNothingLoaded();
    EXPECT_THAT(m_engine.Calls(),
                ElementsAre(StartsWith("ZqInitScan "), "ZqSetCallBack set -> 0", "ZqDeinitScan"));
}

TEST_F(ScannerTest, EveryNonzeroResultOfTheEngineIsSuccess) {
    m_engine.SetScript("init -1\nsetcallback 7\n");
    EXPECT_EQ(Init(), 1);
}

TEST_F(ScannerTest, ASecondInitScanEndsTheFirstEngine) {
    ASSERT_EQ(Init(), 1);
    ASSERT_EQ(Init(), 1);
    EXPECT_THAT(m_engine.Calls(),
                ElementsAre(StartsWith("ZqInitScan "), "ZqSetCallBack set -> 1", "ZqDeinitScan",
                            StartsWith("ZqInitScan "), "ZqSetCallBack set -> 1"));
    EXPECT_EQ(Scanner::DestroyScan(), 1);
    ExpectNothingLoaded();
}

TEST_F(ScannerTest, DestroyScanEndsAndUnloadsOnce) {
    EXPECT_EQ(Scanner::DestroyScan(), 0);
    ASSERT_EQ(Init(), 1);
    EXPECT_EQ(Scanner::DestroyScan(), 1);
    EXPECT_EQ(m_engine.Calls("ZqDeinitScan").size(), 1U);
    EXPECT_EQ(Scanner::DestroyScan(), 0);
    ExpectNothingLoaded();
}

TEST_F(ScannerTest, UnLoadScanApiIsTheSame) {
    ASSERT_EQ(Init(), 1);
    EXPECT_EQ(UnLoadScanAPI(), 1);
    EXPECT_EQ(m_engine.Calls("ZqDeinitScan").size(), 1U);
    ExpectNothingLoaded();
}

TEST_F(ScannerTest, TheVersionComesFromTheEngine) {
    m_engine.SetScript("version 3 7 2026 11 21\n");
    ASSERT_EQ(Init(), 1);
    ASSERT_TRUE(pfnGetVer != nullptr);
    tagZQVERINFO version{};
    pfnGetVer(&version);
    EXPECT_EQ(version.major, 3);
    EXPECT_EQ(version.minor, 7);
    EXPECT_EQ(version.databaseDate.year, 2026);
    EXPECT_EQ(version.databaseDate.month, 11);
    EXPECT_EQ(version.databaseDate.day, 21);
}

// --- the options record
// ----------------------------------------------------------------------------

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
        ASSERT_TRUE(CopyToField(g_szAppPath, directory));
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

TEST_F(ScannerTest, ResetFptFlagsIsPassedOn) {
    EXPECT_EQ(Scanner::ResetFPTFlags(), 1);
    ASSERT_EQ(Init(), 1);
    EXPECT_EQ(Scanner::ResetFPTFlags(), 1);
    EXPECT_EQ(m_engine.Calls("ZqResetFPTFlags").size(), 1U);
}

// --- one file
// --------------------------------------------------------------------------------------

TEST_F(ScannerTest, OneFileInOrder) {
    ASSERT_EQ(Init(3), 1);
    g_scnopts = {3, 11};
    RecordingDialog dialog;
    std::ostringstream context;
    context << dialog.Context();
    {
        Scanner scanner;
        EXPECT_EQ(scanner.Open("/some/file name"), 1);
        EXPECT_EQ(scanner.Scan(&dialog), 1);
        EXPECT_EQ(scanner.Close(), 1);
    }
    std::vector<std::string> calls = m_engine.Calls();
    calls.erase(calls.begin(), calls.begin() + 2);
    EXPECT_THAT(calls, ElementsAre("ZqOpenFile /some/file%20name -> 1 handle 1",
                                   "ZqScanFileEx 1 context " + context.str(),
                                   "callback 1002 /some/file%20name - class 0 sub 0 -> 2005",
                                   "ZqScanFileEx 1 -> 1", "ZqCloseFile 1 -> 1"));
    EXPECT_EQ(g_iCleanFileSeqCnt, 1);
}

TEST_F(ScannerTest, TheEnginesMessagesReachTheDialogAndItsRepliesTheEngine) {
    m_engine.SetScript(
        "say 1001 4 39 Eicar%20Test */bad*\n"
        "after 1001 2001 3002\n"
        "after 3002 2002 3003\n");
    ASSERT_EQ(Init(1), 1);
    g_scnopts = {1, 11};
    RecordingDialog dialog;
    const int result = OnScanThread([&] {
        Scanner scanner;
        return scanner.Open("/tmp/bad.com") + scanner.Scan(&dialog) + scanner.Close();
    });
    EXPECT_EQ(result, 3);
    EXPECT_THAT(m_engine.Calls("callback"),
                ElementsAre("callback 1001 /tmp/bad.com Eicar%20Test class 4 sub 39 -> 2001",
                            "callback 3002 /tmp/bad.com Eicar%20Test class 4 sub 39 -> 2002",
                            "callback 3003 /tmp/bad.com Eicar%20Test class 4 sub 39 -> 2005"));
    EXPECT_THAT(dialog.Types(), ElementsAre(1102, 1104));
}

TEST_F(ScannerTest, AStopEndsTheFile) {
    m_engine.SetScript("member 1003 0 0 - a.zip/b *\nsay 1001 4 39 Eicar *\nsay 1002 0 0 - *\n");
    ASSERT_EQ(Init(3), 1);
    RecordingDialog dialog;
    dialog.m_stop.Set();
    Scanner scanner;
    EXPECT_EQ(scanner.Open("/a.zip"), 1);
    EXPECT_EQ(scanner.Scan(&dialog), 1);
    EXPECT_THAT(m_engine.Calls("callback"),
                ElementsAre("callback 1003 a.zip/b - class 0 sub 0 -> 2004"));
    EXPECT_EQ(scanner.Close(), 1);
}

TEST_F(ScannerTest, OpenFailsForNullAndForWhatTheEngineRefuses) {
    m_engine.SetScript(
        "open 0 5 /zero\n"
        "open 4001 5 /refused\n"
        "open 1 0 /nohandle\n"
        "open -1 9 /negative\n"
        "open 4002 9 /other\n");
    ASSERT_EQ(Init(), 1);
    EXPECT_EQ(Scanner().Open(nullptr), 0);
    EXPECT_THAT(m_engine.Calls("ZqOpenFile"), IsEmpty());
    EXPECT_EQ(Scanner().Open("/zero"), 0);
    EXPECT_EQ(Scanner().Open("/refused"), 0);
    EXPECT_EQ(Scanner().Open("/nohandle"), 0);
    EXPECT_EQ(Scanner().Open("/negative"), 1);
    EXPECT_EQ(Scanner().Open("/other"), 1);
    EXPECT_EQ(m_engine.Calls("ZqOpenFile").size(), 5U);
    EXPECT_THAT(m_engine.Calls("ZqCloseFile"), IsEmpty());
}

TEST_F(ScannerTest, ANameTooLongForItsFieldIsRefusedNotCut) {
    ASSERT_EQ(Init(), 1);
    const std::string longest = "/" + std::string(1022, 'x');
    EXPECT_EQ(Scanner().Open(longest.c_str()), 1);
    EXPECT_EQ(Scanner().Open((longest + "y").c_str()), 0);
    EXPECT_EQ(Scanner().Open(std::string(5000, 'x').c_str()), 0);
    EXPECT_THAT(m_engine.Calls("ZqOpenFile"),
                ElementsAre("ZqOpenFile " + longest + " -> 1 handle 1"));
}

TEST_F(ScannerTest, NamesAreHandedOnByteForByte) {
    ASSERT_EQ(Init(), 1);
    EXPECT_EQ(Scanner().Open("/a/\xFF<b>\n%s"), 1);
    EXPECT_THAT(m_engine.Calls("ZqOpenFile"),
                ElementsAre("ZqOpenFile /a/%FF<b>%0A%25s -> 1 handle 1"));
}

TEST_F(ScannerTest, LargeHandlesAreKeptWhole) {
    m_engine.SetScript("open 1 18446744073709551615 *\n");
    ASSERT_EQ(Init(), 1);
    RecordingDialog dialog;
    Scanner scanner;
    EXPECT_EQ(scanner.Open("/a"), 1);
    EXPECT_EQ(scanner.Scan(&dialog), 1);
    EXPECT_EQ(scanner.Close(), 1);
    EXPECT_THAT(m_engine.Calls("ZqScanFileEx 18446744073709551615 ->").size(), 1U);
    EXPECT_EQ(m_engine.Calls("ZqCloseFile").back(), "ZqCloseFile 18446744073709551615 -> 1");
}

TEST_F(ScannerTest, ScanSucceedsOnlyForOne) {
    m_engine.SetScript("scan 0 /zero\nscan 2 /two\nscan -1 /negative\nscan 1 /one\n");
    ASSERT_EQ(Init(), 1);
    RecordingDialog dialog;
    for (const auto& [name, result] :
         {std::pair{"/zero", 0}, {"/two", 0}, {"/negative", 0}, {"/one", 1}}) {
        Scanner scanner;
        ASSERT_EQ(scanner.Open(name), 1);
        EXPECT_EQ(scanner.Scan(&dialog), result) << name;
        EXPECT_EQ(scanner.Close(), 1);
    }
}

TEST_F(ScannerTest, ScanWithoutDialogDoesNotReachTheEngine) {
    ASSERT_EQ(Init(), 1);
    Scanner scanner;
    ASSERT_EQ(scanner.Open("/a"), 1);
    EXPECT_EQ(scanner.Scan(nullptr), 0);
    EXPECT_THAT(m_engine.Calls("ZqScanFileEx"), IsEmpty());
}

TEST_F(ScannerTest, CloseSucceedsForEveryNonzeroResult) {
    for (const auto& [script, result] :
         {std::pair{"close 0\n", 0}, {"close 1\n", 1}, {"close 5\n", 1}, {"close -1\n", 1}}) {
        m_engine.SetScript(script);
        ASSERT_EQ(Init(), 1);
        Scanner scanner;
        ASSERT_EQ(scanner.Open("/a"), 1);
        EXPECT_EQ(scanner.Close(), result) << script;
    }
}

TEST_F(ScannerTest, CleanDoesNothing) {
    ASSERT_EQ(Init(), 1);
    Scanner scanner;
    EXPECT_EQ(scanner.Clean(), 1);
    EXPECT_EQ(m_engine.Calls().size(), 2U);
}

TEST_F(ScannerTest, WithoutAnEngineNothingCanBeScanned) {
    RecordingDialog dialog;
    Scanner scanner;
    EXPECT_EQ(scanner.Open("/a"), 0);
    EXPECT_EQ(scanner.Scan(&dialog), 0);
    EXPECT_EQ(scanner.Close(), 0);
    EXPECT_EQ(scanner.Clean(), 1);
    tagSCNOPTS settings{4, 4};
    EXPECT_EQ(Scanner::SetScanOptions(&settings), 1);
    EXPECT_EQ(Scanner::m_ScanOptns.dumbScan, 1);
    EXPECT_EQ(Scanner::m_shAction, 4);
}

TEST_F(ScannerTest, AfterUnloadingNothingCanBeScanned) {
    ASSERT_EQ(Init(), 1);
    ASSERT_EQ(Scanner::DestroyScan(), 1);
    RecordingDialog dialog;
    Scanner scanner;
    EXPECT_EQ(scanner.Open("/a"), 0);
    EXPECT_EQ(scanner.Scan(&dialog), 0);
    EXPECT_EQ(scanner.Close(), 0);
    EXPECT_EQ(Scanner::ResetFPTFlags(), 1);
}

}  // namespace
