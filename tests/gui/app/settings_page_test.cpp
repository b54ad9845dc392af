// The scanner settings: what the page shows, what it saves, and what it says when it cannot.

#include <csignal>
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QPushButton>

#include "common/run_state.h"
#include "scan/scanner.h"
#include "tests/gui/app/window_fixture.h"
#include "tests/support/expected_questions.h"
#include "tests/support/rendered_box.h"
#include "widgets/house_style.h"

namespace {

namespace fs = std::filesystem;

constexpr char kPrivileges[] =
    "Bad or Missing Configuration, or you do not have sufficient privileges";

class Settings : public WindowTest {
protected:
    QCheckBox& Adware() { return Find<QCheckBox>("chkScadsp"); }
    QCheckBox& Dumb() { return Find<QCheckBox>("chkScdmb"); }
    QCheckBox& Archives() { return Find<QCheckBox>("chkSccmp"); }
    QCheckBox& Packed() { return Find<QCheckBox>("chkPack"); }
    QComboBox& Action() { return Find<QComboBox>("actioncomboBox"); }
    QPushButton& Apply() { return Find<QPushButton>("btnSaveOpts"); }
    QPushButton& Cancel() { return Find<QPushButton>("btnCancelSv"); }

    void ExpectShown(int action, bool archives, bool adware, bool dumb, bool packed) {
        EXPECT_EQ(Action().currentIndex(), action);
        EXPECT_EQ(Archives().isChecked(), archives);
        EXPECT_EQ(Adware().isChecked(), adware);
        EXPECT_EQ(Dumb().isChecked(), dumb);
        EXPECT_EQ(Packed().isChecked(), packed);
    }
    void ExpectSettled() {
        EXPECT_FALSE(Apply().isEnabled());
        EXPECT_FALSE(Cancel().isEnabled());
    }
    void ExpectUnsettled() {
        EXPECT_TRUE(Apply().isEnabled());
        EXPECT_TRUE(Cancel().isEnabled());
    }
    /// Opens the window with its settings page in front.
    dlgMain& OpenPage() {
        dlgMain& window = Open();
        window.OnOptClick();
        EXPECT_EQ(CurrentPage(), dlgMain::kSettingsPage);
        return window;
    }
};

TEST_F(Settings, TextsKeysAndTooltips) {
    OpenPage();
    const struct {
        const char* name;
        const char* text;
        const char* key;
        const char* tooltip;
    } kButtons[] = {
        {"chkScadsp", "Scan A&dware/Spyware", "Alt+D", "Scan adware and spyware (Alt+D)"},
        {"chkScdmb", "Du&mb Scan", "Alt+M", "Scan dumb files (Alt+M)"},
        {"chkSccmp", "Scan Archi&ves", "Alt+V", "Scan archive files (Alt+V)"},
        {"chkPack", "Sca&n Packed", "Alt+N", "Scan packed files (Alt+N)"},
        {"btnCancelSv", "&Cancel", "Alt+C", "Drop the changes (Alt+C)"},
        {"btnSaveOpts", "A&pply", "Alt+P", "Save scanner settings"},
    };
    const QWidget* previous = nullptr;
    for (const auto& each : kButtons) {
        const auto& button = Find<QAbstractButton>(each.name);
        EXPECT_EQ(button.text(), each.text);
        EXPECT_EQ(button.shortcut(), QKeySequence(each.key)) << each.name;
        EXPECT_EQ(button.toolTip(), each.tooltip);
        if (previous != nullptr && qobject_cast<const QCheckBox*>(&button) != nullptr) {
            EXPECT_LT(previous->y(), button.y()) << each.name << " is out of order";
        }
        previous = &button;
    }
    const auto& page = Find<QWidget>("settingsPage");
    EXPECT_EQ(page.findChild<QLabel*>("lblHeading")->text(), "Scanner Settings");
    const auto* label = page.findChild<QLabel*>("lblAction");
    EXPECT_EQ(label->text(), "Ac&tion on Virus Found");
    EXPECT_EQ(label->buddy(), &Action());
    EXPECT_EQ(Action().toolTip(), "Select action on virus found (Alt+T)");
    QStringList actions;
    for (int i = 0; i < Action().count(); ++i) {
        actions << Action().itemText(i);
    }
    EXPECT_EQ(actions.join('|'),
              "Repair only|Repair, delete if unrepairable|Delete|Report only|Prompt");
}

TEST_F(Settings, TheCheckBoxesCanBeSeenInEveryPalette) {
    dlgMain& window = OpenPage();
    HouseStyle style;
    for (const QPalette& palette : {LightPalette(), DarkPalette(), DimPalette()}) {
        window.setPalette(palette);
        const QColor behind = palette.color(QPalette::Window);
        for (QCheckBox* box : {&Adware(), &Dumb(), &Archives(), &Packed()}) {
            box->setStyle(&style);
            EXPECT_GE(EdgeContrast(box->grab().toImage(), IndicatorOf(*box), behind, ContrastRatio),
                      3.0)
                << box->objectName().toStdString() << " on " << behind.name().toStdString();
        }
    }
    CloseWindow();
}

TEST_F(Settings, DefaultsAreShownAtStart) {
    Open();
    ExpectShown(1, true, true, false, true);
    ExpectSettled();
    EXPECT_EQ(g_scnopts.action, 1);
    EXPECT_EQ(g_scnopts.flags, 11);
}

TEST_F(Settings, StoredSettingsAreShownAtStart) {
    const struct {
        std::string bytes;
        int action;
        bool archives, adware, dumb, packed;
    } kRecords[] = {
        {std::string("\x00\x00\x00", 3), 0, false, false, false, false},
        {std::string("\x01\x00\x01", 3), 1, true, false, false, false},
        {std::string("\x02\x00\x02", 3), 2, false, true, false, false},
        {std::string("\x03\x00\x04", 3), 3, false, false, true, false},
        {std::string("\x04\x00\x08", 3), 4, false, false, false, true},
    };
    for (const auto& each : kRecords) {
        Put("zqscn.opt", each.bytes);
        Open();
        ExpectShown(each.action, each.archives, each.adware, each.dumb, each.packed);
        ExpectSettled();
        EXPECT_EQ(Mode("zqscn.opt"), 0666);
        CloseWindow();
    }
}

TEST_F(Settings, UnknownActionLeavesTheListAsItWas) {
    Put("zqscn.opt", std::string("\x07\x00\x03", 3));
    Open();
    EXPECT_EQ(Action().currentIndex(), 0);
    EXPECT_EQ(g_scnopts.action, 7);

    Action().setCurrentIndex(2);
    Click("btnCancelSv");
    ExpectShown(2, true, true, false, false);
    ExpectSettled();
}

TEST_F(Settings, EveryChangeCanBeSavedOrDropped) {
    OpenPage();
    for (QCheckBox* box : {&Adware(), &Dumb(), &Archives(), &Packed()}) {
        box->click();
        ExpectUnsettled();
        Cancel().click();
        ExpectSettled();
    }
    Action().setCurrentIndex(3);
    ExpectUnsettled();
    EXPECT_EQ(Get("zqscn.opt"), std::string("\x01\x00\x0B", 3)) << "nothing before Apply";
}

TEST_F(Settings, ApplyWritesTheFileAndTellsTheEngine) {
    const struct {
        const char* box;
        char bit;
    } kBoxes[] = {{"chkSccmp", 1}, {"chkScadsp", 2}, {"chkScdmb", 4}, {"chkPack", 8}};
    OpenPage();
    for (const auto& each : kBoxes) {
        for (QCheckBox* box : {&Adware(), &Dumb(), &Archives(), &Packed()}) {
            box->setChecked(false);
        }
        Find<QCheckBox>(each.box).setChecked(true);
        Action().setCurrentIndex(4);
        fs::permissions(PathOf("zqscn.opt"), fs::perms(0600));
        Apply().click();
        EXPECT_EQ(Get("zqscn.opt"), std::string({'\x04', '\x00', each.bit}));
        EXPECT_EQ(Mode("zqscn.opt"), 0666);
        EXPECT_EQ(g_scnopts.action, 4);
        EXPECT_EQ(g_scnopts.flags, each.bit);
        EXPECT_EQ(Scanner::m_shAction, 4);
        EXPECT_EQ(Scanner::m_ScanOptns.scanArchives, each.bit == 1 ? 1 : 0);
        EXPECT_EQ(Scanner::m_ScanOptns.adwareLevel, each.bit == 2 ? 7 : 3);
        EXPECT_EQ(Scanner::m_ScanOptns.dumbScan, each.bit == 4 ? 1 : 0);
        EXPECT_EQ(Scanner::m_ScanOptns.scanPacked, each.bit == 8 ? 1 : 0);
        ExpectSettled();
    }
    EXPECT_EQ(m_engine.Calls("ZqSetOptions").size(), 4U);
}

TEST_F(Settings, ApplyNeverMakesTheFile) {
    OpenPage();
    fs::remove(PathOf("zqscn.opt"));
    Dumb().click();
    ModalDriver user;
    user.ExpectMessage(QMessageBox::Critical, "Corvane", kPrivileges);
    Apply().click();
    ExpectSettled();
    EXPECT_FALSE(Get("zqscn.opt").has_value());
    EXPECT_EQ(g_scnopts.flags, 11) << "nothing else changes";
    EXPECT_TRUE(m_engine.Calls("ZqSetOptions").empty());
}

TEST_F(Settings, ApplyWithoutTheRightToWrite) {
    if (geteuid() == 0) {
        OpenPage();
        // A link where others may write stands for every file that even root cannot open.
        fs::permissions(PathOf("zqscn.opt").parent_path(), fs::perms(0777));
        fs::rename(PathOf("zqscn.opt"), PathOf("elsewhere"));
        fs::create_symlink("elsewhere", PathOf("zqscn.opt"));
    } else {
        OpenPage();
        fs::permissions(PathOf("zqscn.opt"), fs::perms(0444));
    }
    Dumb().click();
    ModalDriver user;
    user.ExpectMessage(QMessageBox::Critical, "Corvane", kPrivileges);
    Apply().click();
    ExpectSettled();
    EXPECT_EQ(Get("zqscn.opt"), std::string("\x01\x00\x0B", 3));
}

TEST_F(Settings, FailedWriteStillUpdatesTheEngine) {
    OpenPage();
    Dumb().click();
    Action().setCurrentIndex(2);
    // No file may grow or be written: every write fails as on a full disk.
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    ModalDriver user;
    user.Expect([&before](QDialog* dialog) {
        setrlimit(RLIMIT_FSIZE, &before);
        auto* box = qobject_cast<QMessageBox*>(dialog);
        ASSERT_NE(box, nullptr);
        EXPECT_EQ(box->icon(), QMessageBox::Critical);
        EXPECT_EQ(box->windowTitle(), "Corvane");
        EXPECT_EQ(box->text(),
                  "Unable to save options. \n Close all the application and try again");
        box->accept();
    });
    const rlimit none{0, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &none);
    Apply().click();
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, oldHandler);

    EXPECT_EQ(Get("zqscn.opt"), std::string("\x01\x00\x0B", 3));
    EXPECT_EQ(g_scnopts.action, 2);
    EXPECT_EQ(g_scnopts.flags, 15);
    EXPECT_EQ(Scanner::m_ScanOptns.dumbScan, 1);
    ExpectSettled();
}

TEST_F(Settings, CancelShowsTheFileAgain) {
    OpenPage();
    Put("zqscn.opt", std::string("\x03\x00\x0C", 3));
    Adware().click();
    Cancel().click();
    ExpectShown(3, false, false, true, true);
    ExpectSettled();
    EXPECT_EQ(Mode("zqscn.opt"), 0666);
    EXPECT_EQ(g_scnopts.action, 1) << "what is shown is not what is in force";
}

TEST_F(Settings, CancelWithAShortFileShowsZeros) {
    OpenPage();
    Put("zqscn.opt", "\x02");
    Adware().click();
    Cancel().click();
    ExpectShown(2, false, false, false, false);
}

TEST_F(Settings, CancelWithoutTheFile) {
    OpenPage();
    fs::remove(PathOf("zqscn.opt"));
    Adware().click();
    ModalDriver user;
    user.ExpectMessage(QMessageBox::Critical, "Corvane", kPrivileges);
    Cancel().click();
    ExpectShown(1, false, false, false, false);
    ExpectSettled();
    EXPECT_FALSE(Get("zqscn.opt").has_value());
}

TEST_F(Settings, CancelWithAFileThatCannotBeRead) {
    OpenPage();
    // The memory of this process: opens for reading and writing, and nothing lies at its start.
    const std::string memory = "/proc/" + std::to_string(getpid()) + "/mem";
    if (mount(memory.c_str(), PathOf("zqscn.opt").c_str(), nullptr, MS_BIND, nullptr) != 0) {
        GTEST_SKIP() << "needs the right to mount";
    }
    Adware().click();
    ModalDriver user;
    user.ExpectMessage(QMessageBox::Critical, "Corvane", "Bad or Missing Configuration");
    Cancel().click();
    umount(PathOf("zqscn.opt").c_str());
    ExpectShown(0, false, false, false, false);
    ExpectSettled();
}

TEST_F(Settings, LeavingWithoutChangesAsksNothing) {
    dlgMain& window = OpenPage();
    ModalDriver user;
    EXPECT_TRUE(window.SaveOrNot());
    Click("btnScan");
    EXPECT_EQ(CurrentPage(), dlgMain::kScanPage);
}

TEST_F(Settings, LeavingWithYesSaves) {
    OpenPage();
    Dumb().click();
    ModalDriver user;
    ExpectSaveQuestion(user, QMessageBox::Yes);
    Click("btnScan");
    EXPECT_EQ(CurrentPage(), dlgMain::kScanPage);
    EXPECT_EQ(Get("zqscn.opt"), std::string("\x01\x00\x0F", 3));
    ExpectSettled();
}

TEST_F(Settings, LeavingWithNoDropsTheChanges) {
    OpenPage();
    Dumb().click();
    ModalDriver user;
    ExpectSaveQuestion(user, QMessageBox::No);
    Click("btnAbout");
    EXPECT_EQ(CurrentPage(), dlgMain::kAboutPage);
    EXPECT_EQ(Get("zqscn.opt"), std::string("\x01\x00\x0B", 3));
    ExpectShown(1, true, true, false, true);
    ExpectSettled();
}

TEST_F(Settings, LeavingWithCancelKeepsThePage) {
    dlgMain& window = OpenPage();
    Dumb().click();
    for (const char* button : {"btnAbout", "btnReports", "btnSchedule", "btnUpdate", "btnScan"}) {
        ModalDriver user;
        ExpectSaveQuestion(user, QMessageBox::Cancel);
        Click(button);
        EXPECT_EQ(CurrentPage(), dlgMain::kSettingsPage) << button;
        EXPECT_TRUE(Find<QAbstractButton>("btnOptions").isChecked()) << button;
        EXPECT_FALSE(Find<QAbstractButton>(button).isChecked()) << button;
    }
    ExpectUnsettled();
    EXPECT_TRUE(Dumb().isChecked());
    EXPECT_EQ(Get("zqscn.opt"), std::string("\x01\x00\x0B", 3));

    ModalDriver user;
    ExpectSaveQuestion(user, QMessageBox::Cancel);
    EXPECT_FALSE(window.close());
    EXPECT_TRUE(window.isVisible());
    ExpectSaveQuestion(user, QMessageBox::No);
    EXPECT_TRUE(window.close());
}

}  // namespace
