#include <optional>
#include <string>
#include <vector>

#include <QComboBox>
#include <QPlainTextEdit>
#include <QTest>
#include <QTreeWidget>

#include "common/run_state.h"
#include "reports/dlg_report.h"
#include "tests/gui/app/main_window_fixture.h"
#include "tests/support/report_files.h"

// The reports page at work in the main window.

namespace {

std::string IndexOf(const std::vector<std::string>& names) {
    std::vector<ListedReport> reports;
    reports.reserve(names.size());
    for (const std::string& name : names) {
        reports.push_back({"date", "/home", name});
    }
    return ReportIndexBytes(reports);
}

TEST_F(MainWindow, ReportsPageListsShowsAndDeletesReports) {
    Put("main.rpt", IndexOf({"a.log", "b.log"}));
    Put("updt.rpt", IndexOf({"u.log"}));
    Put("reports/b.log", "report b");
    Open();
    Click("btnReports");
    auto& list = Find<QTreeWidget>("lstReports");
    ASSERT_EQ(list.topLevelItemCount(), 2);
    const auto showsReport = [](QDialog* dialog) {
        auto* viewer = qobject_cast<dlgReport*>(dialog);
        ASSERT_NE(viewer, nullptr);
        EXPECT_EQ(viewer->findChild<QPlainTextEdit*>("edtViewRpt")->toPlainText(), "report b");
        viewer->reject();
    };
    ModalDriver user;
    user.Expect(showsReport);
    list.setCurrentItem(list.topLevelItem(1));
    Click("btnShwRpt");
    user.Expect(showsReport);
    emit list.itemDoubleClicked(list.topLevelItem(1), 0);
    Click("btnDelRpt");
    EXPECT_EQ(list.topLevelItemCount(), 1);
    EXPECT_EQ(Get("reports/b.log"), std::nullopt);
    EXPECT_EQ(Get("main.rpt"), IndexOf({"a.log"}));
    Find<QComboBox>("cmbReports").setCurrentIndex(1);
    ASSERT_EQ(list.topLevelItemCount(), 1);
    EXPECT_EQ(list.topLevelItem(0)->text(2), "u.log");
    EXPECT_EQ(g_siRptKind, 1);
    g_siRptKind = 0;
}

TEST_F(MainWindow, ReportsAreListedAnewEachTimeThePageIsShown) {
    Open();
    Click("btnReports");
    EXPECT_EQ(Find<QTreeWidget>("lstReports").topLevelItemCount(), 0);
    Click("btnScan");
    Put("main.rpt", IndexOf({"a.log"}));
    Click("btnReports");
    EXPECT_EQ(Find<QTreeWidget>("lstReports").topLevelItemCount(), 1);
}

TEST_F(MainWindow, DeleteKeyDeletesTheSelectedReport) {
    Put("main.rpt", IndexOf({"a.log"}));
    Open();
    Click("btnReports");
    auto& list = Find<QTreeWidget>("lstReports");
    list.setCurrentItem(list.topLevelItem(0));
    QTest::keyClick(&list, Qt::Key_Delete);
    EXPECT_EQ(list.topLevelItemCount(), 0);
    EXPECT_EQ(Get("main.rpt"), IndexOf({}));
}

}  // namespace
