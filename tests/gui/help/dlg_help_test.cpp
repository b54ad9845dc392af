#include <set>

#include <QFileDialog>
#include <QLabel>
#include <QMenuBar>
#include <QMessageBox>
#include <QMetaMethod>
#include <QTest>
#include <QToolBar>
#include <QTranslator>

#include "tests/gui/help/dlg_help_fixture.h"
#include "tests/support/screen_reader.h"

// The viewer: pages, trail, captions, what is chosen and typed, and its other windows.

namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

TEST_F(DlgHelpTest, HasItsSlots) {
    for (const char* slot :
         {"newWindow()", "pathSelected(QString)", "checkForUrl(QString)",
          "setForwardAvailable(bool)", "setBackwardAvailable(bool)", "openFile()", "about()",
          "DisplayHelp(QString)", "sourceChanged(QUrl)", "readBookmarks()", "readHistory()",
          "print()", "addBookmark()", "bookmChosen(int)", "histChosen(int)"}) {
        const int index = dlgHelp::staticMetaObject.indexOfSlot(slot);
        EXPECT_GE(index, 0) << slot;
        EXPECT_EQ(dlgHelp::staticMetaObject.method(index).access(), QMetaMethod::Public) << slot;
    }
}

TEST_F(DlgHelpTest, ShowsTheHomePageUnderItsTitle) {
    const dlgHelp& viewer = Open();
    EXPECT_EQ(ShownPath(), Path("app/doc/html/home.htm"));
    EXPECT_EQ(Shown(), "scanning");
    EXPECT_EQ(viewer.windowTitle(), "Home of the help");
    EXPECT_EQ(Find<QLineEdit>("edtPath").text(), Path("app/doc/html/home.htm"));
}

TEST_F(DlgHelpTest, APageWithoutATitleHasTheCaptionOfTheViewer) {
    WriteFile(m_scratch / "app/doc/html/home.htm", "no title");
    EXPECT_EQ(Open().windowTitle(), "The caption");
    Close();
    m_viewer = new dlgHelp(Path("app/doc/html/home.htm"));
    EXPECT_EQ(m_viewer->windowTitle(), "Corvane Main help viewer");
    m_viewer->DisplayHelp(Path("app/doc/html/scanning.htm"));
    EXPECT_EQ(m_viewer->windowTitle(), "Scanning");
    m_viewer->DisplayHelp(Path("app/doc/html/home.htm"));
    EXPECT_EQ(m_viewer->windowTitle(), "Corvane Main help viewer");
}

TEST_F(DlgHelpTest, HasTheNameItIsGiven) {
    m_viewer = new dlgHelp(Path("app/doc/html/home.htm"), "The caption", nullptr, "named");
    EXPECT_EQ(m_viewer->objectName(), "named");
    EXPECT_TRUE(m_viewer->isWindow());
}

TEST_F(DlgHelpTest, MakesAPathAbsolute) {
    PutPage("started/page.htm", "Started", "where the program was started");
    Open().DisplayHelp("page.htm");
    EXPECT_EQ(ShownPath(), Path("started/page.htm"));
    EXPECT_EQ(Shown(), "where the program was started");
}

TEST_F(DlgHelpTest, AnEmptyPathChangesNothing) {
    Open().DisplayHelp("");
    EXPECT_EQ(ShownPath(), Path("app/doc/html/home.htm"));
}

TEST_F(DlgHelpTest, APageThatIsMissingIsNamed) {
    Open().DisplayHelp(Path("app/doc/html/<b>missing.htm"));
    EXPECT_EQ(Shown(), "This page cannot be read:\n" + (m_scratch / "app/doc/html/<b>missing.htm"));
    EXPECT_EQ(m_viewer->windowTitle(), "The caption");
}

TEST_F(DlgHelpTest, TheTrailLeadsBackAndForward) {
    Open();
    EXPECT_FALSE(Find<QAction>("actBack").isEnabled());
    EXPECT_FALSE(Find<QAction>("actForward").isEnabled());
    Follow("scanning.htm");
    EXPECT_EQ(Shown(), "How to scan");
    EXPECT_TRUE(Find<QAction>("actBack").isEnabled());
    EXPECT_FALSE(Find<QAction>("actForward").isEnabled());
    Trigger("actBack");
    EXPECT_EQ(m_viewer->windowTitle(), "Home of the help");
    EXPECT_TRUE(Find<QAction>("actForward").isEnabled());
    Trigger("actForward");
    EXPECT_EQ(m_viewer->windowTitle(), "Scanning");
    Trigger("actHome");
    EXPECT_EQ(m_viewer->windowTitle(), "Home of the help");
}

TEST_F(DlgHelpTest, AKeyGoesToALinkAndAnotherFollowsIt) {
    Open();
    QTest::keyClick(&Browser(), Qt::Key_Tab);
    QTest::keyClick(&Browser(), Qt::Key_Return);
    EXPECT_EQ(m_viewer->windowTitle(), "Scanning");
}

TEST_F(DlgHelpTest, ATypedPathIsShown) {
    Open();
    auto& path = Find<QLineEdit>("edtPath");
    path.setText(Path("outside/page.htm"));
    QTest::keyClick(&path, Qt::Key_Return);
    EXPECT_EQ(m_viewer->windowTitle(), "Outside");
    m_viewer->pathSelected("file://" + Path("app/doc/html/scanning.htm"));
    EXPECT_EQ(m_viewer->windowTitle(), "Scanning");
}

TEST_F(DlgHelpTest, AddressesOfOtherMachinesAreNotLoadedButSaid) {
    Open();
    for (const char* address : {"https://www.corvane.example/x.htm", "http://10.0.0.1/",
                                "mailto:help@corvane.example", "ftp://corvane.example/x"}) {
        const std::string said =
            std::string(address) +
            " is not opened in here. Copy the address and open it in your browser.";
        m_viewer->pathSelected(address);
        EXPECT_EQ(Status(), said);
        m_viewer->checkForUrl("scanning.htm");
        EXPECT_EQ(Status(), "");
        Follow(address);
        EXPECT_EQ(Status(), said);
        EXPECT_EQ(m_viewer->windowTitle(), "Home of the help");
        EXPECT_EQ(ShownPath(), Path("app/doc/html/home.htm"));
    }
    EXPECT_FALSE(Find<QAction>("actBack").isEnabled()) << "something was loaded";
}

TEST_F(DlgHelpTest, ALinkUnderThePointerIsLookedAtBeforeItIsFollowed) {
    Open();
    emit Browser().highlighted(QUrl("https://www.corvane.example"));
    EXPECT_THAT(Status(), HasSubstr("https://www.corvane.example is not opened in here."));
    emit Browser().highlighted(QUrl());
    EXPECT_EQ(Status(), "");
    m_viewer->checkForUrl(QStringLiteral("https://corvane.example/\u202Egpj.exe"));
    EXPECT_THAT(Status(), StartsWith("https://corvane.example/\\u202Egpj.exe is not opened"));
}

TEST_F(DlgHelpTest, ALinkOutOfTheFolderIsRefusedAndSaid) {
    Open();
    Follow("../../../outside/page.htm");
    EXPECT_EQ(m_viewer->windowTitle(), "Home of the help");
    EXPECT_THAT(Find<QStatusBar>("statusBar").toolTip().toStdString(),
                HasSubstr("Open it with Ctrl+O."));
    EXPECT_EQ(Status(), (m_scratch / "outside/page.htm") +
                            " lies outside the folder of this page. Open it with Ctrl+O.");
}

TEST_F(DlgHelpTest, AFileIsChosenAndItsFolderIsOpenToItsLinks) {
    PutPage("outside/next.htm", "Next", "further on");
    Open();
    ModalDriver user;
    user.Expect([this](QDialog* dialog) {
        auto* files = qobject_cast<QFileDialog*>(dialog);
        ASSERT_NE(files, nullptr);
        EXPECT_EQ(files->fileMode(), QFileDialog::ExistingFile);
        EXPECT_EQ(files->directory().path(), Path("app/doc/html"));
        files->selectFile(Path("outside/page.htm"));
        files->findChild<QLineEdit*>("fileNameEdit")->setText(Path("outside/page.htm"));
        QMetaObject::invokeMethod(files, "accept");
    });
    Trigger("actOpen");
    EXPECT_EQ(m_viewer->windowTitle(), "Outside");
    Follow("next.htm");
    EXPECT_EQ(m_viewer->windowTitle(), "Next");
}

TEST_F(DlgHelpTest, NothingIsShownWhenNoFileIsChosen) {
    Open();
    ModalDriver user;
    user.Expect([](QDialog* dialog) { dialog->reject(); });
    Trigger("actOpen");
    EXPECT_EQ(ShownPath(), Path("app/doc/html/home.htm"));
}

TEST_F(DlgHelpTest, SaysWhatItIs) {
    Open();
    ModalDriver user;
    user.ExpectMessage(QMessageBox::Information, "About the help viewer",
                       "The help viewer of Corvane Endpoint Protection.\n\nIt shows pages of this "
                       "machine and loads nothing from the network.");
    Trigger("actAbout");
}

// As when the program quits meanwhile.
TEST_F(DlgHelpTest, ClosedWhileItAsksItGoesWhenThatIsOver) {
    for (const char* action : {"actOpen", "actPrint", "actAbout"}) {
        Open();
        ModalDriver user;
        user.Expect([this](QDialog* dialog) {
            EXPECT_TRUE(m_viewer->close());
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            EXPECT_NE(m_viewer, nullptr) << "what asks still needs it";
            dialog->reject();
        });
        Trigger(action);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        EXPECT_EQ(m_viewer, nullptr) << action;
    }
}

TEST_F(DlgHelpTest, ANewWindowShowsTheSamePageAndSharesTheBookmarks) {
    Open();
    m_viewer->DisplayHelp(Path("app/doc/html/scanning.htm"));
    Trigger("actNewWindow");
    const auto viewers = QApplication::topLevelWidgets();
    dlgHelp* second = nullptr;
    for (QWidget* widget : viewers) {
        if (auto* viewer = qobject_cast<dlgHelp*>(widget);
            viewer != m_viewer && viewer != nullptr) {
            second = viewer;
        }
    }
    ASSERT_NE(second, nullptr);
    EXPECT_TRUE(second->isVisible());
    EXPECT_EQ(second->windowTitle(), "Scanning");
    EXPECT_FALSE(second->testAttribute(Qt::WA_QuitOnClose)) << "it keeps the program alive";
    second->addBookmark();
    m_viewer->DisplayHelp(Path("app/doc/html/home.htm"));
    m_viewer->addBookmark();
    const auto entries = [](const dlgHelp& viewer) {
        return FindWidget<QMenu>(viewer, "menuBookmarks")->actions().size();
    };
    EXPECT_EQ(entries(*m_viewer), 2 + 2);
    EXPECT_EQ(entries(*second), 2 + 2);
    Close();
    second->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    Open();
    EXPECT_EQ(entries(*m_viewer), 2 + 2) << "the window that was closed last has lost one";
}

TEST_F(DlgHelpTest, EverythingThatTakesTheFocusIsNamedAndExplained) {
    Open();
    for (const char* name : {"edtPath", "browser"}) {
        EXPECT_FALSE(Find<QWidget>(name).accessibleName().isEmpty()) << name;
        EXPECT_FALSE(Find<QWidget>(name).toolTip().isEmpty()) << name;
    }
    EXPECT_THAT(ScreenReader::UnreadableLabels(*m_viewer), IsEmpty());
    for (const QAction* action : Find<QToolBar>("toolBar").actions()) {
        EXPECT_TRUE(action->isSeparator() ||
                    action->toolTip().contains("(" + action->shortcut().toString() + ")"))
            << action->objectName().toStdString();
    }
}

void ExpectKeysOnce(const dlgHelp& viewer) {
    std::set<QString> keys;
    for (const QAction* menu : FindWidget<QMenuBar>(viewer, "menuBar")->actions()) {
        EXPECT_TRUE(keys.insert(QKeySequence::mnemonic(menu->text()).toString()).second)
            << menu->text().toStdString();
    }
    const auto label = QKeySequence::mnemonic(FindWidget<QLabel>(viewer, "lblPath")->text());
    EXPECT_TRUE(keys.insert(label.toString()).second) << "the address line";
    EXPECT_FALSE(keys.contains(QString())) << "something has no key";
}

TEST_F(DlgHelpTest, TextsFollowTheLanguage) {
    ExpectKeysOnce(Open());
    QTranslator german;
    ASSERT_TRUE(german.load(CORVANE_TRANSLATIONS_DIR "zqscan_de.qm"));
    QApplication::installTranslator(&german);
    QApplication::processEvents();
    EXPECT_EQ(Find<QAction>("actBack").text(), "&Zurück");
    EXPECT_EQ(m_viewer->windowTitle(), "Home of the help");
    ExpectKeysOnce(*m_viewer);
    QApplication::removeTranslator(&german);
    QApplication::processEvents();
    EXPECT_EQ(Find<QAction>("actBack").text(), "&Back");
}

}  // namespace
