#include "scan/dlg_scn_prgrs.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTest>

#include "reports/dlg_report.h"
#include "tests/gui/scan/dlg_scn_prgrs_fixture.h"
#include "tests/support/modal_driver.h"

// The dialog's texts, its questions, and what buttons and keys do to it.

namespace {

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

}  // namespace
