// The wizard over a scan that is there already.

#include "tests/gui/schedule/wizard_fixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A weekly scan in which every field has a value of its own.
tagSCHEDULE_SCAN_ENTRY Weekly() {
    tagSCHEDULE_SCAN_ENTRY record{};
    common::CopyToField(record.name, "weekly");
    record.frequency = kScheduleWeekly;
    record.startMode = kScheduleAtTime;
    record.hour = 23;
    record.minute = 58;
    record.second = 57;
    record.repeats = 1;
    record.interval = 14;
    record.repeatValue = 22;
    record.repeatUnit = kScheduleHours;
    record.weekday = 3;
    record.reserved1[0] = 0x51;
    record.reserved1[1] = 0x52;
    record.action = kScheduleDelete;
    record.options = kScheduleDumb | kSchedulePacked;
    record.reserved2[0] = 0x61;
    record.reserved2[20] = 0x62;
    record.userId = 77;
    return record;
}

TEST_F(WizardTest, EditShowsAWeeklyScan) {
    m_scheduler->AddTask(Weekly(), {"/a/", "/b;c", "/not\xE9utf8"});
    OpenTask("weekly");
    EXPECT_EQ(iEditMode, 1);
    EXPECT_THAT(m_scheduler->TakeCalls(),
                ElementsAre(std::string("get ") + kTaskListPath + " <weekly> 1000"));
    EXPECT_EQ(Find<QLineEdit>("edtScanName").text(), "weekly");
    EXPECT_FALSE(IsEnabled("edtScanName"));
    EXPECT_EQ(Find<QComboBox>("cmbFrequency").currentIndex(), 1);
    EXPECT_EQ(TextOf("lblInterval"), "Every weekdays(s):");
    EXPECT_EQ(Find<QSpinBox>("spnInterval").value(), 14);
    EXPECT_EQ(Find<QSpinBox>("spnInterval").maximum(), 15);
    EXPECT_TRUE(IsEnabled("cmbWeekday"));
    EXPECT_EQ(Find<QComboBox>("cmbWeekday").currentText(), "Tuesday");
    EXPECT_TRUE(Find<QRadioButton>("rdoStartAt").isChecked());
    EXPECT_TRUE(IsEnabled("timStart"));
    EXPECT_EQ(Find<QTimeEdit>("timStart").time(), QTime(23, 58, 57));
    EXPECT_TRUE(Find<QCheckBox>("chkRepeat").isChecked());
    EXPECT_TRUE(IsEnabled("spnRepeat"));
    EXPECT_EQ(Find<QComboBox>("cmbRepeatUnit").currentIndex(), 1);
    EXPECT_EQ(Find<QSpinBox>("spnRepeat").value(), 22);
    EXPECT_EQ(Find<QSpinBox>("spnRepeat").maximum(), 23);
    EXPECT_FALSE(Find<QCheckBox>("chkSccmp").isChecked());
    EXPECT_FALSE(Find<QCheckBox>("chkScadsp").isChecked());
    EXPECT_TRUE(Find<QCheckBox>("chkScdmb").isChecked());
    EXPECT_TRUE(Find<QCheckBox>("chkPack").isChecked());
    EXPECT_EQ(Find<QComboBox>("actioncomboBox").currentIndex(), 2);
    EXPECT_THAT(Folders(), ElementsAre("/a/", "/b;c", "/not\\xE9utf8"));
    EXPECT_TRUE(IsEnabled("btnRemoveAll"));
}

TEST_F(WizardTest, EditShowsADailyScan) {
    tagSCHEDULE_SCAN_ENTRY record = Weekly();
    record.frequency = kScheduleDaily;
    record.startMode = kScheduleAtFirstBoot;
    record.interval = 77;
    record.repeats = 0;
    record.repeatUnit = kScheduleMinutes;
    record.repeatValue = 1000;
    record.options = kScheduleArchives | kScheduleAdware;
    m_scheduler->AddTask(record, {});
    OpenTask("weekly");
    EXPECT_EQ(Find<QComboBox>("cmbFrequency").currentIndex(), 0);
    EXPECT_EQ(TextOf("lblInterval"), "Every day(s):");
    EXPECT_EQ(Find<QSpinBox>("spnInterval").value(), 77);
    EXPECT_EQ(Find<QSpinBox>("spnInterval").maximum(), 90);
    EXPECT_FALSE(IsEnabled("cmbWeekday"));
    EXPECT_TRUE(Find<QRadioButton>("rdoFirstBoot").isChecked());
    EXPECT_FALSE(IsEnabled("timStart"));
    EXPECT_FALSE(Find<QCheckBox>("chkRepeat").isChecked());
    EXPECT_FALSE(IsEnabled("spnRepeat"));
    EXPECT_EQ(Find<QComboBox>("cmbRepeatUnit").currentIndex(), 0);
    EXPECT_EQ(Find<QSpinBox>("spnRepeat").value(), 1000);
    EXPECT_TRUE(Find<QCheckBox>("chkSccmp").isChecked());
    EXPECT_TRUE(Find<QCheckBox>("chkScadsp").isChecked());
    EXPECT_FALSE(Find<QCheckBox>("chkScdmb").isChecked());
    EXPECT_FALSE(Find<QCheckBox>("chkPack").isChecked());
    EXPECT_FALSE(IsEnabled("btnRemoveAll"));
}

TEST_F(WizardTest, EveryByteOfAChangedScan) {
    m_scheduler->AddTask(Weekly(), {"/a/", "/not\xE9utf8"});
    OpenTask("weekly");
    Find<QComboBox>("actioncomboBox").setCurrentIndex(0);
    GoToSummary();
    m_scheduler->TakeCalls();
    ModalDriver user;
    user.ExpectMessage(QMessageBox::Information, "Schedule Scan",
                       "Schedule Scan weekly modified successfully.");
    Finish();
    EXPECT_EQ(m_wizard->result(), 1);
    EXPECT_THAT(m_scheduler->TakeCalls(),
                ElementsAre(std::string("modify ") + kTaskListPath + " " + HexText("weekly", 256) +
                                "01"
                                "00"
                                "1700"
                                "3a00"
                                "3900"
                                "01"
                                "0e00"
                                "1600"
                                "00"
                                "03"
                                "5152"
                                "0000"
                                "0c"
                                "61" +
                                HexZeros(19) + "62 [/a/ /not\xE9utf8] e8030000 1000",
                            "unloaded"));
}

TEST_F(WizardTest, ARefusedChangeIsSaidAndTheWizardCloses) {
    m_scheduler->AddTask(Weekly(), {});
    m_scheduler->SetScript("ModifyScheduleScanTask 1104");
    OpenTask("weekly");
    GoToSummary();
    ModalDriver user;
    user.Expect([](QDialog* dialog) {
        auto* box = qobject_cast<QMessageBox*>(dialog);
        ASSERT_NE(box, nullptr);
        EXPECT_EQ(box->icon(), QMessageBox::Warning);
        EXPECT_EQ(box->windowTitle(), "Schedule Scan");
        EXPECT_EQ(box->text(), "Schedule Scan is not modified");
        EXPECT_EQ(box->informativeText(), "This scheduled scan is no longer there.");
        box->accept();
    });
    Finish();
    EXPECT_EQ(m_wizard->result(), 1);
}

// The name of a scan that is there is no new one.
TEST_F(WizardTest, EditDoesNotAskForTheName) {
    m_scheduler->AddTask(Weekly(), {});
    m_scheduler->SetScript("ValidateTaskName 1019");
    OpenTask("weekly");
    Next();
    EXPECT_EQ(CurrentPage(), 1);
}

TEST_F(WizardTest, AScanThatCannotBeHadLeavesTheWizardEmpty) {
    m_scheduler->AddTask(Weekly(), {"/a/"});
    m_scheduler->SetScript("GetScheduleScanTaskDetails 1103");
    ModalDriver user;
    ExpectWarning(user, "The service of the scheduler does not run or does not answer.");
    OpenTask("weekly");
    EXPECT_EQ(Find<QLineEdit>("edtScanName").text(), "");
    EXPECT_EQ(Find<QComboBox>("cmbFrequency").currentIndex(), 0);
    EXPECT_THAT(Folders(), IsEmpty());
}

TEST_F(WizardTest, ValuesThatNoControlHasLeaveTheControls) {
    tagSCHEDULE_SCAN_ENTRY record = Weekly();
    record.frequency = 9;
    record.hour = 24;
    record.weekday = 8;
    record.action = 4;
    record.interval = -5;
    record.repeatValue = 30000;
    record.repeatUnit = kScheduleMinutes;
    m_scheduler->AddTask(record, {});
    OpenTask("weekly");
    EXPECT_EQ(Find<QComboBox>("cmbFrequency").currentIndex(), 0);
    EXPECT_EQ(Find<QTimeEdit>("timStart").text(), "12:00:00");
    EXPECT_EQ(Find<QComboBox>("cmbWeekday").currentIndex(), 0);
    EXPECT_EQ(Find<QComboBox>("actioncomboBox").currentIndex(), 1);
    EXPECT_EQ(Find<QSpinBox>("spnInterval").value(), 1);
    EXPECT_EQ(Find<QSpinBox>("spnRepeat").value(), 1439);
}

TEST_F(WizardTest, TheNextWizardIsForANewScanAgain) {
    m_scheduler->AddTask(Weekly(), {"/a/"});
    OpenTask("weekly");
    m_wizard.reset();
    Open();
    EXPECT_EQ(iEditMode, 0);
    EXPECT_EQ(Find<QLineEdit>("edtScanName").text(), "");
    EXPECT_TRUE(IsEnabled("edtScanName"));
    EXPECT_THAT(Folders(), IsEmpty());
}

}  // namespace
