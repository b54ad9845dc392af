#include <clocale>
#include <cstdlib>

#include <QAction>
#include <QClipboard>
#include <QDesktopServices>
#include <QGuiApplication>
#include <QLabel>
#include <QMessageBox>
#include <QToolButton>
#include <QTranslator>
#include <QUrl>

#include "common/run_state.h"
#include "scan/scanner.h"
#include "tests/gui/app/main_window_fixture.h"
#include "tests/support/scratch.h"
#include "widgets/name_label.h"

// The about page: what it says of the engine, and the ways to the maker's web site.

namespace {

constexpr char kWebSite[] = "https://www.corvane.example";

class AboutPageTest : public WindowTest {
protected:
    std::string Text(const char* label) { return Find<QLabel>(label).text().toStdString(); }
    // The page, over an engine of that version.
    void ShowVersion(PFNGETVER version) {
        Open();
        const PFNGETVER before = pfnGetVer;
        pfnGetVer = version;
        Click("btnAbout");
        pfnGetVer = before;
        ASSERT_EQ(CurrentPage(), dlgMain::kAboutPage);
    }
};

TEST_F(AboutPageTest, ShowsTheVersionAndTheDateOfTheDatabase) {
    ShowVersion([](tagZQVERINFO* version) { *version = {17, 0, {2026, 3, 0, 9, 23, 59, 59, 0}}; });
    EXPECT_EQ(Text("lblVersion"), ":  17.00");
    EXPECT_EQ(Text("lblDatabaseDate"), ":  09-March-2026");
    EXPECT_EQ(Text("lblVersionCaption"), "Scan engine version");
    EXPECT_EQ(Text("lblDatabaseDateCaption"), "Virus database date");
}

TEST_F(AboutPageTest, TheMinorVersionHasTwoDigitsAtLeast) {
    ShowVersion([](tagZQVERINFO* version) {
        *version = {65535, 123, {2026, 12, 0, 31, 0, 0, 0, 0}};
    });
    EXPECT_EQ(Text("lblVersion"), ":  65535.123");
    EXPECT_EQ(Text("lblDatabaseDate"), ":  31-December-2026");
}

TEST_F(AboutPageTest, AsksTheEngineEachTimeItIsOpened) {
    ShowVersion([](tagZQVERINFO* version) { *version = {1, 2, {2026, 1, 0, 1, 0, 0, 0, 0}}; });
    EXPECT_EQ(Text("lblVersion"), ":  1.02");
    Click("btnScan");
    pfnGetVer = [](tagZQVERINFO* version) { *version = {1, 3, {2026, 1, 0, 2, 0, 0, 0, 0}}; };
    Click("btnAbout");
    EXPECT_EQ(Text("lblVersion"), ":  1.03");
    EXPECT_EQ(Text("lblDatabaseDate"), ":  02-January-2026");
}

TEST_F(AboutPageTest, WithoutAnEngineThatTellsNothingIsKnown) {
    ShowVersion(nullptr);
    EXPECT_EQ(Text("lblVersion"), ":  not known");
    EXPECT_EQ(Text("lblDatabaseDate"), ":  not known");
    ASSERT_EQ(UnLoadScanAPI(), 1);
    Click("btnAbout");
    EXPECT_EQ(Text("lblVersion"), ":  not known");
    ModalDriver user;
    user.ExpectMessage(QMessageBox::Critical, "Corvane", "Unable to unload Scan API Library");
    CloseWindow();
}

TEST_F(AboutPageTest, ADateThatIsNoneIsNotKnown) {
    ShowVersion([](tagZQVERINFO* version) { *version = {3, 4, {2026, 13, 0, 1, 0, 0, 0, 0}}; });
    EXPECT_EQ(Text("lblVersion"), ":  3.04");
    EXPECT_EQ(Text("lblDatabaseDate"), ":  not known");
    pfnGetVer = [](tagZQVERINFO* version) { *version = {3, 4, {2026, 12, 0, 32, 0, 0, 0, 0}}; };
    Click("btnAbout");
    EXPECT_EQ(Text("lblDatabaseDate"), ":  not known");
    pfnGetVer = [](tagZQVERINFO* version) { *version = {0, 0, {2026, 12, 0, 31, 0, 0, 0, 0}}; };
    Click("btnAbout");
    EXPECT_EQ(Text("lblVersion"), ":  0.00");
}

TEST_F(AboutPageTest, TheMonthIsInTheLanguageOfTheLocale) {
    const ScratchFolder locales;
    const std::string compile =
        "localedef -i de_DE -f UTF-8 '" + locales / "de_DE.utf8" + "' >/dev/null 2>&1";
    ASSERT_EQ(std::system(compile.c_str()), 0) << "localedef with the locale sources is needed";
    ::setenv("LOCPATH", locales.Path().c_str(), 1);
    const char* made = std::setlocale(LC_TIME, "de_DE.utf8");
    EXPECT_NE(made, nullptr);
    ShowVersion([](tagZQVERINFO* version) { *version = {1, 0, {2026, 3, 0, 9, 0, 0, 0, 0}}; });
    std::setlocale(LC_TIME, "C");
    ::unsetenv("LOCPATH");
    EXPECT_EQ(Text("lblDatabaseDate"), ":  09-M\xC3\xA4rz-2026");
}

TEST_F(AboutPageTest, ValuesFollowTheLanguage) {
    ShowVersion(nullptr);
    QTranslator german;
    ASSERT_TRUE(german.load(CORVANE_TRANSLATIONS_DIR "zqscan_de.qm"));
    QApplication::installTranslator(&german);
    QApplication::processEvents();
    EXPECT_EQ(Text("lblVersion"), ":  nicht bekannt");
    EXPECT_EQ(Text("lblDatabaseDateCaption"), "Datum der Virendatenbank");
    QApplication::removeTranslator(&german);
}

TEST_F(AboutPageTest, StaysWhereTheUserIsWhenLeavingIsCancelled) {
    Open();
    Click("btnOptions");
    Find<QAbstractButton>("chkSccmp").toggle();
    ModalDriver user;
    user.Expect([](QDialog* dialog) {
        qobject_cast<QMessageBox*>(dialog)->button(QMessageBox::Cancel)->click();
    });
    Click("btnAbout");
    EXPECT_EQ(CurrentPage(), dlgMain::kSettingsPage);
    EXPECT_FALSE(Find<QToolButton>("btnAbout").isChecked());
    EXPECT_TRUE(Find<QToolButton>("btnOptions").isChecked());
    user.Expect([](QDialog* dialog) {
        qobject_cast<QMessageBox*>(dialog)->button(QMessageBox::No)->click();
    });
    Click("btnAbout");
    EXPECT_EQ(CurrentPage(), dlgMain::kAboutPage);
    EXPECT_TRUE(Find<QToolButton>("btnAbout").isChecked());
    EXPECT_FALSE(Find<QToolButton>("btnOptions").isChecked());
}

// ---- The web site

/// Programs of the test's own, and no others.
class OwnPath {
public:
    OwnPath() : m_before(std::getenv("PATH")) { ::setenv("PATH", m_folder.Path().c_str(), 1); }
    ~OwnPath() { ::setenv("PATH", m_before.c_str(), 1); }
    OwnPath(const OwnPath&) = delete;
    OwnPath& operator=(const OwnPath&) = delete;

    // "mozilla" writes down how many arguments it got, and which.
    void PutMozilla() const {
        WriteFile(m_folder / "mozilla", "#!/bin/sh\necho \"$# $1\" >'" + (m_folder / "half") +
                                            "'\n/bin/mv '" + (m_folder / "half") + "' '" +
                                            Called() + "'\n");
        ::chmod((m_folder / "mozilla").c_str(), 0755);
    }
    [[nodiscard]] std::string Called() const { return m_folder / "called"; }

private:
    ScratchFolder m_folder;
    std::string m_before;
};

TEST_F(AboutPageTest, StartsTheBrowserOnTheWebSite) {
    Open();
    Click("btnAbout");
    const OwnPath path;
    path.PutMozilla();
    Click("btnUrl");
    ASSERT_TRUE(WaitUntil([&] { return Exists(path.Called()); }));
    EXPECT_EQ(ReadFile(path.Called()), std::string("1 ") + kWebSite + "\n");
}

TEST_F(AboutPageTest, SaysWhenThereIsNoSuchBrowser) {
    dlgMain& window = Open();
    const OwnPath path;
    ModalDriver user;
    user.ExpectMessage(QMessageBox::Critical, "Critical!", "Web Browser reports an error!");
    window.OnUrlClicked();
}

TEST_F(AboutPageTest, TheAddressCanBeCopied) {
    Open();
    Click("btnAbout");
    auto& address = Find<NameLabel>("lblUrl");
    EXPECT_EQ(address.text(), kWebSite);
    EXPECT_TRUE(address.textInteractionFlags() & Qt::TextSelectableByKeyboard);
    ASSERT_EQ(address.actions().size(), 1);
    address.actions().front()->trigger();
    EXPECT_EQ(QGuiApplication::clipboard()->text(), kWebSite);
}

/// A desktop that opens web addresses.
class Desktop : public QObject {
    Q_OBJECT
public slots:
    void Open(const QUrl& url) { m_opened << url.toString(); }

public:
    QStringList m_opened;
};

TEST_F(AboutPageTest, TheDesktopsOwnBrowserIsOpened) {
    Open();
    Click("btnAbout");
    Desktop desktop;
    QDesktopServices::setUrlHandler("https", &desktop, "Open");
    Click("btnDesktopBrowser");
    QDesktopServices::unsetUrlHandler("https");
    EXPECT_EQ(desktop.m_opened, QStringList(kWebSite));
}

// Offscreen there is no desktop.
TEST_F(AboutPageTest, SaysWhenTheDesktopOpensNone) {
    Open();
    Click("btnAbout");
    ModalDriver user;
    user.ExpectMessage(QMessageBox::Critical, "Corvane",
                       "The desktop has opened no browser.\nCopy the address into one.");
    Click("btnDesktopBrowser");
}

}  // namespace

#include "about_page_test.moc"
