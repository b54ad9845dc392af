#include <iterator>
#include <string>
#include <utility>

#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QMetaMethod>
#include <QStackedWidget>
#include <QToolButton>
#include <QTranslator>

#include "common/run_state.h"
#include "scan/scanner.h"
#include "tests/gui/app/main_window_fixture.h"
#include "tests/support/screen_reader.h"

// The main window's shell: slot table, buttons, pages, texts, the engine's start and end.

namespace {

TEST_F(MainWindow, SlotTable) {
    const char* const kSlots[] = {
        "LoadScnOptions(PSCNOPTS)",
        "LoadUpdtOptions()",
        "updateUiChange(P_UPDTOPTS)",
        "IntCentreSelected(bool)",
        "OnBkupChecked(bool)",
        "closeEvent(QCloseEvent*)",
        "OnScnClick()",
        "OnOptClick()",
        "OnRptClick()",
        "OnSchClick()",
        "OnNewSchClick()",
        "OnEditSchClick()",
        "OnRemoveSchClick()",
        "OnUpdtClicked()",
        "OnAbtClick()",
        "OnScnDirClick()",
        "OnScnFlClick()",
        "OnRptRwClick(int,int,int,QPoint)",
        "OnRptRwDblClick(QTreeWidgetItem*,QPoint,int)",
        "OnSchScnRwDblClick(QTreeWidgetItem*,QPoint,int)",
        "OnRptShwClick()",
        "OnRptDelClick()",
        "DelEntry()",
        "OnScnCmpChkd()",
        "OnScnadspChkd()",
        "OnScndmbChkd()",
        "OnScnPackChkd()",
        "OnSaveOptsClick()",
        "OnCnclSvClick()",
        "OnActChange()",
        "OnEnableApplyBtn(bool)",
        "OnUpdateNowClick()",
        "UpdateChange()",
        "OnCancelUpdClick()",
        "OnApplyOptClick()",
        "OnReportToggle()",
        "OnHelpClick()",
        "OnUrlClicked()",
        "OnUpdtPathClicked()",
        "OnBkupFolderClicked()",
        "OnIntSettingClicked()",
        "EnableApplyOnTxtChange()",
        "languageChange()",
    };
    const QMetaObject& meta = dlgMain::staticMetaObject;
    ASSERT_EQ(std::size(kSlots), 43U);
    ASSERT_EQ(meta.methodCount() - meta.methodOffset(), 43);
    for (int i = 0; i < 43; ++i) {
        const QMetaMethod method = meta.method(meta.methodOffset() + i);
        EXPECT_EQ(method.methodType(), QMetaMethod::Slot) << i;
        EXPECT_EQ(method.methodSignature().toStdString(), kSlots[i]) << i;
    }
}

TEST_F(MainWindow, Caption) {
    EXPECT_EQ(Open().windowTitle(), "Corvane");
    EXPECT_EQ(m_window->parentWidget(), nullptr);
}

TEST_F(MainWindow, ButtonsHaveTheirKeysAndTooltips) {
    Open();
    const struct {
        const char* name;
        const char* key;
        const char* tooltip;
    } kButtons[] = {
        {"btnScan", "Alt+S", "Scan (Alt+S)"},
        {"btnOptions", "Alt+O", "Configure Corvane (Alt+O)"},
        {"btnReports", "Alt+R", "View Reports of Corvane activities (Alt+R)"},
        {"btnUpdate", "Alt+U", "Update Corvane online (Alt+U)"},
        {"btnSchedule", "Alt+L", "Configure Schedule Scan (Alt+L)"},
        {"btnAbout", "Alt+A", "About Corvane (Alt+A)"},
        {"btnExit", "Alt+X", "Exit Corvane scanner (Alt+X)"},
        {"btnHelp", "Alt+H", "Display Corvane help (Alt+H)"},
        {"btnScnFl", "Alt+F", "Select file to scan (Alt+F)"},
        {"btnScnDir", "Alt+D", "Select Directory to scan (Alt+D)"},
    };
    for (const auto& button : kButtons) {
        const auto& widget = Find<QAbstractButton>(button.name);
        EXPECT_EQ(widget.shortcut(), QKeySequence(button.key)) << button.name;
        EXPECT_EQ(widget.toolTip(), button.tooltip) << button.name;
        EXPECT_FALSE(widget.icon().isNull()) << button.name;
    }
    EXPECT_EQ(Find<QAbstractButton>("btnHelp").text(), "&Help");
}

TEST_F(MainWindow, EverythingThatTakesTheFocusIsNamedAndExplained) {
    Open();
    int seen = 0;
    for (const auto* widget : m_window->findChildren<QWidget*>()) {
        if (widget->focusPolicy() == Qt::NoFocus || widget->objectName().startsWith("qt_") ||
            widget->window() != m_window.get()) {
            continue;
        }
        ++seen;
        EXPECT_FALSE(widget->accessibleName().isEmpty()) << widget->objectName().toStdString();
        EXPECT_FALSE(widget->toolTip().isEmpty()) << widget->objectName().toStdString();
    }
    EXPECT_EQ(seen, 8 + 2 + 7 + 4 + 13 + 6 + 3);
}

TEST_F(MainWindow, AllThatCanBeReadIsReadOut) {
    Open();
    EXPECT_THAT(ScreenReader::UnreadableLabels(*m_window), ::testing::IsEmpty());
    EXPECT_EQ(ScreenReader::NameOf(&Find<QWidget>("btnScnFl")), "Select file to scan");
    EXPECT_EQ(ScreenReader::DescriptionOf(&Find<QWidget>("btnScnFl")),
              "Choose one file and look into it for viruses.");
    EXPECT_EQ(ScreenReader::DescriptionOf(&Find<QWidget>("btnScnDir")),
              "Tick the folders whose files are to be scanned.");
}

TEST_F(MainWindow, TabGoesDownTheButtonsAndThenIntoThePage) {
    Open();
    QStringList order;
    const QWidget* widget = &Find<QWidget>("btnScan");
    do {
        if (widget->focusPolicy() != Qt::NoFocus && widget->isVisibleTo(m_window.get())) {
            order << widget->objectName();
        }
        widget = widget->nextInFocusChain();
    } while (widget->objectName() != "btnScan");
    EXPECT_EQ(order.join(' '),
              "btnScan btnOptions btnReports btnUpdate btnSchedule btnAbout btnHelp btnExit "
              "btnScnFl btnScnDir");
}

TEST_F(MainWindow, ScanPageHasItsHeadings) {
    Open();
    const auto& page = Find<QWidget>("scanPage");
    EXPECT_EQ(page.findChild<QLabel*>("lblHeading")->text(), "Scanner");
    EXPECT_EQ(page.findChild<QLabel*>("lblSubHeading")->text(), "Home Page");
}

TEST_F(MainWindow, EveryButtonShowsAndMarksItsPage) {
    Open();
    EXPECT_EQ(Find<QStackedWidget>("pages").count(), 6);
    EXPECT_EQ(CurrentPage(), 0);
    const struct {
        const char* button;
        int page;
    } kPages[] = {{"btnOptions", 1}, {"btnReports", 2},  {"btnUpdate", 3},
                  {"btnAbout", 4},   {"btnSchedule", 5}, {"btnScan", 0}};
    for (const auto& each : kPages) {
        Click(each.button);
        EXPECT_EQ(CurrentPage(), each.page) << each.button;
        for (const auto& other : kPages) {
            EXPECT_EQ(Find<QToolButton>(other.button).isChecked(), other.button == each.button)
                << other.button << " after " << each.button;
        }
    }
    EXPECT_TRUE(Find<QToolButton>("btnScan").hasFocus() ||
                m_window->focusWidget() == &Find<QToolButton>("btnScan"));
}

TEST_F(MainWindow, TextsFollowTheLanguage) {
    Open();
    QTranslator german;
    ASSERT_TRUE(german.load(CORVANE_TRANSLATIONS_DIR "zqscan_de.qm"));
    QApplication::installTranslator(&german);
    QApplication::processEvents();
    EXPECT_EQ(Find<QToolButton>("btnHelp").text(), "&Hilfe");
    EXPECT_EQ(Find<QWidget>("scanPage").findChild<QLabel*>("lblHeading")->text(), "Virenscanner");
    EXPECT_EQ(Find<QAbstractButton>("btnSaveOpts").text(), "Ü&bernehmen");
    EXPECT_EQ(Find<QWidget>("reportsPage").findChild<QLabel*>("lblHeading")->text(), "Berichte");
    EXPECT_EQ(Find<QAbstractButton>("btnDelRpt").text(), "Bericht löschen");
    EXPECT_EQ(Find<QWidget>("aboutPage").findChild<QLabel*>("lblHeading")->text(), "Über Corvane");
    QApplication::removeTranslator(&german);
    QApplication::processEvents();
    EXPECT_EQ(Find<QToolButton>("btnHelp").text(), "&Help");
    EXPECT_EQ(Find<QToolButton>("btnScan").shortcut(), QKeySequence("Alt+S"));
}

TEST_F(MainWindow, StartsTheEngineWithTheStoredSettings) {
    Put("zqscn.opt", std::string("\x04\x00\x05", 3));
    Open();
    EXPECT_EQ(g_scnopts.action, 4);
    EXPECT_EQ(g_scnopts.flags, 5);
    EXPECT_EQ(Scanner::m_shAction, 4);
    EXPECT_EQ(Scanner::m_ScanOptns.scanArchives, 1);
    EXPECT_EQ(Scanner::m_ScanOptns.dumbScan, 1);
    EXPECT_EQ(Scanner::m_ScanOptns.scanPacked, 0);
    EXPECT_EQ(m_engine.Calls("ZqInitScan").size(), 1U);
}

TEST_F(MainWindow, UnloadsTheEngineAtItsEnd) {
    Open();
    EXPECT_NE(g_hModScanAPI, nullptr);
    CloseWindow();
    EXPECT_EQ(g_hModScanAPI, nullptr);
    EXPECT_EQ(m_engine.Calls("ZqDeinitScan").size(), 1U);
}

TEST_F(MainWindow, SaysWhenTheEngineCannotBeUnloaded) {
    Open();
    ASSERT_EQ(UnLoadScanAPI(), 1);
    ModalDriver user;
    user.ExpectMessage(QMessageBox::Critical, "Corvane", "Unable to unload Scan API Library");
    CloseWindow();
}

}  // namespace
