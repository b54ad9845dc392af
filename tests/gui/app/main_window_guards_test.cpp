#include <gmock/gmock.h>
#include <string>
#include <vector>

#include <QStackedWidget>
#include <QTest>

#include "tests/gui/app/main_window_fixture.h"

// What stands between the user and another page, and which page a key or a button is sent to.

namespace {

using ::testing::ElementsAre;

/// A window whose guards answer as the test says, and which notes the pages it is sent to.
class GuardedWindow : public dlgMain {
public:
    bool SaveOrNot() override {
        m_asked.emplace_back("save");
        return m_save;
    }
    bool ApplyNetSettingsOrNot() override {
        m_asked.emplace_back("apply");
        return m_apply;
    }
    void OnOptClick() override { m_asked.emplace_back("options"); }
    void OnUpdtClicked() override { m_asked.emplace_back("update"); }
    void OnRptDelClick() override { m_asked.emplace_back("delete report"); }

    bool m_save = true;
    bool m_apply = true;
    std::vector<std::string> m_asked;
};

TEST_F(MainWindow, ScanPageIsGuarded) {
    auto& window = Open<GuardedWindow>();
    Find<QStackedWidget>("pages").setCurrentIndex(dlgMain::kAboutPage);

    window.m_save = false;
    window.OnScnClick();
    EXPECT_THAT(window.m_asked, ElementsAre("save", "options"));
    EXPECT_EQ(CurrentPage(), dlgMain::kAboutPage);

    window.m_asked.clear();
    window.m_save = true;
    window.m_apply = false;
    window.OnScnClick();
    EXPECT_THAT(window.m_asked, ElementsAre("save", "apply", "update"));
    EXPECT_EQ(CurrentPage(), dlgMain::kAboutPage);

    window.m_asked.clear();
    window.m_apply = true;
    window.OnScnClick();
    EXPECT_THAT(window.m_asked, ElementsAre("save", "apply"));
    EXPECT_EQ(CurrentPage(), dlgMain::kScanPage);
}

TEST_F(MainWindow, ClosingIsGuarded) {
    auto& window = Open<GuardedWindow>();
    window.m_save = false;
    EXPECT_FALSE(window.close());
    EXPECT_THAT(window.m_asked, ElementsAre("save", "options"));
    EXPECT_TRUE(window.isVisible());

    window.m_asked.clear();
    window.m_save = true;
    window.m_apply = false;
    EXPECT_FALSE(window.close());
    EXPECT_THAT(window.m_asked, ElementsAre("save", "apply", "update"));

    window.m_apply = true;
    EXPECT_TRUE(window.close());
    EXPECT_FALSE(window.isVisible());
}

TEST_F(MainWindow, ExitButtonCloses) {
    auto& window = Open<GuardedWindow>();
    Click("btnExit");
    EXPECT_THAT(window.m_asked, ElementsAre("save", "apply"));
    EXPECT_FALSE(window.isVisible());
}

TEST_F(MainWindow, AboutReportsAndScheduleAreGuardedToo) {
    auto& window = Open<GuardedWindow>();
    for (void (dlgMain::*slot)() :
         {&dlgMain::OnAbtClick, &dlgMain::OnRptClick, &dlgMain::OnSchClick}) {
        window.m_save = false;
        (window.*slot)();
        EXPECT_EQ(CurrentPage(), dlgMain::kScanPage);
        window.m_save = true;
        window.m_apply = false;
        (window.*slot)();
        EXPECT_EQ(CurrentPage(), dlgMain::kScanPage);
        window.m_apply = true;
    }
}

TEST_F(MainWindow, DeleteKeyInTheReportsDeletesAReport) {
    auto& window = Open<GuardedWindow>();
    QTest::keyClick(&Find<QWidget>("lstReports"), Qt::Key_Delete);
    EXPECT_THAT(window.m_asked, ElementsAre("delete report"));
    QTest::keyClick(&Find<QWidget>("lstReports"), Qt::Key_D);
    QTest::keyClick(&Find<QWidget>("schedulePage"), Qt::Key_Delete);
    EXPECT_THAT(window.m_asked, ElementsAre("delete report"));
}

}  // namespace
