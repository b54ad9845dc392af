#include <filesystem>

#include <QTest>
#include <QTranslator>

#include "help/dlg_help.h"
#include "help/help_browser.h"
#include "tests/gui/app/main_window_fixture.h"

// The window's help viewer.

namespace fs = std::filesystem;

namespace {

class MainWindowHelp : public WindowTest {
protected:
    void SetUp() override {
        WindowTest::SetUp();
        if (IsSkipped()) {
            return;
        }
        fs::create_directories(PathOf("doc/html/de"));
        for (const char* page : {"home", "scanning", "settings", "reports", "virus-log", "updates",
                                 "schedules", "about"}) {
            for (const char* folder : {"", "de/"}) {
                PutPage(std::string(folder) + page);
            }
        }
    }
    void PutPage(const std::string& name) const {
        Put("doc/html/" + name + ".htm", "<title>" + name + "</title>text");
    }

    static QList<dlgHelp*> Viewers() {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QList<dlgHelp*> viewers;
        for (QWidget* window : QApplication::topLevelWidgets()) {
            if (auto* viewer = qobject_cast<dlgHelp*>(window)) {
                viewers << viewer;
            }
        }
        return viewers;
    }
    static std::string Shown() {
        const auto viewers = Viewers();
        if (viewers.size() != 1 || !viewers[0]->isVisible()) {
            return "(no viewer)";
        }
        return viewers[0]->windowTitle().toStdString();
    }
};

TEST_F(MainWindowHelp, IsThereFromTheStartButNotShown) {
    Open();
    ASSERT_EQ(Viewers().size(), 1);
    EXPECT_FALSE(Viewers()[0]->isVisible());
}

TEST_F(MainWindowHelp, ShowsTheHomePage) {
    Open();
    Click("btnHelp");
    ASSERT_EQ(Shown(), "home");
    EXPECT_EQ(Viewers()[0]->findChild<HelpBrowser*>("browser")->source().toLocalFile(),
              QString::fromStdString(PathOf("doc/html/home.htm").string()));
}

TEST_F(MainWindowHelp, AHomePageWithoutATitleHasTheCaptionOfTheViewer) {
    Put("doc/html/home.htm", "no title");
    Open();
    Click("btnHelp");
    EXPECT_EQ(Shown(), "Corvane Main help viewer");
}

TEST_F(MainWindowHelp, PressedTwiceOpensOneViewerAndBringsItToTheFront) {
    Open();
    Click("btnHelp");
    dlgHelp* viewer = Viewers()[0];
    m_window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(m_window.get()));
    viewer->showMinimized();
    Click("btnHelp");
    EXPECT_EQ(Viewers(), QList<dlgHelp*>{viewer});
    EXPECT_FALSE(viewer->isMinimized());
    EXPECT_TRUE(QTest::qWaitForWindowActive(viewer));
}

TEST_F(MainWindowHelp, AClosedViewerIsMadeAnew) {
    Open();
    Click("btnHelp");
    Viewers()[0]->close();
    EXPECT_TRUE(Viewers().isEmpty());
    Click("btnHelp");
    EXPECT_EQ(Shown(), "home");
}

TEST_F(MainWindowHelp, ClosingTheWindowClosesEveryViewer) {
    dlgMain& window = Open();
    Click("btnHelp");
    Viewers()[0]->newWindow();
    ASSERT_EQ(Viewers().size(), 2);
    window.close();
    EXPECT_TRUE(Viewers().isEmpty());
    EXPECT_EQ(Get(".bookmarks"), std::string(4, '\0'));
}

TEST_F(MainWindowHelp, AWindowThatStaysKeepsItsViewer) {
    class Staying : public dlgMain {
    public:
        bool SaveOrNot() override { return false; }
        void OnOptClick() override {}
    };
    auto& window = Open<Staying>();
    Click("btnHelp");
    EXPECT_FALSE(window.close());
    EXPECT_EQ(Shown(), "home");
}

TEST_F(MainWindowHelp, GoesWithTheWindow) {
    Open();
    Click("btnHelp");
    CloseWindow();
    EXPECT_TRUE(Viewers().isEmpty());
}

TEST_F(MainWindowHelp, AKeyExplainsThePageThatIsShown) {
    dlgMain& window = Open();
    const struct {
        const char* button;
        const char* page;
    } kPages[] = {{"btnScan", "scanning"},  {"btnOptions", "settings"},   {"btnReports", "reports"},
                  {"btnUpdate", "updates"}, {"btnSchedule", "schedules"}, {"btnAbout", "about"}};
    for (const auto& each : kPages) {
        Click(each.button);
        window.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
        QTest::keyClick(&window, Qt::Key_F1);
        EXPECT_EQ(Shown(), each.page);
    }
}

TEST_F(MainWindowHelp, WhereThePageIsMissingTheKeyShowsTheHomePage) {
    fs::remove(PathOf("doc/html/scanning.htm"));
    dlgMain& window = Open();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    QTest::keyClick(&window, Qt::Key_F1);
    EXPECT_EQ(Shown(), "home");
}

TEST_F(MainWindowHelp, ThePageIsInTheLanguageOfTheTexts) {
    fs::remove(PathOf("doc/html/de/about.htm"));
    QTranslator german;
    ASSERT_TRUE(german.load(CORVANE_TRANSLATIONS_DIR "zqscan_de.qm"));
    QApplication::installTranslator(&german);
    dlgMain& window = Open();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    QTest::keyClick(&window, Qt::Key_F1);
    EXPECT_EQ(Shown(), "de/scanning");
    Click("btnAbout");
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    QTest::keyClick(&window, Qt::Key_F1);
    EXPECT_EQ(Shown(), "about") << "in English where it is not translated";
    Click("btnHelp");
    EXPECT_EQ(Shown(), "about") << "what is shown stays";
    QApplication::removeTranslator(&german);
}

}  // namespace
