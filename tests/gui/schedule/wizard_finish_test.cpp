// What the wizard puts into the record and onto the summary, and what it says at its end.

#include <filesystem>

#include "tests/gui/schedule/wizard_fixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class WizardFinish : public WizardTest {
protected:
    /// Presses Finish, reads the box, and gives what was handed to the library with `call`.
    std::string FinishWith(QMessageBox::Icon icon, const QString& text, const QString& explanation,
                           const std::string& call) {
        ModalDriver user;
        user.Expect([&](QDialog* dialog) {
            auto* box = qobject_cast<QMessageBox*>(dialog);
            ASSERT_NE(box, nullptr);
            EXPECT_EQ(box->icon(), icon);
            EXPECT_EQ(box->windowTitle(), "Schedule Scan");
            EXPECT_EQ(box->text(), text);
            EXPECT_EQ(box->informativeText(), explanation);
            EXPECT_EQ(box->textFormat(), Qt::PlainText);
            box->done(QMessageBox::Ok);
        });
        m_scheduler->TakeCalls();
        Finish();
        EXPECT_EQ(m_wizard->result(), 1);
        EXPECT_FALSE(m_wizard->isVisible());
        const std::vector<std::string> calls = m_scheduler->TakeCalls();
        if (calls.size() != 2 || calls[1] != "unloaded" || !calls[0].starts_with(call + " ")) {
            ADD_FAILURE() << ::testing::PrintToString(calls);
            return {};
        }
        return calls[0].substr(call.size() + 1);
    }
    std::string Added(const QString& name) {
        return FinishWith(QMessageBox::Information,
                          "Schedule Scan " + name + " is added successfully.", "", "add");
    }
};

TEST_F(WizardFinish, EveryByteOfADailyScanAsItBegins) {
    Open();
    GoToSummary("daily");
    EXPECT_EQ(Added("daily"), std::string(kTaskListPath) + " " + HexText("daily", 256) +
                                  "00"    // daily
                                  "00"    // at a time
                                  "0c00"  // 12
                                  "0000"  // :00
                                  "0000"  // :00
                                  "00"    // no repetition
                                  "0100"  // every day
                                  "0100"  // every minute, if it were repeated
                                  "01"    // minutes
                                  "01"    // Sunday
                                  "0000"  //
                                  "0100"  // repair, delete if unrepairable
                                  "0b" +  // archives, adware, packed
                                  HexZeros(21) +
                                  " [] e8030000");
}

TEST_F(WizardFinish, EveryByteOfAWeeklyScanWithAllThereIs) {
    ScratchFolder scratch;
    std::filesystem::create_directory(scratch / "a");
    std::filesystem::create_directory(scratch / "b");
    const PretendedUser other(0x01020304);
    Open();
    AddFolders(scratch / "b/" + ";" + scratch / "a/" + ";" + scratch / "b/");
    Find<QComboBox>("cmbFrequency").setCurrentIndex(1);
    Find<QSpinBox>("spnInterval").setValue(3);
    Find<QComboBox>("cmbWeekday").setCurrentIndex(6);
    Find<QTimeEdit>("timStart").setTime(QTime(23, 58, 57));
    Click("rdoFirstBoot");
    Click("chkRepeat");
    Find<QComboBox>("cmbRepeatUnit").setCurrentIndex(1);
    Find<QSpinBox>("spnRepeat").setValue(22);
    Click("chkSccmp");
    Click("chkScadsp");
    Click("chkScdmb");
    Click("chkPack");
    Find<QComboBox>("actioncomboBox").setCurrentIndex(3);
    GoToSummary("weekly");
    EXPECT_EQ(Added("weekly"), std::string(kTaskListPath) + " " + HexText("weekly", 256) +
                                   "01"    // weekly
                                   "01"    // at first boot
                                   "1700"  // 23
                                   "3a00"  // :58
                                   "3900"  // :57
                                   "01"    // with repetition
                                   "0300"  // every three weeks
                                   "1600"  // every 22
                                   "00"    // hours
                                   "07"    // Saturday
                                   "0000"  //
                                   "0300"  // report only
                                   "04" +  // dumb scan
                                   HexZeros(21) +
                                   " [" + scratch / "b/" + " " + scratch / "a/" + " " +
                                   scratch / "b/" + "] 04030201");
}

TEST_F(WizardFinish, EachOptionHasItsBit) {
    const std::pair<const char*, const char*> kBits[] = {
        {"chkSccmp", "01"}, {"chkScadsp", "02"}, {"chkScdmb", "04"}, {"chkPack", "08"}};
    for (const auto& [name, bit] : kBits) {
        Open();
        for (const auto& [other, unused] : kBits) {
            Find<QCheckBox>(other).setChecked(std::string(other) == name);
        }
        GoToSummary("task");
        const std::size_t place = std::string(kTaskListPath).size() + 1 + std::size_t{2} * 275;
        EXPECT_EQ(Added("task").substr(place, 2), bit) << name;
        m_scheduler->DropTasks();
    }
}

TEST_F(WizardFinish, MinutesAreStoredAsOneAndHoursAsZero) {
    for (int unit = 0; unit < 2; ++unit) {
        Open();
        Click("chkRepeat");
        Find<QComboBox>("cmbRepeatUnit").setCurrentIndex(unit);
        GoToSummary("task");
        EXPECT_EQ(g_pPScheduleScanEntry->repeatUnit, unit == 0 ? 1 : 0);
        EXPECT_EQ(g_pPScheduleScanEntry->repeats, 1);
    }
}

TEST_F(WizardFinish, GoingBackAndOnAgainTakesWhatIsShownThen) {
    ScratchFolder scratch;
    std::filesystem::create_directory(scratch / "a");
    Open();
    AddFolders(scratch / "a/");
    GoToSummary("task");
    m_wizard->back();
    Find<QComboBox>("actioncomboBox").setCurrentIndex(2);
    Find<QCheckBox>("chkPack").setChecked(false);
    m_wizard->back();
    Name("other");
    Next();
    Next();
    const std::string record = Added("other");
    EXPECT_NE(record.find("0200"
                          "03" +
                          HexZeros(21) + " [" + scratch / "a/" + "] e8030000"),
              std::string::npos)
        << record;
}

// ---- The summary

TEST_F(WizardFinish, TheSummaryShowsTheRecord) {
    ScratchFolder scratch;
    std::filesystem::create_directory(scratch / "a");
    Open();
    GoToSummary("task");
    EXPECT_EQ(TextOf("lblSummaryName"), "task");
    EXPECT_EQ(TextOf("lblSummaryFrequency"), "Daily");
    EXPECT_EQ(TextOf("lblSummaryStart"), "12:00:00");
    EXPECT_EQ(TextOf("lblSummaryRepeat"), "No Repeat");
    EXPECT_THAT(Rows(Find<QListWidget>("lstSummaryFolders")), IsEmpty());
    EXPECT_TRUE(Find<QLabel>("lblNoFolders").isVisible());

    m_wizard->back();
    m_wizard->back();
    AddFolders(scratch / "a/");
    Find<QComboBox>("cmbFrequency").setCurrentIndex(1);
    Click("rdoFirstBoot");
    Click("chkRepeat");
    Find<QSpinBox>("spnRepeat").setValue(90);
    GoToSummary("task");
    EXPECT_EQ(TextOf("lblSummaryFrequency"), "Weekly");
    EXPECT_EQ(TextOf("lblSummaryStart"), "First Boot");
    EXPECT_EQ(TextOf("lblSummaryRepeat"), "90 Min");
    EXPECT_THAT(Rows(Find<QListWidget>("lstSummaryFolders")), ElementsAre(scratch / "a/"));
    EXPECT_FALSE(Find<QLabel>("lblNoFolders").isVisible());

    m_wizard->back();
    Find<QComboBox>("cmbRepeatUnit").setCurrentIndex(1);
    Click("rdoStartAt");
    Find<QTimeEdit>("timStart").setTime(QTime(3, 4, 5));
    Next();
    EXPECT_EQ(TextOf("lblSummaryRepeat"), "23 Hrs");
    EXPECT_EQ(TextOf("lblSummaryStart"), "03:04:05");
}

TEST_F(WizardFinish, ALongNameIsShortenedFrom16CharactersOn) {
    const std::pair<const char*, const char*> kNames[] = {
        {"fifteen letters", "fifteen letters"},
        {"sixteen lettersX", "sixteen lett..."},
        // 16 characters of two bytes, two units or more each
        {"\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4"
         "\xF0\x9F\x98\x80\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4",
         "\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4"
         "\xF0\x9F\x98\x80..."},
        {"\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4"
         "\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4",
         "\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4"
         "\xC3\xA4\xC3\xA4\xC3\xA4\xC3\xA4"},
    };
    for (const auto& [name, shown] : kNames) {
        Open();
        GoToSummary(QString::fromUtf8(name));
        EXPECT_EQ(TextOf("lblSummaryName"), QString::fromUtf8(shown));
        const std::string record = Added(QString::fromUtf8(shown));
        EXPECT_NE(record.find(" " + HexText(name, 256)), std::string::npos) << "kept whole";
        m_scheduler->DropTasks();
    }
}

// ---- The end

TEST_F(WizardFinish, ARefusedScanIsSaidAndTheWizardCloses) {
    const std::pair<const char*, const char*> kReasons[] = {
        {"1103", "The service of the scheduler does not run or does not answer."},
        {"1105", "You have as many scheduled scans as are allowed. Remove one first."},
        {"1106", "The scheduler does not accept these settings."},
        {"1107", "The list of scheduled scans cannot be read or written."},
        {"7", "The scheduler reports error 7."},
    };
    for (const auto& [code, reason] : kReasons) {
        m_scheduler->SetScript(std::string("AddScheduleScanTask ") + code);
        Open();
        GoToSummary();
        FinishWith(QMessageBox::Warning, "Schedule Scan is not added", reason, "add");
    }
}

}  // namespace
