#include "scan/dlg_scn_prgrs.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <limits>
#include <string>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QLabel>
#include <QMovie>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>

#include "common/run_state.h"
#include "common/text_field.h"
#include "reports/dlg_report.h"
#include "reports/report_generator.h"
#include "scan/dlg_vir_fnd.h"
#include "scan/prompt_handshake.h"
#include "scan/zq_event.h"
#include "tests/support/modal_driver.h"
#include "tests/support/scratch.h"

namespace {

constexpr char kLine66[] = "------------------------------------------------------------------";

/// Gives the tests what the event loop gives the dialog.
class Dialog : public dlgScnPrgrs {
public:
    void Send(ZQEvent type, const char* text = nullptr) {
        ZqEvent event(type, text);
        customEvent(&event);
    }
    void Send(ZQEvent type, const tagZQFILEINFO& info) {
        ZqEvent event(type, &info);
        customEvent(&event);
    }
    void SendOther(int type) {
        QEvent event(static_cast<QEvent::Type>(type));
        customEvent(&event);
    }
};

class Progress : public ::testing::Test {
protected:
    Progress() {
        std::filesystem::create_directories(m_application / "reports");
        CopyToField(g_szAppPath, m_application.Path());
        WriteFile(m_application / "main.rpt", std::string("ZQRF\0\0\0\0\0\0\0\0", 12));
        ResetRunCounters();
        g_totalfilestoscan = 0;
        StopCount = false;
        m_node.path[0] = '/';
        g_pRptObj = std::make_unique<ReportGen>(&m_node);
        m_dialog = std::make_unique<Dialog>();
        CopyToField(m_info.fileName, "/t/eicar.com");
        CopyToField(m_info.virusName, "Eicar");
    }
    ~Progress() override {
        m_dialog.reset();
        g_pRptObj.reset();
        g_scnActn = 1;
        g_myScnopts = {};
        g_zqFileInfo = nullptr;
    }

    template <typename Widget>
    Widget* Find(const char* name) const {
        auto* widget = m_dialog->findChild<Widget*>(name);
        EXPECT_NE(widget, nullptr) << name;
        return widget;
    }
    QString Text(const char* label) const { return Find<QLabel>(label)->text(); }
    QString ButtonText(const char* button) const { return Find<QPushButton>(button)->text(); }
    bool IsEnabled(const char* button) const { return Find<QPushButton>(button)->isEnabled(); }

    /// The label shows this now or with the next picture.
    void ExpectShown(const char* label, const QString& text) const {
        EXPECT_TRUE(QTest::qWaitFor([&] { return Text(label) == text; }))
            << label << ": " << Text(label).toStdString();
    }
    /// Lets the next picture be shown.
    void WaitForPicture() const { QTest::qWait(100); }
    static std::string Report() { return ReadFile(g_szRptPath); }

    ScratchFolder m_application;
    tagPathList m_node{};
    std::unique_ptr<Dialog> m_dialog;
    tagZQFILEINFO m_info{};
};

TEST_F(Progress, TextsAndKeys) {
    EXPECT_EQ(m_dialog->windowTitle(), "Corvane Scanner");
    EXPECT_EQ(Text("statusLabel"), "Scanning...");
    EXPECT_EQ(Text("actionCaption"), "Action");
    EXPECT_EQ(Text("filesCaption"), "Files");
    EXPECT_EQ(Text("deletedCaption"), "Deleted");
    EXPECT_EQ(Text("skippedCaption"), "Skipped");
    EXPECT_EQ(Text("repairedCaption"), "Repaired");
    EXPECT_EQ(Text("scannedCaption"), "Scanned");
    EXPECT_EQ(Text("infectedCaption"), "Infected");
    EXPECT_EQ(Text("lastInfectedCaption"), "Last Infected file");
    EXPECT_EQ(Text("lastVirusCaption"), "Last Virus Found");
    EXPECT_EQ(ButtonText("btnStop"), "Stop &Scan");
    EXPECT_EQ(ButtonText("btnViewRpt"), "View &Report");
    EXPECT_EQ(ButtonText("btnClose"), "&Close");
    EXPECT_EQ(Find<QPushButton>("btnStop")->toolTip(), "Stop scan (Alt+S)");
    EXPECT_EQ(Find<QPushButton>("btnViewRpt")->toolTip(), "View report (Alt+R)");
    EXPECT_EQ(Find<QPushButton>("btnClose")->toolTip(), "Cancel (Alt+C)");
    EXPECT_EQ(Find<QPushButton>("btnStop")->shortcut(), QKeySequence("Alt+S"));
    EXPECT_EQ(Find<QPushButton>("btnViewRpt")->shortcut(), QKeySequence("Alt+R"));
    EXPECT_EQ(Find<QPushButton>("btnClose")->shortcut(), QKeySequence("Alt+C"));
    EXPECT_FALSE(IsEnabled("btnStop"));
    EXPECT_FALSE(m_dialog->m_stop.IsSet());
}

TEST_F(Progress, LabelsThatShowNamesAreHarmless) {
    for (const char* label : {"currentFileLabel", "lastInfectedLabel", "lastVirusLabel"}) {
        EXPECT_EQ(Find<QLabel>(label)->textFormat(), Qt::PlainText) << label;
        EXPECT_EQ(Find<QLabel>(label)->sizePolicy().horizontalPolicy(), QSizePolicy::Ignored)
            << label;
    }
}

TEST_F(Progress, PathListIsHandedThrough) {
    tagPathList* list = &m_node;
    m_dialog->GetPathListToScan(&list);
    EXPECT_EQ(list, nullptr);
    m_dialog->SetPathListToScan(&m_node);
    m_dialog->SetPathListToScan(nullptr);
    m_dialog->GetPathListToScan(nullptr);
    m_dialog->GetPathListToScan(&list);
    EXPECT_EQ(list, &m_node);
}

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
    CopyToField(m_info.fileName, "/" + std::string(30, 'a') + std::string(30, 'b'));  // 61
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
    for (const int type : {1099, 1107, 1116, 1126}) {
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

TEST_F(Progress, ConfirmingAStop) {
    m_dialog->m_stop.Set();
    ModalDriver driver;
    driver.Expect([](QDialog* dialog) {
        auto* box = qobject_cast<QMessageBox*>(dialog);
        ASSERT_NE(box, nullptr);
        EXPECT_EQ(box->icon(), QMessageBox::Question);
        EXPECT_EQ(box->windowTitle(), "Corvane Scan");
        EXPECT_EQ(box->text(), "Do you want to stop scan?");
        EXPECT_EQ(box->textFormat(), Qt::PlainText);
        EXPECT_EQ(box->standardButtons(), QMessageBox::Yes | QMessageBox::No);
        EXPECT_EQ(box->escapeButton(), box->button(QMessageBox::No));
        box->button(QMessageBox::Yes)->click();
    });
    m_dialog->Send(kEvtConfirmStop, "/t");
    EXPECT_TRUE(m_dialog->m_stop.IsSet());
    driver.Expect([](QDialog* dialog) { QTest::keyClick(dialog, Qt::Key_Escape); });
    m_dialog->Send(kEvtConfirmStop, "/t");
    EXPECT_FALSE(m_dialog->m_stop.IsSet());
    m_dialog->m_stop.Set();
    driver.Expect([](QDialog* dialog) {
        qobject_cast<QMessageBox*>(dialog)->button(QMessageBox::No)->click();
    });
    m_dialog->Send(kEvtConfirmStop, "/t");
    EXPECT_FALSE(m_dialog->m_stop.IsSet());
}

TEST_F(Progress, ThePromptShowsTheDetectionAndCancelStops) {
    ModalDriver driver;
    driver.Expect([](QDialog* dialog) {
        ASSERT_NE(qobject_cast<dlgVirFnd*>(dialog), nullptr);
        EXPECT_EQ(dialog->findChild<QLabel*>("fileNameLabel")->text(), "/t/eicar.com");
        EXPECT_EQ(dialog->findChild<QLabel*>("virusNameLabel")->text(), "Eicar");
        dialog->findChild<QPushButton*>("btnOk")->click();
    });
    m_dialog->Send(kEvtPrompt, m_info);
    EXPECT_FALSE(m_dialog->m_stop.IsSet());
    EXPECT_EQ(g_myScnopts.choice, 1);
    driver.Expect([](QDialog* dialog) { dialog->findChild<QPushButton*>("btnCancel")->click(); });
    m_dialog->Send(kEvtPrompt, m_info);
    EXPECT_TRUE(m_dialog->m_stop.IsSet());
}

TEST_F(Progress, StopOnlyAsks) {
    m_dialog->show();
    Find<QPushButton>("btnStop")->setEnabled(true);
    QTest::mouseClick(Find<QPushButton>("btnStop"), Qt::LeftButton);
    EXPECT_TRUE(m_dialog->m_stop.IsSet());
    EXPECT_TRUE(m_dialog->isVisible());
}

TEST_F(Progress, ClosingWhileScanningOnlyAsks) {
    m_dialog->show();
    EXPECT_FALSE(m_dialog->close());
    EXPECT_TRUE(m_dialog->isVisible());
    EXPECT_TRUE(m_dialog->m_stop.IsSet());
    EXPECT_TRUE(m_dialog->close());
    EXPECT_FALSE(m_dialog->isVisible());
}

TEST_F(Progress, MyRejectTakesTheSameWay) {
    m_dialog->show();
    m_dialog->MyReject();
    EXPECT_TRUE(m_dialog->isVisible());
    EXPECT_TRUE(m_dialog->m_stop.IsSet());
    m_dialog->MyReject();
    EXPECT_FALSE(m_dialog->isVisible());
}

TEST_F(Progress, CloseEndsWithOne) {
    m_dialog->show();
    m_dialog->m_stop.Set();
    QTest::mouseClick(Find<QPushButton>("btnClose"), Qt::LeftButton);
    EXPECT_FALSE(m_dialog->isVisible());
    EXPECT_EQ(m_dialog->result(), 1);
}

TEST_F(Progress, EscapeWhileScanning) {
    m_dialog->show();
    QTest::keyClick(m_dialog.get(), Qt::Key_Escape, Qt::ShiftModifier);
    EXPECT_FALSE(m_dialog->m_stop.IsSet());
    EXPECT_TRUE(m_dialog->isVisible());
    QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    QCoreApplication::sendEvent(m_dialog.get(), &escape);
    EXPECT_FALSE(escape.isAccepted());
    EXPECT_TRUE(m_dialog->m_stop.IsSet());
    EXPECT_TRUE(m_dialog->isVisible());
}

TEST_F(Progress, EscapeAfterTheScanCloses) {
    for (const auto modifier : {Qt::NoModifier, Qt::ControlModifier}) {
        m_dialog->show();
        m_dialog->m_stop.Set();
        QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, modifier);
        QCoreApplication::sendEvent(m_dialog.get(), &escape);
        EXPECT_TRUE(escape.isAccepted());
        EXPECT_FALSE(m_dialog->isVisible());
    }
}

TEST_F(Progress, OtherKeysAreDropped) {
    m_dialog->show();
    m_dialog->setResult(5);
    auto* close = Find<QPushButton>("btnClose");
    close->setDefault(true);
    m_dialog->setFocus();
    QTest::keyClick(m_dialog.get(), Qt::Key_Return);  // the base class would press the default
    QTest::keyClick(m_dialog.get(), Qt::Key_A);
    EXPECT_TRUE(m_dialog->isVisible());
    EXPECT_EQ(m_dialog->result(), 5);
    EXPECT_FALSE(m_dialog->m_stop.IsSet());
}

TEST_F(Progress, TheViewerShowsThisScansReport) {
    g_siRptKind = kUpdateReports;  // what the reports page listed last
    m_dialog->Send(kEvtScanFinished, "abc");
    ModalDriver driver;
    driver.Expect([](QDialog* dialog) {
        auto* viewer = qobject_cast<dlgReport*>(dialog);
        ASSERT_NE(viewer, nullptr);
        EXPECT_TRUE(viewer->findChild<QPlainTextEdit*>("edtViewRpt")
                        ->toPlainText()
                        .startsWith("Scan Complete."));
        viewer->reject();
    });
    m_dialog->OnViewRptClick();
    EXPECT_EQ(g_siRptKind, kUpdateReports) << "the reports page lists what it did";
    g_siRptKind = kScanReports;
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
