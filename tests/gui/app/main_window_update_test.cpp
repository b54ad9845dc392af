// An update as it is started from the main window.

#include <QLabel>

#include "tests/fakes/updturl/fake_updater.h"
#include "tests/gui/app/main_window_fixture.h"
#include "update/dlg_update.h"

namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// A window whose update page may be left or not.
class WindowWithSettings : public dlgMain {
public:
    bool ApplyNetSettingsOrNot() override { return m_isSettled; }
    void OnUpdtClicked() override { ++m_updatePageShown; }

    bool m_isSettled = true;
    int m_updatePageShown = 0;
};

TEST_F(MainWindow, AnUpdateIsNotStartedOverUnsettledSettings) {
    auto& window = Open<WindowWithSettings>();
    FakeUpdater::Install(m_folder.string() + "/");
    const FakeUpdater updater;
    window.m_isSettled = false;
    const ModalDriver user;
    window.OnUpdateNowClick();
    EXPECT_EQ(window.m_updatePageShown, 1);
    EXPECT_THAT(updater.Calls(), IsEmpty());
    EXPECT_FALSE(Get("updt.lck").has_value());
}

TEST_F(MainWindow, AnUpdateRunsInItsDialogAndEndsInAMessage) {
    auto& window = Open<WindowWithSettings>();
    window.dlgMain::OnUpdtClicked();
    ASSERT_EQ(CurrentPage(), dlgMain::kUpdatePage);
    const QLabel& lastUpdate = Find<QLabel>("lblLastUpdate");
    ASSERT_EQ(lastUpdate.text(), "Last update: none yet");
    FakeUpdater::Install(m_folder.string() + "/");
    const FakeUpdater updater;
    updater.SetScript("status 2000\nresult 2\n");
    ModalDriver user;
    user.Ignore<dlgUpdate>();
    user.Expect([&window](QDialog* box) {
        EXPECT_EQ(box->windowTitle(), "Rapid Update");
        EXPECT_EQ(box->parentWidget(), &window);
        box->accept();
    });
    window.OnUpdateNowClick();
    EXPECT_EQ(window.m_updatePageShown, 0);
    EXPECT_EQ(updater.Call("application "), "\"" + m_folder.string() + "/\"");
    EXPECT_THAT(Get("updt.rpt").value_or(""), HasSubstr("UP-TO-DATE"));
    EXPECT_THAT(lastUpdate.text().toStdString(), EndsWith(", nothing new"));
}

}  // namespace
