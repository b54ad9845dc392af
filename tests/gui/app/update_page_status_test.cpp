// What the update page says of the definitions and the last update, and when it says it anew.

#include <QApplication>
#include <QDate>
#include <QTranslator>

#include "common/run_state.h"
#include "reports/files/update_report.h"
#include "tests/gui/app/update_page_fixture.h"
#include "tests/support/screen_reader.h"
#include "update/update_page.h"

namespace {

/// The date of the definitions that the engine tells: so many days ago.
int daysAgo = 0;

void VersionOfThatDay(tagZQVERINFO* version) {
    const QDate day = QDate::currentDate().addDays(-daysAgo);
    *version = {17,
                5,
                {static_cast<std::uint16_t>(day.year()), static_cast<std::uint16_t>(day.month()), 0,
                 static_cast<std::uint16_t>(day.day()), 0, 0, 0, 0}};
}

class UpdateStatusLines : public UpdatePageTest {
protected:
    void OpenWithDefinitions(int days) {
        daysAgo = days;
        Put(kFile, Record(0x8));
        Open();
        pfnGetVer = VersionOfThatDay;
    }
    std::string Definitions() { return Find<QLabel>("lblDefinitions").text().toStdString(); }
    std::string LastUpdate() { return Find<QLabel>("lblLastUpdate").text().toStdString(); }
    bool IsMarked() { return Find<QLabel>("lblOldMark").isVisible(); }
};

TEST_F(UpdateStatusLines, AreThereWhenThePageIsOpened) {
    OpenWithDefinitions(2);
    Click("btnUpdate");
    EXPECT_THAT(Definitions(), ::testing::StartsWith("Definitions: version 17.05, "));
    EXPECT_THAT(Definitions(), ::testing::EndsWith(", 2 days old"));
    EXPECT_EQ(LastUpdate(), "Last update: none yet");
    EXPECT_FALSE(IsMarked());
}

TEST_F(UpdateStatusLines, OldDefinitionsAreMarkedInWordsAndByAPicture) {
    OpenWithDefinitions(8);
    Click("btnUpdate");
    EXPECT_THAT(Definitions(), ::testing::EndsWith(", 8 days old. They are out of date."));
    EXPECT_TRUE(IsMarked());
    EXPECT_FALSE(Find<QLabel>("lblOldMark").pixmap().isNull());
    daysAgo = 7;
    Find<UpdatePage>("updatePage").RefreshStatus();
    EXPECT_THAT(Definitions(), ::testing::EndsWith(", 7 days old"));
    EXPECT_FALSE(IsMarked());
}

TEST_F(UpdateStatusLines, FollowARunWhenTold) {
    OpenWithDefinitions(1);
    Click("btnUpdate");
    ASSERT_TRUE(WriteUpdtFile("UPDATED SUCCESSFULLY"));
    EXPECT_EQ(LastUpdate(), "Last update: none yet");
    daysAgo = 0;
    Find<UpdatePage>("updatePage").RefreshStatus();
    EXPECT_THAT(Definitions(), ::testing::EndsWith(", of today"));
    EXPECT_THAT(LastUpdate(), ::testing::StartsWith("Last update: "));
    EXPECT_THAT(LastUpdate(), ::testing::EndsWith(", updated"));
}

TEST_F(UpdateStatusLines, AreReadAnewEachTimeThePageIsShown) {
    OpenWithDefinitions(1);
    Click("btnUpdate");
    Click("btnScan");
    ASSERT_TRUE(WriteUpdtFile("UPDATE ERROR"));
    Click("btnUpdate");
    EXPECT_THAT(LastUpdate(), ::testing::EndsWith(", failed"));
}

TEST_F(UpdateStatusLines, FollowTheLanguageAndAreReadOut) {
    OpenWithDefinitions(8);
    Click("btnUpdate");
    QTranslator german;
    ASSERT_TRUE(german.load(CORVANE_TRANSLATIONS_DIR "zqscan_de.qm"));
    QApplication::installTranslator(&german);
    QApplication::processEvents();
    EXPECT_THAT(Definitions(), ::testing::EndsWith(", 8 Tage alt. Sie sind veraltet."));
    EXPECT_EQ(LastUpdate(), "Letztes Update: noch keines");
    EXPECT_EQ(Find<QAbstractButton>("chkAutoUpdate").text(), "&Automatische Updates einschalten");
    EXPECT_THAT(ScreenReader::UnreadableLabels(*m_window), ::testing::IsEmpty());
    QApplication::removeTranslator(&german);
    QApplication::processEvents();
    EXPECT_THAT(Definitions(), ::testing::EndsWith(", 8 days old. They are out of date."));
}

}  // namespace
