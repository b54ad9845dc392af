// The wizard's pages: texts, defaults, what one control does to another, and the name.

#include <QTranslator>

#include "tests/gui/schedule/wizard_fixture.h"
#include "tests/support/screen_reader.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

QStringList Items(const QComboBox& box) {
    QStringList items;
    for (int i = 0; i < box.count(); ++i) {
        items << box.itemText(i);
    }
    return items;
}

TEST_F(WizardTest, ThreePagesWithTheirTexts) {
    Open();
    EXPECT_EQ(m_wizard->windowTitle(), "Schedule Scan");
    EXPECT_EQ(m_wizard->pageIds(), (QList<int>{0, 1, 2}));
    EXPECT_EQ(m_wizard->page(0)->title(), "Configure Schedule Scan");
    const std::pair<const char*, const char*> kLabels[] = {
        {"lblIntroduction",
         "This wizard help you to scan your preferred files and folders on your computer at the "
         "schedule time."},
        {"lblScanName", "Scan Name:"},
        {"lblHint", "To remove an item from the list, select it and click Remove."},
        {"lblFrequency", "Frequency:"},
        {"lblInterval", "Every day(s):"},
        {"lblWeekday", "Weekdays:"},
        {"lblAction", "Action on Virus Found"},
        {"lblSummaryNameIs", "Scan name:"},
        {"lblSummaryFrequencyIs", "Frequency:"},
        {"lblSummaryRepeatIs", "Repeat Every:"},
        {"lblSummaryFoldersIs", "Selected Folder & Drives:"},
    };
    for (const auto& [name, text] : kLabels) {
        EXPECT_EQ(TextOf(name), text) << name;
    }
    const std::pair<const char*, const char*> kGroups[] = {{"grpFrequency", "Scan Frequency"},
                                                           {"grpScanner", "Scanner Options"},
                                                           {"grpAdvanced", "Advanced Options"}};
    for (const auto& [name, title] : kGroups) {
        EXPECT_EQ(Find<QWidget>(name).property("title").toString(), title);
    }
    EXPECT_EQ(Items(Find<QComboBox>("cmbFrequency")), (QStringList{"Daily", "Weekly"}));
    EXPECT_EQ(Items(Find<QComboBox>("cmbWeekday")),
              (QStringList{"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday",
                           "Saturday"}));
    EXPECT_EQ(Items(Find<QComboBox>("cmbRepeatUnit")), (QStringList{"Minutes", "Hours"}));
    EXPECT_EQ(
        Items(Find<QComboBox>("actioncomboBox")),
        (QStringList{"Repair only", "Repair, delete if unrepairable", "Delete", "Report only"}));
}

TEST_F(WizardTest, KeysOfTheControls) {
    Open();
    const struct {
        const char* name;
        const char* text;
        const char* key;
    } kButtons[] = {
        {"btnAddFolders", "&Add Folders", "Alt+A"},
        {"btnRemoveFolders", "&Remove", "Alt+R"},
        {"btnRemoveAll", "Re&move All", "Alt+M"},
        {"rdoStartAt", "Start &at", "Alt+A"},
        {"rdoFirstBoot", "Start at &first boot", "Alt+F"},
        {"chkRepeat", "&Repeat scan after every:", "Alt+R"},
        {"chkScadsp", "Scan A&dware/Spyware", "Alt+D"},
        {"chkSccmp", "Scan Archi&ves", "Alt+V"},
        {"chkScdmb", "Du&mb Scan", "Alt+M"},
        {"chkPack", "Scan &Packed", "Alt+P"},
    };
    for (const auto& each : kButtons) {
        EXPECT_EQ(Find<QAbstractButton>(each.name).text(), each.text);
        EXPECT_EQ(Find<QAbstractButton>(each.name).shortcut(), QKeySequence(each.key)) << each.name;
    }
}

TEST_F(WizardTest, EverythingThatTakesTheFocusIsNamedAndExplained) {
    Open();
    int seen = 0;
    for (const auto* widget : m_wizard->findChildren<QWidget*>()) {
        if (widget->focusPolicy() == Qt::NoFocus || widget->objectName().startsWith("qt_") ||
            widget->objectName().startsWith("__qt__") || widget->window() != m_wizard.get()) {
            continue;
        }
        ++seen;
        EXPECT_FALSE(widget->accessibleName().isEmpty()) << widget->objectName().toStdString();
        EXPECT_FALSE(widget->toolTip().isEmpty()) << widget->objectName().toStdString();
    }
    EXPECT_EQ(seen, 5 + 14 + 1);
    EXPECT_THAT(ScreenReader::UnreadableLabels(*m_wizard), IsEmpty());
}

TEST_F(WizardTest, TabGoesDownThePages) {
    Open();
    QStringList order;
    const QWidget* widget = &Find<QWidget>("edtScanName");
    do {
        if (!widget->accessibleName().isEmpty() && widget->focusPolicy() != Qt::NoFocus) {
            order << widget->objectName();
        }
        widget = widget->nextInFocusChain();
    } while (widget->objectName() != "edtScanName");
    EXPECT_EQ(order.join(' '),
              "edtScanName lstScanLocation btnAddFolders btnRemoveFolders btnRemoveAll "
              "cmbFrequency spnInterval cmbWeekday rdoStartAt timStart rdoFirstBoot chkRepeat "
              "spnRepeat cmbRepeatUnit chkScadsp chkSccmp chkScdmb chkPack actioncomboBox "
              "lstSummaryFolders");
}

TEST_F(WizardTest, BeginsDailyAndWithoutRepetition) {
    Open();
    EXPECT_EQ(iEditMode, 0);
    ASSERT_NE(g_pPScheduleScanEntry, nullptr);
    EXPECT_EQ(CurrentPage(), 0);
    EXPECT_TRUE(IsEnabled("edtScanName"));
    EXPECT_FALSE(IsEnabled("btnRemoveAll"));
    EXPECT_TRUE(IsEnabled("btnRemoveFolders"));
    EXPECT_EQ(Find<QComboBox>("cmbFrequency").currentIndex(), 0);
    EXPECT_EQ(Find<QSpinBox>("spnInterval").value(), 1);
    EXPECT_EQ(Find<QSpinBox>("spnInterval").minimum(), 1);
    EXPECT_EQ(Find<QSpinBox>("spnInterval").maximum(), 90);
    EXPECT_FALSE(IsEnabled("cmbWeekday"));
    EXPECT_TRUE(Find<QRadioButton>("rdoStartAt").isChecked());
    EXPECT_TRUE(IsEnabled("timStart"));
    EXPECT_EQ(Find<QTimeEdit>("timStart").text(), "12:00:00");
    EXPECT_FALSE(Find<QCheckBox>("chkRepeat").isChecked());
    EXPECT_FALSE(IsEnabled("spnRepeat"));
    EXPECT_FALSE(IsEnabled("cmbRepeatUnit"));
    EXPECT_EQ(Find<QSpinBox>("spnRepeat").maximum(), 1439);
    EXPECT_EQ(Find<QComboBox>("actioncomboBox").currentIndex(), 1);
    EXPECT_TRUE(Find<QCheckBox>("chkSccmp").isChecked());
    EXPECT_TRUE(Find<QCheckBox>("chkScadsp").isChecked());
    EXPECT_FALSE(Find<QCheckBox>("chkScdmb").isChecked());
    EXPECT_TRUE(Find<QCheckBox>("chkPack").isChecked());
    m_wizard.reset();
    EXPECT_EQ(g_pPScheduleScanEntry, nullptr);
}

TEST_F(WizardTest, WeeklyClampsTheIntervalAndAsksForADay) {
    Open();
    auto& interval = Find<QSpinBox>("spnInterval");
    auto& frequency = Find<QComboBox>("cmbFrequency");
    interval.setValue(40);
    frequency.setCurrentIndex(1);
    EXPECT_EQ(TextOf("lblInterval"), "Every weekdays(s):");
    EXPECT_EQ(interval.value(), 15);
    EXPECT_EQ(interval.minimum(), 1);
    EXPECT_EQ(interval.maximum(), 15);
    EXPECT_TRUE(IsEnabled("cmbWeekday"));
    frequency.setCurrentIndex(0);
    EXPECT_EQ(TextOf("lblInterval"), "Every day(s):");
    EXPECT_EQ(interval.value(), 15);
    EXPECT_EQ(interval.maximum(), 90);
    EXPECT_FALSE(IsEnabled("cmbWeekday"));
    interval.setValue(14);
    frequency.setCurrentIndex(1);
    EXPECT_EQ(interval.value(), 14);
}

TEST_F(WizardTest, HoursClampTheRepetition) {
    Open();
    auto& repeat = Find<QSpinBox>("spnRepeat");
    auto& unit = Find<QComboBox>("cmbRepeatUnit");
    Click("chkRepeat");
    EXPECT_TRUE(IsEnabled("spnRepeat"));
    EXPECT_TRUE(IsEnabled("cmbRepeatUnit"));
    repeat.setValue(90);
    unit.setCurrentIndex(1);
    EXPECT_EQ(repeat.value(), 23);
    EXPECT_EQ(repeat.minimum(), 1);
    EXPECT_EQ(repeat.maximum(), 23);
    unit.setCurrentIndex(0);
    EXPECT_EQ(repeat.value(), 23);
    EXPECT_EQ(repeat.maximum(), 1439);
    Click("chkRepeat");
    EXPECT_FALSE(IsEnabled("spnRepeat"));
    EXPECT_FALSE(IsEnabled("cmbRepeatUnit"));
}

TEST_F(WizardTest, ATimeIsAskedForUnlessItStartsAtTheFirstBoot) {
    Open();
    Click("rdoFirstBoot");
    EXPECT_FALSE(IsEnabled("timStart"));
    Click("rdoStartAt");
    EXPECT_TRUE(IsEnabled("timStart"));
}

// On a small screen or with large letters the wizard makes itself as small as it may be.
TEST_F(WizardTest, NothingIsCutWhereThereIsLittleRoom) {
    Open();
    Name("task");
    for (int page = 0; page < 3; ++page) {
        ASSERT_EQ(CurrentPage(), page);
        m_wizard->resize(1, 1);
        QApplication::processEvents();
        for (const QLabel* label : m_wizard->currentPage()->findChildren<QLabel*>()) {
            if (label->isVisible()) {
                const int needed = label->wordWrap() ? label->heightForWidth(label->width())
                                                     : label->sizeHint().height();
                EXPECT_GE(label->height(), needed) << label->objectName().toStdString();
            }
        }
        for (const auto* button : m_wizard->currentPage()->findChildren<QAbstractButton*>()) {
            EXPECT_GE(button->height(), button->minimumSizeHint().height())
                << button->objectName().toStdString();
        }
        Next();
    }
}

// ---- The name

TEST_F(WizardTest, TheLibraryIsAskedForTheName) {
    Open();
    Name(QString::fromUtf8("n\xC3\xA4me "));
    Next();
    EXPECT_EQ(CurrentPage(), 1);
    EXPECT_THAT(m_scheduler->TakeCalls(), ElementsAre("name <n\xC3\xA4me > 1 1000"));
}

TEST_F(WizardTest, ARefusedNameKeepsItsPageAndIsExplained) {
    const std::pair<const char*, const char*> kRefusals[] = {
        {"1019", "Scan already scheduled."},
        {"1024", "A Scan Name cannot contain any special character."},
        {"1026", "Scan already scheduled by another user."},
        {"1030",
         "Scan Name should not be greater than 255 characters. Enter valid scheduled scan name."},
        {"1031", "Scan Name is empty. Please enter valid scheduled scan name."},
        {"1018", "Scan Name is not valid, Enter valid Scan Name."},
        {"1032", "Scan Name is not valid, Enter valid Scan Name."},
        {"1103", "The service of the scheduler does not run or does not answer."},
        {"1107", "The list of scheduled scans cannot be read or written."},
    };
    Open();
    Name("task");
    for (const auto& [code, text] : kRefusals) {
        m_scheduler->SetScript(std::string("ValidateTaskName ") + code);
        ModalDriver user;
        ExpectWarning(user, text);
        Next();
        EXPECT_EQ(CurrentPage(), 0) << code;
    }
    m_scheduler->SetScript("");
    Next();
    EXPECT_EQ(CurrentPage(), 1);
}

TEST_F(WizardTest, TextsFollowTheLanguage) {
    Open();
    Find<QComboBox>("cmbFrequency").setCurrentIndex(1);
    QTranslator german;
    ASSERT_TRUE(german.load(CORVANE_TRANSLATIONS_DIR "zqscan_de.qm"));
    QApplication::installTranslator(&german);
    QApplication::processEvents();
    EXPECT_EQ(m_wizard->windowTitle(), "Geplante Prüfung");
    EXPECT_EQ(m_wizard->buttonText(QWizard::NextButton), "&Weiter >");
    EXPECT_EQ(TextOf("lblInterval"), "Abstand in Wochen:");
    QApplication::removeTranslator(&german);
    QApplication::processEvents();
    EXPECT_EQ(m_wizard->buttonText(QWizard::NextButton), "&Next >");
    EXPECT_EQ(TextOf("lblInterval"), "Every weekdays(s):");
}

// ---- The library

TEST_F(WizardTest, WithoutTheLibraryTheLoaderSaysWhyAndThereIsNoWizard) {
    FakeScheduler::Remove();
    ModalDriver user;
    ExpectWarning(user,
                  "/usr/lib/Corvane/Corvane/schdlscn.so: cannot open shared object file: No such "
                  "file or directory");
    dlgschedulescan wizard;
    EXPECT_EQ(wizard.exec(), QDialog::Rejected);
    wizard.editMode("task");  // asks nobody

    ExpectWarning(user,
                  "/usr/lib/Corvane/Corvane/schdlscn.so: cannot open shared object file: No such "
                  "file or directory");
    EXPECT_EQ(wizard.LoadLib(), 1);
}

TEST_F(WizardTest, WithoutAnyOfItsEntryPointsTheLibraryIsNotUsed) {
    for (const char* symbol : {"ValidateTaskName", "AddScheduleScanTask", "ValidateDirectoryPath",
                               "GetScheduleScanTaskDetails", "ModifyScheduleScanTask"}) {
        FakeScheduler::Install(std::string("without_") + symbol);
        ModalDriver user;
        ExpectWarning(user,
                      QString("/usr/lib/Corvane/Corvane/schdlscn.so: undefined symbol: ") + symbol);
        dlgschedulescan wizard;
        EXPECT_EQ(wizard.exec(), QDialog::Rejected);
        EXPECT_THAT(m_scheduler->TakeCalls(), ElementsAre("unloaded")) << symbol;
    }
}

TEST_F(WizardTest, TheOtherEntryPointsAreNotNeeded) {
    for (const char* symbol : {"ReadScheduleScanTaskList", "DeleteScheduleScanTask",
                               "GetScheduleTaskState", "RunScheduleTaskNow"}) {
        FakeScheduler::Install(std::string("without_") + symbol);
        dlgschedulescan wizard;
        EXPECT_EQ(wizard.LoadLib(), 0) << symbol;
    }
}

TEST_F(WizardTest, CancelUnloadsTheLibraryAndKeepsNothing) {
    Open();
    m_wizard->button(QWizard::CancelButton)->click();
    EXPECT_EQ(m_wizard->result(), QDialog::Rejected);
    EXPECT_FALSE(m_wizard->isVisible());
    EXPECT_THAT(m_scheduler->TakeCalls(), ElementsAre("unloaded"));
}

}  // namespace
