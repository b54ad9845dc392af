// The update page: what it shows of the record, what can be changed, and what the changes lead to.

#include "update/update_page.h"

#include <QApplication>
#include <QFileDialog>
#include <QLayout>
#include <QTest>

#include "common/run_state.h"
#include "tests/gui/app/update_page_fixture.h"
#include "tests/support/rendered_box.h"
#include "update/dlg_int_set.h"
#include "widgets/house_style.h"

namespace {

namespace fs = std::filesystem;

TEST_F(UpdatePageTest, TextsKeysAndToolTips) {
    OpenPage(Record(0x8));
    const struct {
        const char* name;
        const char* text;
        const char* key;
        const char* tooltip;
    } kButtons[] = {
        {"rdoInternet", "&Internet centre", "Alt+I", "Update from the Internet centre (Alt+I)"},
        {"rdoServer", "Endpoint Protection Ser&ver", "Alt+V",
         "Update from the Endpoint Protection Server (Alt+V)"},
        {"rdoPath", "Update from path", "Alt+K", "Update from path (Alt+K)"},
        {"btnIntSetting", "Internet settin&gs...", "Alt+G", "Set the proxy server (Alt+G)"},
        {"btnUpdtPath", "Fol&der...", "Alt+D",
         "Choose the folder that updates are taken from (Alt+D)"},
        {"btnUpdateNow", "Update no&w", "Alt+W", "Update the virus database now (Alt+W)"},
        {"chkBackup", "Keep a &backup of update files", "Alt+B",
         "Keep backup of update files (Alt+B)"},
        {"btnBkupFolder", "&Folder...", "Alt+F",
         "Choose the folder that update files are kept in (Alt+F)"},
        {"chkAutoUpdate", "&Enable automatic updates", "Alt+E", "Enable automatic update (Alt+E)"},
        {"btnCancelUpd", "&Cancel", "Alt+C", "Drop the changes (Alt+C)"},
        {"btnApplyUpd", "A&pply", "Alt+P", "Save the update settings (Alt+P)"},
    };
    for (const auto& each : kButtons) {
        const auto& button = Find<QAbstractButton>(each.name);
        EXPECT_EQ(button.text(), each.text);
        EXPECT_EQ(button.shortcut(), QKeySequence(each.key)) << each.name;
        EXPECT_EQ(button.toolTip(), each.tooltip);
    }
    const auto& page = Find<QWidget>("updatePage");
    EXPECT_EQ(page.findChild<QLabel*>("lblHeading")->text(), "Update");
    for (const char* label : {"lblDefinitions", "lblLastUpdate"}) {
        EXPECT_EQ(Find<QLabel>(label).textFormat(), Qt::PlainText);
    }
}

TEST_F(UpdatePageTest, TabGoesDownThePage) {
    OpenPage(Record(0x4, "/", "/"));
    Apply().setEnabled(true);
    Cancel().setEnabled(true);
    QStringList order;
    const QWidget* widget = &Find<QWidget>("btnScan");
    do {
        if ((widget->focusPolicy() & Qt::TabFocus) != 0 && widget->isVisibleTo(m_window.get())) {
            order << widget->objectName();
        }
        widget = widget->nextInFocusChain();
    } while (widget->objectName() != "btnScan");
    EXPECT_EQ(order.mid(8).join(' '),
              "rdoInternet btnIntSetting rdoServer rdoPath edtUpdtPath btnUpdtPath chkBackup "
              "edtBkupFolder btnBkupFolder chkAutoUpdate btnUpdateNow btnCancelUpd btnApplyUpd");
}

TEST_F(UpdatePageTest, EveryRecordIsShown) {
    const std::pair<std::string, const char*> kRecords[] = {
        {Record(0x0, "/srv/updates"), "path=/srv/updates"},
        {Record(0x1, "", "/unused"), "automatic path="},
        {Record(0x2, "/unused"), "internet"},
        {Record(0x3), "automatic internet"},
        {Record(0x4, "/p", "/b"), "path=/p backup=/b"},
        {Record(0x8, "/unused", "/unused"), "server"},
        {Record(0xA), "internet"},
        {Record(0xD, "", "/b"), "automatic server backup=/b"},
        {Record(0xF), "automatic internet backup="},
    };
    for (const auto& [record, shown] : kRecords) {
        OpenPage(record);
        EXPECT_EQ(Shown(), shown);
        EXPECT_EQ(Get(kFile), record);
        CloseWindow();
    }
}

TEST_F(UpdatePageTest, ARecordTakesThePlaceOfTheOneBefore) {
    dlgMain& window = OpenPage(Record(0x5, "/p", "/b"));
    tagUpdtOpts options{0x8, 1, {}, {}};
    window.updateUiChange(&options);
    EXPECT_EQ(Shown(), "server");
    options = {0x0, 1, {'/', 'q'}, {}};
    window.updateUiChange(&options);
    EXPECT_EQ(Shown(), "path=/q");
    window.updateUiChange(nullptr);
    EXPECT_EQ(Shown(), "path=/q");
}

TEST_F(UpdatePageTest, StartUpAndThePageMakeDifferentFiles) {
    dlgMain& window = Open();
    EXPECT_EQ(Get(kFile), Record(0x9));
    EXPECT_EQ(Shown(), "automatic server");
    fs::remove(PathOf(kFile));
    window.LoadUpdtOptions();
    EXPECT_EQ(Get(kFile), Record(0x8));
    EXPECT_EQ(Mode(kFile), 0666);
    EXPECT_EQ(Shown(), "server");
}

TEST_F(UpdatePageTest, EveryChangeCanBeAppliedOrDropped) {
    OpenPage(Record(0x4, "/p", "/b"));
    const std::pair<const char*, const char*> kClicks[] = {
        {"chkAutoUpdate", "automatic path=/p backup=/b *"},
        {"rdoInternet", "internet backup=/b *"},
        {"rdoServer", "server backup=/b *"},
        {"chkBackup", "path=/p *"},
    };
    for (const auto& [control, shown] : kClicks) {
        Click(control);
        EXPECT_EQ(Shown(), shown);
        Cancel().click();
        EXPECT_EQ(Shown(), "path=/p backup=/b") << control;
    }
    QTest::keyClicks(&PathEdit(), "x");
    EXPECT_EQ(Shown(), "path=/px backup=/b *");
    Cancel().click();
    QTest::keyClicks(&BackupEdit(), "y");
    EXPECT_EQ(Shown(), "path=/p backup=/by *");
    Cancel().click();
    EXPECT_EQ(Shown(), "path=/p backup=/b");
    EXPECT_EQ(Get(kFile), Record(0x4, "/p", "/b"));
}

TEST_F(UpdatePageTest, FromServerToInternetIsAChange) {
    OpenPage(Record(0x8));
    Internet().click();
    EXPECT_EQ(Shown(), "internet *");
    Cancel().click();
    FromPath().click();
    EXPECT_EQ(Shown(), "path= *");
    Server().click();
    EXPECT_EQ(Shown(), "server *");
}

TEST_F(UpdatePageTest, ClearingAnAutomaticBoxIsAChange) {
    OpenPage(Record(0x9));
    Automatic().click();
    EXPECT_EQ(Shown(), "server *");
}

TEST_F(UpdatePageTest, CancelShowsTheFileAgainAndMakesItAgain) {
    OpenPage(Record(0x2));
    Put(kFile, Record(0x5, "/elsewhere", "/b"));
    Server().click();
    Cancel().click();
    EXPECT_EQ(Shown(), "automatic path=/elsewhere backup=/b");
    EXPECT_EQ(Mode(kFile), 0666);
    fs::remove(PathOf(kFile));
    Server().click();
    Cancel().click();
    EXPECT_EQ(Shown(), "server");
    EXPECT_EQ(Get(kFile), Record(0x8));
}

TEST_F(UpdatePageTest, AFolderIsChosen) {
    OpenPage(Record(0x4));
    fs::create_directory(PathOf("updates"));
    fs::create_directory(PathOf("backup"));
    const auto choose = [this](ModalDriver& user, const char* folder) {
        user.Expect([this, folder](QDialog* dialog) {
            auto* chooser = qobject_cast<QFileDialog*>(dialog);
            ASSERT_NE(chooser, nullptr);
            EXPECT_EQ(chooser->windowTitle(), "get existing directory");
            EXPECT_EQ(chooser->fileMode(), QFileDialog::Directory);
            if (folder == nullptr) {
                chooser->reject();
                return;
            }
            chooser->setDirectory(QString::fromStdString(PathOf("").string()));
            chooser->findChild<QLineEdit*>("fileNameEdit")->setText(folder);
            static_cast<QDialog*>(chooser)->accept();
        });
    };
    ModalDriver user;
    choose(user, "updates");
    Click("btnUpdtPath");
    choose(user, "backup");
    Click("btnBkupFolder");
    EXPECT_EQ(Shown(),
              "path=" + PathOf("updates").string() + " backup=" + PathOf("backup").string() + " *");
    choose(user, nullptr);
    Click("btnUpdtPath");
    EXPECT_EQ(PathEdit().text().toStdString(), PathOf("updates").string());
}

TEST_F(UpdatePageTest, AChosenFolderThatCannotBeReachedIsRefused) {
    OpenPage(Record(0x4, "/p", "/b"));
    const fs::path folder = PathOf("<b>gone");
    fs::create_directory(folder);
    ModalDriver user;
    user.Expect([&folder](QDialog* dialog) {
        auto* chooser = qobject_cast<QFileDialog*>(dialog);
        ASSERT_NE(chooser, nullptr);
        // As one whose name is no UTF-8: it is chosen, and by its shown name it is not there.
        QObject::connect(chooser, &QFileDialog::fileSelected, [&folder] { fs::remove(folder); });
        chooser->findChild<QLineEdit*>("fileNameEdit")
            ->setText(QString::fromStdString(folder.string()));
        static_cast<QDialog*>(chooser)->accept();
    });
    user.ExpectMessage(QMessageBox::Warning, "Corvane",
                       "The folder\n" + QString::fromStdString(folder.string()) +
                           "\ncannot be reached by this name. Rename it, or choose another one.");
    Click("btnBkupFolder");
    EXPECT_EQ(Shown(), "path=/p backup=/b");
}

TEST_F(UpdatePageTest, ItsBoxesCanBeSeenInEveryPalette) {
    dlgMain& window = OpenPage(Record(0x8));
    HouseStyle style;
    for (const QPalette& palette : {LightPalette(), DarkPalette(), DimPalette()}) {
        window.setPalette(palette);
        for (QAbstractButton* box :
             {static_cast<QAbstractButton*>(&Automatic()), static_cast<QAbstractButton*>(&Backup()),
              static_cast<QAbstractButton*>(&FromPath())}) {
            box->setStyle(&style);
            EXPECT_GE(EdgeContrast(box->grab().toImage(), IndicatorOf(*box),
                                   palette.color(QPalette::Window), ContrastRatio),
                      3.0)
                << box->objectName().toStdString();
        }
    }
    CloseWindow();
}

TEST_F(UpdatePageTest, FitsTheSmallestWindow) {
    dlgMain& window = OpenPage(Record(0x4, "/p", "/b"));
    pfnGetVer = [](tagZQVERINFO* version) { *version = {17, 5, {2020, 11, 0, 22, 0, 0, 0, 0}}; };
    Find<UpdatePage>("updatePage").RefreshStatus();
    window.resize(window.minimumSizeHint());
    QApplication::processEvents();
    const auto& definitions = Find<QLabel>("lblDefinitions");
    EXPECT_GE(definitions.height(), 2 * definitions.fontMetrics().lineSpacing())
        << "a line that must be wrapped";
    EXPECT_GE(definitions.height(), definitions.heightForWidth(definitions.width()));
    const auto& page = Find<QWidget>("updatePage");
    EXPECT_GE(page.minimumSizeHint().height(), page.layout()->minimumHeightForWidth(page.width()))
        << "room for it is asked for";
    for (const auto* widget : page.findChildren<QWidget*>()) {
        if (widget->isVisible() && widget->parentWidget()->layout() != nullptr) {
            EXPECT_GE(widget->height(), widget->minimumSizeHint().height())
                << widget->objectName().toStdString();
            EXPECT_TRUE(widget->parentWidget()->rect().contains(widget->geometry()))
                << widget->objectName().toStdString();
        }
    }
}

TEST_F(UpdatePageTest, InternetSettingsAreOpened) {
    OpenPage(Record(0x8));
    ModalDriver user;
    user.Expect([](QDialog* dialog) {
        EXPECT_NE(qobject_cast<dlgIntSet*>(dialog), nullptr);
        EXPECT_EQ(dialog->windowTitle(), "Internet Settings");
        dialog->reject();
    });
    Click("btnIntSetting");
    EXPECT_EQ(Get("zqinet.opt"), std::string(788, '\0'));
    EXPECT_EQ(Shown(), "server");
}

/// A window that only notes that the button was pressed.
class WindowThatNotes : public dlgMain {
public:
    void OnUpdateNowClick() override { ++m_updates; }
    int m_updates = 0;
};

TEST_F(UpdatePageTest, UpdateNowIsHandedToItsSlot) {
    auto& window = Open<WindowThatNotes>();
    Click("btnUpdateNow");
    EXPECT_EQ(window.m_updates, 1);
}

TEST_F(UpdatePageTest, WhatStandsOnDiskIsShownAsItIs) {
    OpenPage(Record(0x4, "/<b>\xE9", "/a\nb"));
    EXPECT_EQ(Shown(), "path=/<b>\\xE9 backup=/a\\nb");
    CloseWindow();
    OpenPage(std::string(8, '\0') + std::string(512, 'x'));
    EXPECT_EQ(Shown(), "path=" + std::string(256, 'x')) << "a text without its end";
}

}  // namespace
