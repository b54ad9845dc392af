#include <gmock/gmock.h>
#include <string>

#include <QLabel>
#include <QProgressBar>
#include <QPushButton>

#include "scan/scan_thread.h"
#include "tests/gui/scan/report_lines.h"
#include "tests/gui/scan/scan_run_fixture.h"

// What a run finds and counts, in which steps, and what of it stands in the window and the report.

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::UnorderedElementsAre;

TEST_F(WholeScan, ACleanTree) {
    MakeFolder(m_top + "/d");
    WriteFile(m_top + "/a", "x");
    WriteFile(m_top + "/d/b", "x");
    AddPath(m_top);
    m_whenOver = [this] {
        EXPECT_EQ(m_dialog->findChild<QLabel*>("scannedLabel")->text(), "2");
        auto* bar = m_dialog->findChild<QProgressBar*>("progressBar");
        EXPECT_EQ(bar->maximum(), 2);
        EXPECT_EQ(bar->value(), 2);
    };
    EXPECT_EQ(Run(), 1);
    EXPECT_THAT(Opened(), UnorderedElementsAre(m_top + "/a", m_top + "/d/b"));
    EXPECT_EQ(g_uiTotCnt, 2U);
    for (const auto* count :
         {&g_uiInfCnt, &g_uiDeleCnt, &g_uiReprCnt, &g_uiSkipCnt, &g_uiIOErrCnt}) {
        EXPECT_EQ(*count, 0U);
    }
    EXPECT_EQ(g_totalfilestoscan, 2U);
    EXPECT_EQ(g_iCleanFileSeqCnt, 2);
    EXPECT_EQ(g_myScnopts.choice, 0);
    EXPECT_EQ(g_myScnopts.applyToAll, 0);
    const std::string report = Report();
    EXPECT_TRUE(report.starts_with(std::string(71, '-') + "\n\nScan Report For - "));
    EXPECT_NE(report.find(PathLine(m_top) + "\n" + kLine66 + "\n\nScan Complete.\n\n"),
              std::string::npos)
        << report;
    EXPECT_NE(report.find("Total Files Scanned   = 2\n"), std::string::npos);
    EXPECT_THAT(std::string(g_szStrTime),
                ::testing::MatchesRegex("Start Time : [0-9][0-9]:[0-9][0-9]:[0-9][0-9]\r\n"));
    EXPECT_THAT(std::string(g_szEndTime),
                ::testing::MatchesRegex("End Time :  [0-9][0-9]:[0-9][0-9]:[0-9][0-9]\r\n"));
    EXPECT_GE(g_dDiffTime, 0);
    EXPECT_LT(g_dDiffTime, 60);
}

TEST_F(WholeScan, EachFileThatWasOpenedIsClosed) {
    for (const char* name : {"/a", "/b", "/refused"}) {
        WriteFile(m_top + name, "x");
    }
    AddPath(m_top);
    EXPECT_EQ(Run("open 4001 auto *refused\n"), 1);
    EXPECT_THAT(Opened(), SizeIs(3));
    EXPECT_THAT(m_engine.Calls("ZqCloseFile"), SizeIs(2));
    EXPECT_EQ(g_uiTotCnt, 3U);
}

TEST_F(WholeScan, TheStepsOfATree) {
    WriteFile(m_top + "/f", "x");
    AddPath(m_top);
    EXPECT_EQ(Run("member 1003 0 0 - f/member *\nsay 1001 1 1 V *\n"), 1);
    // The counting thread tells its end whenever it gets there, but before the end of the scan.
    EXPECT_EQ(std::erase(m_steps, "1114"), 1U);
    EXPECT_THAT(m_steps,
                ElementsAre("1108 " + m_top, "1113", "1100 " + m_top + "/f", "1100 f/member",
                            "1102 record of " + m_top + "/f", "1109 " + m_top, "1115", "1101 abc"));
}

TEST_F(WholeScan, TheStepsOfASingleFile) {
    WriteFile(m_top + "/f", "x");
    AddPath(m_top + "/f");
    EXPECT_EQ(Run(), 1);
    EXPECT_THAT(m_steps, ElementsAre("1108 " + m_top + "/f", "1113", "1100 " + m_top + "/f", "1109",
                                     "1115", "1101 abc"));
}

TEST_F(WholeScan, ARunStartsFromItsFirstPicture) {
    WriteFile(m_top + "/f", "x");
    AddPath(m_top + "/f");
    bool looked = false;
    m_whileRunning = [this, &looked] {
        const auto isEnabled = [this](const char* button) {
            return m_dialog->findChild<QPushButton*>(button)->isEnabled();
        };
        if (looked || isEnabled("btnClose")) {
            return;
        }
        looked = true;
        EXPECT_FALSE(isEnabled("btnViewRpt"));
        EXPECT_TRUE(isEnabled("btnStop"));
        EXPECT_TRUE(m_dialog->isModal());
        EXPECT_EQ(m_dialog->findChild<QProgressBar*>("progressBar")->maximum(), 200000);
        EXPECT_EQ(m_dialog->findChild<QLabel*>("statusLabel")->text(), "Scanning...");
    };
    EXPECT_EQ(Run("delay 300 *\n"), 1);
    EXPECT_TRUE(looked);
}

TEST_F(WholeScan, TheBarOfAnEarlierRunDoesNotShow) {
    WriteFile(m_top + "/f", "x");
    AddPath(m_top);
    const auto bar = [this] { return m_dialog->findChild<QProgressBar*>("progressBar"); };
    m_beforeRun = [&bar] {
        bar()->setMaximum(10);
        bar()->setValue(7);
    };
    const std::string released = m_scratch / "released";
    bool looked = false;
    m_whileRunning = [&] {
        // The button is off from just before the bar is reset.
        if (!looked && !m_dialog->findChild<QPushButton*>("btnClose")->isEnabled()) {
            looked = true;
            EXPECT_EQ(bar()->maximum(), 200000);
            EXPECT_EQ(bar()->value(), -1);
            WriteFile(released, "");
        }
    };
    m_whenOver = [&bar] {
        EXPECT_EQ(bar()->maximum(), 1);
        EXPECT_EQ(bar()->value(), 1);
    };
    EXPECT_EQ(Run("hold " + released + " *\n"), 1);
    EXPECT_TRUE(looked);
}

TEST_F(WholeScan, ATreeWithoutFilesHasTheUsualTotal) {
    MakeFifo(m_top + "/fifo");
    MakeLink("/etc/passwd", m_top + "/link");
    AddPath(m_top);
    m_whenOver = [this] {
        auto* bar = m_dialog->findChild<QProgressBar*>("progressBar");
        EXPECT_EQ(bar->maximum(), 200000);
        EXPECT_EQ(bar->value(), 200000);
    };
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(g_uiTotCnt, 0U);
    EXPECT_EQ(g_totalfilestoscan, 200000U);
}

TEST_F(WholeScan, SeveralTopsOneOfThemMissing) {
    for (const char* name : {"/a", "/b"}) {
        MakeFolder(m_top + name);
        WriteFile(m_top + name + "/f", "x");
    }
    AddPath(m_top + "/a");
    AddPath(m_top + "/missing");
    AddPath(m_top + "/b");
    EXPECT_EQ(Run(), 1);
    EXPECT_THAT(Opened(), ElementsAre(m_top + "/a/f", m_top + "/b/f"));
    EXPECT_EQ(g_totalfilestoscan, 2U);
    const std::string end = std::string("\n") + kLine66 + "\n\n";
    EXPECT_NE(Report().find(PathLine(m_top + "/a") + end + PathLine(m_top + "/missing") + end +
                            PathLine(m_top + "/b") + end),
              std::string::npos);
}

TEST_F(WholeScan, ALinkAtTheTopIsFollowed) {
    WriteFile(m_top + "/f", "x");
    MakeLink(m_top, m_scratch / "link");
    AddPath(m_scratch / "link");
    EXPECT_EQ(Run(), 1);
    EXPECT_THAT(Opened(), ElementsAre(m_scratch / "link/f"));
}

TEST_F(WholeScan, ASingleFileIsTheOnlyOneScanned) {
    WriteFile(m_top + "/one", "x");
    WriteFile(m_top + "/two", "x");
    AddPath(m_top + "/one");
    AddPath(m_top);
    EXPECT_EQ(Run(), 1);
    EXPECT_THAT(Opened(), ElementsAre(m_top + "/one"));
    EXPECT_EQ(g_totalfilestoscan, 200000U);
    EXPECT_EQ(g_uiTotCnt, 1U);
    EXPECT_NE(Report().find(PathLine(m_top + "/one") + "\n" + kLine66), std::string::npos);
}

TEST_F(WholeScan, AMissingTopIsHandedOverLikeAFile) {
    AddPath(m_top + "/missing");
    EXPECT_EQ(Run("open 0 auto *missing\n"), 1);
    EXPECT_THAT(Opened(), SizeIs(1));
    EXPECT_EQ(g_uiTotCnt, 1U);  // counted although it could not be opened
    EXPECT_THAT(m_engine.Calls("ZqScanFileEx"), IsEmpty());
}

TEST_F(WholeScan, AFifoAtTheTopDoesNotHoldTheScanUp) {
    MakeFifo(m_top + "/fifo");
    AddPath(m_top + "/fifo");
    EXPECT_EQ(Run("open 4001 auto *fifo\n"), 1);
    EXPECT_EQ(g_uiTotCnt, 1U);
}

TEST_F(WholeScan, AHostileTree) {
    WriteFile(m_top + "/<img src=x>", "x");
    WriteFile(m_top + "/two\nlines", "x");
    WriteFile(m_top + "/not\xFFutf8", "x");
    MakeFifo(m_top + "/fifo");
    MakeSocket(m_top + "/socket");
    MakeLink(".", m_top + "/loop");
    MakeLink("/", m_top + "/root");
    MakeFolder(m_top + "/deep");
    const int deep = MakeDeepTree(m_top + "/deep", 3000);
    AddPath(m_top);
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(g_uiTotCnt, static_cast<std::uint32_t>(deep) + 3);
    EXPECT_EQ(g_totalfilestoscan, static_cast<std::uint64_t>(deep) + 3);
    for (const std::string& name : Opened()) {
        EXPECT_TRUE(name.starts_with(m_top)) << name;
    }
}

TEST_F(WholeScan, AnEmptyListEndsAtOnce) {
    EXPECT_EQ(Run(), 1);
    EXPECT_THAT(Opened(), IsEmpty());
    EXPECT_EQ(g_uiTotCnt, 0U);
}

TEST_F(WholeScan, ManyFilesAreCountedExactly) {
    for (int file = 0; file < 10000; ++file) {
        WriteFile(m_top + "/f" + std::to_string(file), "");
    }
    AddPath(m_top);
    m_whenOver = [this] {
        EXPECT_EQ(m_dialog->findChild<QLabel*>("scannedLabel")->text(), "10000");
    };
    EXPECT_EQ(Run("say 1005 0 0 - *9\n"), 1);
    EXPECT_EQ(g_uiTotCnt, 10000U);
    EXPECT_EQ(g_uiIOErrCnt, 1000U);
    EXPECT_EQ(g_totalfilestoscan, 10000U);
}

TEST_F(WholeScan, NoPathScansNothing) {
    ScanFile(nullptr, nullptr);
    EXPECT_THAT(m_engine.Calls(), IsEmpty());
}

}  // namespace
