// What the modal dialogs say of themselves, over which the help viewer cannot be used.

#include <QApplication>
#include <QComboBox>
#include <QHelpEvent>
#include <QInputDialog>
#include <QTest>
#include <QTranslator>
#include <QWhatsThis>
#include <QWizardPage>

#include "common/run_state.h"
#include "common/text_field.h"
#include "reports/dlg_report.h"
#include "scan/dlg_scn_prgrs.h"
#include "scan/dlg_vir_fnd.h"
#include "scan/unread_files_dialog.h"
#include "schedule/dlg_schedule_scan.h"
#include "tests/gui/app/window_fixture.h"
#include "update/dlg_int_set.h"
#include "update/dlg_update.h"
#include "widgets/dlg_dir.h"
#include "widgets/dlg_sc_dir.h"

namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

class WhatsThis : public WindowTest {
protected:
    // What is shown by the key in the dialog as it comes up.
    static std::string Explained(QWidget& dialog) {
        struct Seen : QObject {
            bool eventFilter(QObject* watched, QEvent* event) override {
                if (event->type() == QEvent::WhatsThis) {
                    text = qobject_cast<QWidget*>(watched)->whatsThis().toStdString();
                }
                return false;
            }
            std::string text;
        };
        dialog.show();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&dialog));
        Seen seen;
        qApp->installEventFilter(&seen);
        QTest::keyClick(&dialog, Qt::Key_F1);
        qApp->removeEventFilter(&seen);
        QWhatsThis::hideText();
        return seen.text;
    }
};

TEST_F(WhatsThis, OfTheDialogsOfAScan) {
    dlgScDir picker;
    EXPECT_THAT(Explained(picker), StartsWith("Tick the folders that are wanted."));
    dlgScnPrgrs progress;
    EXPECT_THAT(Explained(progress), StartsWith("What the scan is at"));
    progress.hide();
    UnreadFilesDialog unread{scan::UnreadFiles()};
    EXPECT_THAT(Explained(unread), StartsWith("These files were not read,"));
}

TEST_F(WhatsThis, OfTheQuestionAboutAVirus) {
    dlgVirFnd prompt;
    EXPECT_THAT(prompt.whatsThis().toStdString(), StartsWith("A virus was found in this file"));
    prompt.findChild<QComboBox*>("actionCombo")->setFocus();
    EXPECT_THAT(Explained(prompt), StartsWith("Delete removes the file and keeps a copy."));
    EXPECT_THAT(prompt.findChild<QWidget*>("applyToAllCheck")->whatsThis().toStdString(),
                HasSubstr("you are not asked again"));
}

TEST_F(WhatsThis, OfTheDialogsOfUpdates) {
    dlgIntSet internet;
    EXPECT_THAT(Explained(internet), StartsWith("For computers that reach the Internet only"));
    EXPECT_THAT(internet.findChild<QWidget*>("edtPassword")->whatsThis().toStdString(),
                HasSubstr("every user of this computer can read it"));
    EXPECT_THAT(internet.findChild<QWidget*>("edtServer")->whatsThis().toStdString(),
                HasSubstr("socks5://"));
    dlgUpdate update;
    EXPECT_THAT(Explained(update), StartsWith("New virus definitions are being loaded."));
}

TEST_F(WhatsThis, OfAReport) {
    Put("reports/scn1.log", "a report");
    common::CopyToField(g_szRptPath, PathOf("reports/scn1.log").string());
    g_siRptKind = kScheduledReports;  // the only kind whose list may be missing
    dlgReport viewer(nullptr);
    EXPECT_THAT(Explained(viewer), StartsWith("The report as it was written."));
    g_siRptKind = kScanReports;
    g_szRptPath[0] = '\0';
}

TEST_F(WhatsThis, OfEveryPageOfTheWizard) {
    dlgschedulescan wizard;
    const std::vector<std::string> kStarts = {"Give the scheduled scan a name",
                                              "When the scheduled scan runs", "This is what"};
    for (const std::string& start : kStarts) {
        wizard.show();
        EXPECT_THAT(wizard.currentPage()->whatsThis().toStdString(), StartsWith(start));
        EXPECT_NE(Explained(wizard), "");
        wizard.next();
    }
}

TEST_F(WhatsThis, OfTheQuestionForThePassword) {
    SetDatabaseAnswers("1 1 1 0");
    Open();
    ModalDriver user;
    user.Expect([](QDialog* dialog) {
        ASSERT_NE(qobject_cast<QInputDialog*>(dialog), nullptr);
        EXPECT_THAT(Explained(*dialog), StartsWith("An administrator has put a password"));
        dialog->reject();
    });
    Click("btnOptions");
}

TEST_F(WhatsThis, IsInTheLanguageOfTheTexts) {
    QTranslator german;
    ASSERT_TRUE(german.load(CORVANE_TRANSLATIONS_DIR "zqscan_de.qm"));
    QApplication::installTranslator(&german);
    dlgIntSet internet;
    EXPECT_THAT(Explained(internet), StartsWith("Für Rechner, die das Internet nur"));
    QApplication::removeTranslator(&german);
}

}  // namespace
