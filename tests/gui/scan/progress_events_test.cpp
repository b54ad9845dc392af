#include <gtest/gtest.h>
#include <string>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>

#include "tests/gui/scan/dlg_scn_prgrs_fixture.h"
#include "tests/gui/scan/report_lines.h"

// What each event of a scan does to the counts, the labels, the bar and the report.

namespace {

TEST_F(Progress, ScanningAFile) {
    m_dialog->Send(kEvtScanningFile, "/t/a");
    EXPECT_EQ(Text("currentFileLabel"), "/t/a");  // the first is shown at once
    EXPECT_EQ(Text("scannedLabel"), "1");
    m_dialog->Send(kEvtScanningFile, m_info);  // a member may come in a record
    EXPECT_EQ(g_uiTotCnt, 2U);
    ExpectShown("currentFileLabel", "/t/eicar.com");
    ExpectShown("scannedLabel", "2");
    const std::string longPath = "/" + std::string(40, 'a') + std::string(40, 'b');  // 81
    m_dialog->Send(kEvtScanningFile, longPath.c_str());
    ExpectShown("currentFileLabel", "/" + QString(31, 'a') + "..." + QString(35, 'b'));
    EXPECT_EQ(Report(), "");
}

TEST_F(Progress, AnInfectedFile) {
    common::CopyToField(m_info.fileName, "/" + std::string(30, 'a') + std::string(30, 'b'));  // 61
    m_dialog->Send(kEvtInfected, m_info);
    EXPECT_EQ(g_uiInfCnt, 1U);
    ExpectShown("infectedLabel", "1");
    ExpectShown("lastInfectedLabel", "/" + QString(21, 'a') + "..." + QString(25, 'b'));
    ExpectShown("lastVirusLabel", "Eicar");
    EXPECT_EQ(Report(), "\n\nScanning: /" + std::string(30, 'a') + std::string(30, 'b') +
                            "\nInfected: Eicar");
}

TEST_F(Progress, WhatWasDoneWithAFile) {
    m_dialog->Send(kEvtDeleted, m_info);
    m_dialog->Send(kEvtRepaired, m_info);
    m_dialog->Send(kEvtRepaired, m_info);
    for (int skipped = 0; skipped < 3; ++skipped) {
        m_dialog->Send(kEvtSkipped, m_info);
    }
    ExpectShown("deletedLabel", "1");
    ExpectShown("repairedLabel", "2");
    ExpectShown("skippedLabel", "3");
    EXPECT_EQ(g_uiDeleCnt, 1U);
    EXPECT_EQ(g_uiReprCnt, 2U);
    EXPECT_EQ(g_uiSkipCnt, 3U);
    EXPECT_EQ(Report(), "\n[Deleted]\n[Repaired]\n[Repaired]\n[Skipped]\n[Skipped]\n[Skipped]");
}

TEST_F(Progress, TopPathsInTheReport) {
    m_dialog->Send(kEvtPathStarted, "/t/<b>\n\xFF");
    m_dialog->Send(kEvtPathDone, "/t");
    m_dialog->Send(kEvtPathDone);
    EXPECT_EQ(Report(),
              std::string("Scanning: /t/<b>\n\xFF") + "\n" + kLine66 + "\n\n\n" + kLine66 + "\n\n");
}

TEST_F(Progress, AnUnreadableFileIsCountedAndShownNowhere) {
    m_dialog->Send(kEvtUnreadable, m_info);
    EXPECT_EQ(g_uiIOErrCnt, 1U);
    EXPECT_EQ(Report(), "\n[Access denied]");
    WaitForPicture();
    for (const char* label :
         {"scannedLabel", "infectedLabel", "repairedLabel", "deletedLabel", "skippedLabel"}) {
        EXPECT_EQ(Text(label), "0") << label;
    }
}

TEST_F(Progress, ANeededDecisionLowersTheSkippedCountUnseen) {
    m_dialog->Send(kEvtSkipped, m_info);
    m_dialog->Send(kEvtSkipped, m_info);
    ExpectShown("skippedLabel", "2");
    m_dialog->Send(kEvtNeedsDecision, m_info);
    EXPECT_EQ(g_uiSkipCnt, 1U);
    m_dialog->Send(kEvtDeleted, m_info);
    ExpectShown("deletedLabel", "1");
    WaitForPicture();
    EXPECT_EQ(Text("skippedLabel"), "2");
    m_dialog->Send(kEvtSkipped, m_info);
    WaitForPicture();
    EXPECT_EQ(Text("skippedLabel"), "2");  // lowered and raised
    EXPECT_EQ(g_uiSkipCnt, 2U);
    EXPECT_TRUE(
        Report().starts_with("\n[Skipped]\n[Skipped]\n\nScanning: /t/eicar.com\nEicar\n[Deleted]"));
}

TEST_F(Progress, ALabelHeldBackShowsTheCountOfItsEvent) {
    m_dialog->Send(kEvtDeleted, m_info);  // shown at once; what follows is held back
    m_dialog->Send(kEvtSkipped, m_info);
    m_dialog->Send(kEvtNeedsDecision, m_info);
    ExpectShown("skippedLabel", "1");
    EXPECT_EQ(g_uiSkipCnt, 0U);
}

TEST_F(Progress, CountsBelowZeroAndVeryLargeOnes) {
    m_dialog->Send(kEvtNeedsDecision, m_info);
    EXPECT_EQ(g_uiSkipCnt, 4294967295U);
    m_dialog->Send(kEvtSkipped, m_info);
    ExpectShown("skippedLabel", "0");
    g_uiReprCnt = 999999998;
    m_dialog->Send(kEvtRepaired, m_info);
    ExpectShown("repairedLabel", "999999999");
    g_uiDeleCnt = 4294967293;
    m_dialog->Send(kEvtDeleted, m_info);
    ExpectShown("deletedLabel", "429496729");  // what the text has room for
}

TEST_F(Progress, TheBar) {
    auto* bar = Find<QProgressBar>("progressBar");
    m_dialog->Send(kEvtAdvance);
    EXPECT_EQ(bar->value(), 0);  // counted from -1
    g_totalfilestoscan = 10;
    m_dialog->Send(kEvtCountingDone);
    m_dialog->Send(kEvtAdvance);
    EXPECT_TRUE(QTest::qWaitFor([&] { return bar->maximum() == 10 && bar->value() == 1; }));
    EXPECT_EQ(bar->text(), "10%");
    for (int file = 0; file < 30; ++file) {
        m_dialog->Send(kEvtAdvance);
    }
    EXPECT_TRUE(QTest::qWaitFor([&] { return bar->value() == 10; }));
    EXPECT_EQ(bar->text(), "100%");
    g_totalfilestoscan = 100;
    m_dialog->Send(kEvtCountingDone);  // progress is kept
    EXPECT_TRUE(QTest::qWaitFor([&] { return bar->maximum() == 100 && bar->value() == 31; }));
    m_dialog->Send(kEvtFillBar);
    EXPECT_TRUE(QTest::qWaitFor([&] { return bar->value() == 100; }));
}

TEST_F(Progress, TheBarOfAnEnormousTree) {
    auto* bar = Find<QProgressBar>("progressBar");
    g_totalfilestoscan = 5'000'000'000;
    m_dialog->Send(kEvtCountingDone);
    m_dialog->Send(kEvtAdvance);
    m_dialog->Send(kEvtAdvance);
    WaitForPicture();
    EXPECT_GT(bar->maximum(), 1'000'000'000);
    EXPECT_EQ(bar->value(), 0);
    m_dialog->Send(kEvtFillBar);
    EXPECT_TRUE(QTest::qWaitFor([&] { return bar->value() == bar->maximum(); }));
}

TEST_F(Progress, EventsThatAreNoneOfItsOwnAreIgnored) {
    for (const int type : {1099, 1100, 1107, 1116, 1126}) {
        m_dialog->SendOther(type);
    }
    m_dialog->Send(static_cast<ZQEvent>(1107));
    EXPECT_EQ(Report(), "");
    EXPECT_EQ(g_uiTotCnt, 0U);
}

TEST_F(Progress, TheEndOfTheScan) {
    m_dialog->show();
    Find<QPushButton>("btnStop")->setEnabled(true);
    Find<QPushButton>("btnClose")->setEnabled(false);
    Find<QPushButton>("btnViewRpt")->setEnabled(false);
    m_dialog->Send(kEvtScanningFile, "/t/a");
    m_dialog->Send(kEvtScanningFile, "/t/b");  // held back
    m_dialog->Send(kEvtScanFinished, "abc");
    EXPECT_EQ(Text("currentFileLabel"), "/t/b");
    EXPECT_EQ(Text("scannedLabel"), "2");
    EXPECT_EQ(Text("statusLabel"), "Scanning completed successfully");
    EXPECT_TRUE(m_dialog->m_stop.IsSet());
    EXPECT_TRUE(IsEnabled("btnClose"));
    EXPECT_TRUE(IsEnabled("btnViewRpt"));
    EXPECT_FALSE(IsEnabled("btnStop"));
    EXPECT_EQ(m_dialog->focusWidget(), Find<QPushButton>("btnClose"));
    EXPECT_TRUE(Report().starts_with("Scan Complete.\n\n")) << Report();
    EXPECT_TRUE(Report().ends_with("** Report End **\r\n"));
    EXPECT_EQ(ReadFile(m_application / "main.rpt").size(), 12U + 542U);
}

TEST_F(Progress, TheEndOfAStoppedScanDiffersInTheReportOnly) {
    m_dialog->m_stop.Set();
    m_dialog->Send(kEvtScanFinished, "abc");
    EXPECT_TRUE(Report().starts_with("Scan Interrupted.\n\n"));
    EXPECT_EQ(Text("statusLabel"), "Scanning completed successfully");
}

TEST_F(Progress, AFloodIsShownThirtyTimesASecond) {
    class Counter : public QObject {
    public:
        int m_paints = 0;
        bool eventFilter(QObject* /*watched*/, QEvent* event) override {
            m_paints += event->type() == QEvent::Paint ? 1 : 0;
            return false;
        }
    } counter;
    m_dialog->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(m_dialog.get()));
    Find<QLabel>("scannedLabel")->installEventFilter(&counter);
    QElapsedTimer clock;
    clock.start();
    std::uint32_t sent = 0;
    while (clock.elapsed() < 500) {
        for (int file = 0; file < 20; ++file) {
            m_dialog->Send(kEvtScanningFile, "/t/a");
            ++sent;
        }
        QCoreApplication::processEvents();
    }
    // Each picture may be painted, and one may be left from showing the window.
    EXPECT_LE(counter.m_paints, clock.elapsed() / 30 + 2);
    EXPECT_GE(counter.m_paints, 3);
    EXPECT_GT(sent, 200U);
    EXPECT_EQ(g_uiTotCnt, sent);
    ExpectShown("scannedLabel", QString::number(sent));
}

TEST_F(Progress, WithoutAReportNothingIsWritten) {
    g_pRptObj.reset();
    m_dialog->Send(kEvtDeleted, m_info);
    m_dialog->Send(kEvtScanFinished, "abc");
    EXPECT_EQ(g_uiDeleCnt, 1U);
    EXPECT_TRUE(m_dialog->m_stop.IsSet());
}

}  // namespace
