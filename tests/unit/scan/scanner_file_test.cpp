#include <fcntl.h>
#include <gmock/gmock.h>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "common/file_descriptor.h"
#include "tests/unit/scan/recording_dialog.h"
#include "tests/unit/scan/scanner_fixture.h"

// One file on its way through the engine: opened, scanned, closed.

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

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
    const int result = dialog.OnScanThread([&] {
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

TEST_F(ScannerTest, FilesThatComeNextAreToldToAnEngineThatWantsToKnow) {
    const std::vector<const char*> names = {"a", "b c"};
    Scanner::FilesAhead(-1, "/x", names);  // without an engine nothing happens
    ASSERT_EQ(Init(), 1);
    const common::FileDescriptor root(::open("/", O_PATH | O_DIRECTORY | O_CLOEXEC));
    Scanner::FilesAhead(root.Get(), "/x y", names);
    Scanner::FilesAhead(-1, "", {});
    EXPECT_THAT(m_engine.Calls("ZqFilesAhead"),
                ElementsAre("ZqFilesAhead 2 at / as /x%20y a b%20c", "ZqFilesAhead 0"));
}

TEST_F(ScannerTest, AnEngineThatDoesNotWantToKnowStartsAllTheSame) {
    Use("without_ZqFilesAhead");
    ASSERT_EQ(Init(), 1);
    const std::vector<const char*> names = {"a"};
    Scanner::FilesAhead(-1, "/x", names);
    Scanner scanner;
    EXPECT_EQ(scanner.Open("/x/a"), 1);
    EXPECT_EQ(scanner.Close(), 1);
    // The one before it is not asked in its place.
    Use("good");
    ASSERT_EQ(Init(), 1);
    Use("without_ZqFilesAhead");
    ASSERT_EQ(Init(), 1);
    Scanner::FilesAhead(-1, "/x", names);
    EXPECT_THAT(m_engine.Calls("ZqFilesAhead"), IsEmpty());
}

}  // namespace
