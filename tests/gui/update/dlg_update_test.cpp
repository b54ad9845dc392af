#include <cstring>

#include <QApplication>
#include <QTranslator>

#include "tests/gui/update/update_fixture.h"
#include "tests/support/screen_reader.h"

// The dialog itself, given its events one by one.

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr auto kAtFirst =
    "Please wait while Rapid Update retrieves latest updates from Corvane Internet centre.";

void SetLastName(const std::string& name) {
    g_updFileInfo = {};
    common::CopyToField(g_updFileInfo.fileName, name);
}

class UpdateWindow : public UpdateTest {
protected:
    RecordingUpdate m_dialog;
};

TEST_F(UpdateWindow, HasItsTexts) {
    EXPECT_EQ(m_dialog.objectName(), "dlgUpdate");
    EXPECT_TRUE(m_dialog.isModal());
    EXPECT_EQ(m_dialog.windowTitle(), "Rapid Update");
    EXPECT_EQ(m_dialog.Text("headingLabel"), "Retrieving updates");
    EXPECT_TRUE(FindWidget<QLabel>(m_dialog, "headingLabel")->font().bold());
    EXPECT_EQ(m_dialog.Text("statusLabel"), kAtFirst);
    EXPECT_EQ(m_dialog.StopButton()->text(), "&Stop");
    EXPECT_EQ(m_dialog.StopButton()->shortcut(), QKeySequence("Alt+S"));
    EXPECT_EQ(m_dialog.StopButton()->toolTip(), "Stop rapid update (Alt+S)");
}

TEST_F(UpdateWindow, ItsLabelsShowPlainText) {
    for (const char* label : {"headingLabel", "statusLabel"}) {
        EXPECT_EQ(FindWidget<QLabel>(m_dialog, label)->textFormat(), Qt::PlainText) << label;
    }
}

TEST_F(UpdateWindow, TakesTheNameAndTheKindItIsGiven) {
    EXPECT_EQ(RecordingUpdate(nullptr, "other").objectName(), "other");
    EXPECT_FALSE(RecordingUpdate(nullptr, nullptr, false).isModal());
}

TEST_F(UpdateWindow, SetsTheOutcomeToSuccessBeforeItStarts) {
    g_siUpdateRetFlag = 3;
    const RecordingUpdate dialog;
    EXPECT_EQ(g_siUpdateRetFlag, 1);
}

TEST_F(UpdateWindow, ShowsEachStepInItsOwnWords) {
    const std::pair<int, const char*> kTexts[] = {
        {1117, "Connecting to Corvane Internet Centre"},
        {1118, "Downloading update files"},
        {1120, "Downloding index files"},
        {1121, "Dat files Processing errors"},
        {1122, "Downloading Dat files."},
        {1123, "Updating Corvane Engine"},
        {1126, "Please wait while Rapid Update retrieves updates."},
    };
    for (const auto& [type, text] : kTexts) {
        m_dialog.Send(type);
        EXPECT_EQ(m_dialog.Text("statusLabel"), text) << type;
    }
}

TEST_F(UpdateWindow, OtherStepsLeaveTheStatusAsItIs) {
    m_dialog.Send(1118);
    m_dialog.Send(1119);
    m_dialog.Send(1115);
    m_dialog.Send(1127);
    m_dialog.SendOther(QEvent(static_cast<QEvent::Type>(1117)));
    EXPECT_EQ(m_dialog.Text("statusLabel"), "Downloading update files");
}

TEST_F(UpdateWindow, ShowsTheNameOfTheLastRecord) {
    SetLastName("daily.cvd");
    m_dialog.Send(1124);
    EXPECT_EQ(m_dialog.Text("statusLabel"), "Downloading \tdaily.cvd");
    SetLastName("<img src=x>&amp;");
    m_dialog.Send(1124);
    EXPECT_EQ(m_dialog.Text("statusLabel"), "Downloading \t<img src=x>&amp;");
    EXPECT_TRUE(FindWidget<QLabel>(m_dialog, "statusLabel")->toolTip().contains("&lt;img src=x"));
    SetLastName("a\x1b\nb\xE9");
    m_dialog.Send(1124);
    EXPECT_EQ(m_dialog.Text("statusLabel"), "Downloading \ta\\x1B\\nb\\xE9");
    m_dialog.Send(1118);
    EXPECT_EQ(FindWidget<QLabel>(m_dialog, "statusLabel")->toolTip(), "");
}

TEST_F(UpdateWindow, CutsALongNameAt255BytesInAll) {
    SetLastName(std::string(242, 'n'));
    m_dialog.Send(1124);
    EXPECT_EQ(m_dialog.Text("statusLabel").toStdString(), "Downloading \t" + std::string(242, 'n'));
    SetLastName(std::string(243, 'n'));
    m_dialog.Send(1124);
    EXPECT_EQ(m_dialog.Text("statusLabel").size(), 255);
    std::memset(g_updFileInfo.fileName, 'n', sizeof g_updFileInfo.fileName);
    m_dialog.Send(1124);
    EXPECT_EQ(m_dialog.Text("statusLabel").size(), 255);
}

TEST_F(UpdateWindow, CutsALongNameBetweenItsCharacters) {
    const std::pair<std::size_t, const char*> kCuts[] = {{241, "\u00e9"},     {240, "\u20ac"},
                                                         {241, "\u20ac"},     {239, "\U0001F600"},
                                                         {240, "\U0001F600"}, {241, "\U0001F600"}};
    for (const auto& [before, character] : kCuts) {
        SetLastName(std::string(before, 'n') + character + "behind");
        m_dialog.Send(1124);
        EXPECT_EQ(m_dialog.Text("statusLabel").toStdString(),
                  "Downloading \t" + std::string(before, 'n'));
    }
    SetLastName(std::string(240, 'n') + "\u00e9" + "behind");
    m_dialog.Send(1124);
    EXPECT_EQ(m_dialog.Text("statusLabel").toStdString(),
              "Downloading \t" + std::string(240, 'n') + "\u00e9");
    // What is no text has no characters to cut between.
    SetLastName(std::string(300, '\x80'));
    m_dialog.Send(1124);
    QString bytes = "Downloading \t";
    for (int byte = 0; byte < 242; ++byte) {
        bytes += "\\x80";
    }
    EXPECT_EQ(m_dialog.Text("statusLabel"), bytes);
}

TEST_F(UpdateWindow, IsReadOutAndSaysWhatChanges) {
    m_dialog.show();
    EXPECT_THAT(ScreenReader::UnreadableLabels(m_dialog), IsEmpty());
    EXPECT_EQ(ScreenReader::NameOf(m_dialog.StopButton()), "Stop");
    ScreenReader reader;
    m_dialog.Send(1117);
    m_dialog.Send(1117);
    EXPECT_THAT(reader.TakeAnnouncements(),
                ElementsAre("statusLabel: Connecting to Corvane Internet Centre"));
    SetLastName("daily.cvd");
    m_dialog.Send(1124);
    EXPECT_THAT(reader.TakeAnnouncements(), ElementsAre("statusLabel: Downloading \tdaily.cvd"));
}

TEST_F(UpdateWindow, TheStopButtonIsAllThereIsToReach) {
    m_dialog.show();
    m_dialog.StopButton()->setFocus();
    for (const auto key : {Qt::Key_Tab, Qt::Key_Backtab}) {
        QTest::keyClick(&m_dialog, key);
        EXPECT_EQ(m_dialog.focusWidget(), m_dialog.StopButton());
    }
}

TEST_F(UpdateWindow, StopOnlyAsksTheUpdaterToStop) {
    m_dialog.show();
    EXPECT_FALSE(m_dialog.Run().IsStopped());
    m_dialog.StopButton()->click();
    EXPECT_TRUE(m_dialog.Run().IsStopped());
    EXPECT_TRUE(m_dialog.isVisible());
    EXPECT_EQ(m_dialog.Text("statusLabel"), kAtFirst);
    EXPECT_EQ(g_siUpdateRetFlag, 1);
}

TEST_F(UpdateWindow, AltSStops) {
    m_dialog.show();
    m_dialog.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&m_dialog));
    QTest::keyClick(&m_dialog, Qt::Key_S, Qt::AltModifier);
    EXPECT_TRUE(QTest::qWaitFor([this] { return m_dialog.Run().IsStopped(); }));
}

TEST_F(UpdateWindow, NoKeyClosesIt) {
    m_dialog.show();
    QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    QApplication::sendEvent(&m_dialog, &escape);
    EXPECT_FALSE(escape.isAccepted());
    QKeyEvent shiftEscape(QEvent::KeyPress, Qt::Key_Escape, Qt::ShiftModifier);
    QApplication::sendEvent(&m_dialog, &shiftEscape);
    EXPECT_TRUE(shiftEscape.isAccepted());
    QKeyEvent enter(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
    QApplication::sendEvent(&m_dialog, &enter);
    EXPECT_TRUE(m_dialog.isVisible());
    EXPECT_FALSE(m_dialog.Run().IsStopped());
}

TEST_F(UpdateWindow, TheWindowManagerDoesNotCloseIt) {
    m_dialog.show();
    EXPECT_FALSE(m_dialog.close());
    EXPECT_TRUE(m_dialog.isVisible());
    EXPECT_FALSE(m_dialog.Run().IsStopped());
}

TEST_F(UpdateWindow, TheEndOfTheUpdateClosesItWithOne) {
    m_dialog.show();
    m_dialog.Send(1116);
    EXPECT_FALSE(m_dialog.isVisible());
    EXPECT_EQ(m_dialog.result(), 1);
}

TEST_F(UpdateWindow, AFailedStartClosesItWithZero) {
    m_dialog.show();
    m_dialog.setResult(1);
    m_dialog.Send(1125);
    EXPECT_FALSE(m_dialog.isVisible());
    EXPECT_EQ(m_dialog.result(), 0);
}

TEST_F(UpdateWindow, SpeaksGerman) {
    SetLastName("daily.cvd");
    QTranslator translator;
    ASSERT_TRUE(translator.load(QStringLiteral(CORVANE_TRANSLATIONS_DIR "zqscan_de.qm")));
    m_dialog.Send(1120);
    QApplication::installTranslator(&translator);
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(m_dialog.windowTitle(), "Rapid Update");
    EXPECT_EQ(m_dialog.Text("headingLabel"), "Aktualisierungen werden geholt");
    EXPECT_EQ(m_dialog.Text("statusLabel"), "Indexdateien werden geladen");
    EXPECT_EQ(m_dialog.StopButton()->text(), "&Stopp");
    EXPECT_EQ(m_dialog.StopButton()->shortcut(), QKeySequence("Alt+S"));
    for (const int type : {1117, 1118, 1121, 1122, 1123}) {
        const QString before = m_dialog.Text("statusLabel");
        m_dialog.Send(type);
        EXPECT_NE(m_dialog.Text("statusLabel"), before);
        EXPECT_FALSE(m_dialog.Text("statusLabel").contains("Down")) << type;
    }
    // Not translated.
    m_dialog.Send(1124);
    EXPECT_EQ(m_dialog.Text("statusLabel"), "Downloading \tdaily.cvd");
    m_dialog.Send(1126);
    EXPECT_EQ(m_dialog.Text("statusLabel"), "Please wait while Rapid Update retrieves updates.");
    QApplication::removeTranslator(&translator);
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(m_dialog.Text("statusLabel"), "Please wait while Rapid Update retrieves updates.");
    EXPECT_EQ(m_dialog.Text("headingLabel"), "Retrieving updates");
}

}  // namespace
