// How a scan is started from the window, up to the report it leaves.

#include <fstream>
#include <unistd.h>

#include <QComboBox>
#include <QFileDialog>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTreeWidget>

#include "common/path_list.h"
#include "common/run_state.h"
#include "reports/files/report_generator.h"
#include "scan/dlg_scn_prgrs.h"
#include "scan/scanner.h"
#include "tests/gui/app/scan_start_fixture.h"
#include "widgets/dlg_sc_dir.h"

namespace {

namespace fs = std::filesystem;
using ::testing::StartsWith;

TEST_F(ScanStart, FolderChoiceCancelled) {
    Open();
    LeaveTraces();
    ModalDriver user;
    user.Expect([](QDialog* dialog) {
        ASSERT_NE(qobject_cast<dlgScDir*>(dialog), nullptr);
        dialog->reject();
    });
    Click("btnScnDir");
    ExpectPrepared();
    EXPECT_EQ(g_iCleanFileSeqCnt, 0);
    ExpectNothingScanned();
}

TEST_F(ScanStart, TickedFoldersAreScannedAndReported) {
    Open();
    LeaveTraces();
    ModalDriver user;
    user.Expect([](QDialog* dialog) {
        auto* picker = qobject_cast<dlgScDir*>(dialog);
        ASSERT_NE(picker, nullptr);
        auto* tree = picker->findChild<QTreeWidget*>();
        QTreeWidgetItem* root = tree->topLevelItem(0);
        root->setExpanded(true);
        picker->OnListItemExpanded(root);
        for (int i = 0; i < root->childCount(); ++i) {
            if (picker->fullPath(root->child(i)) == "/corvane-sample") {
                root->child(i)->setCheckState(0, Qt::Checked);
                picker->OnListClick(root->child(i));
            }
        }
        picker->OnFldScnClick();
    });
    ExpectScan(user);
    Click("btnScnDir");

    ExpectPrepared();
    EXPECT_EQ(g_uiTotCnt, 2U);
    EXPECT_EQ(g_pPLstHead, nullptr);
    EXPECT_EQ(g_pPLstCurr, nullptr);
    EXPECT_EQ(g_pRptObj, nullptr);
    EXPECT_NE(Report().find("Scanning: /corvane-sample\n"), std::string::npos) << Report();
    EXPECT_NE(Report().find("Total Files Scanned   = 2\n"), std::string::npos) << Report();
    ASSERT_EQ(IndexRecords().size(), 542U);
    EXPECT_STREQ(IndexRecords().substr(30, 256).c_str(), "/corvane-sample");
    EXPECT_EQ(fs::file_size(m_folder / "reports" / "CmplScn.dat"), 16U);
    EXPECT_EQ(Mode("reports/CmplScn.dat"), 0666);
    EXPECT_EQ(CurrentPage(), dlgMain::kScanPage);
}

TEST_F(ScanStart, FileChoiceCancelled) {
    Open();
    LeaveTraces();
    ModalDriver user;
    user.Expect([](QDialog* dialog) {
        ASSERT_NE(qobject_cast<QFileDialog*>(dialog), nullptr);
        dialog->reject();
    });
    Click("btnScnFl");
    ExpectPrepared();
    EXPECT_EQ(g_iCleanFileSeqCnt, 0);
    ExpectNothingScanned();
}

TEST_F(ScanStart, ChosenFileIsScannedAndReported) {
    Open();
    LeaveTraces();
    ModalDriver user;
    ExpectFileChoice(user, m_sample / "one");
    ExpectScan(user);
    Click("btnScnFl");

    ExpectPrepared();
    ASSERT_EQ(Opened().size(), 1U);
    EXPECT_THAT(Opened().front(), StartsWith("/corvane-sample/one"));
    EXPECT_EQ(g_uiTotCnt, 1U);
    EXPECT_EQ(g_pPLstHead, nullptr);
    EXPECT_EQ(g_pPLstCurr, nullptr);
    EXPECT_EQ(g_pRptObj, nullptr);
    ASSERT_EQ(IndexRecords().size(), 542U);
    EXPECT_STREQ(IndexRecords().substr(30, 256).c_str(), "/corvane-sample/one");
    EXPECT_EQ(fs::file_size(m_folder / "reports" / "CmplScn.dat"), 16U);
}

TEST_F(ScanStart, HiddenFileCanBeChosen) {
    std::ofstream(m_sample / ".hidden") << "h";
    Open();
    ModalDriver user;
    ExpectFileChoice(user, m_sample / ".hidden");
    ExpectScan(user);
    Click("btnScnFl");
    EXPECT_EQ(g_uiTotCnt, 1U);
}

/// A folder so deep that a file in it with a one-letter name has a path of `length` bytes.
fs::path FileOfLength(const fs::path& start, std::size_t length) {
    std::string path = start.string();
    while (path.size() + 2 < length) {
        const std::size_t room = length - path.size() - 3;
        path += '/' + std::string(std::min<std::size_t>(room == 0 ? 1 : room, 100), 'd');
        if (path.size() + 2 > length) {
            path.resize(length - 2);
        }
    }
    fs::create_directories(path);
    fs::path file = path + "/f";
    EXPECT_EQ(file.string().size(), length);
    std::ofstream(file) << "f";
    return file;
}

TEST_F(ScanStart, NameOf255BytesIsScannedWhole) {
    const fs::path file = FileOfLength(m_sample, 255);
    Open();
    ModalDriver user;
    ExpectFileChoice(user, file);
    ExpectScan(user);
    Click("btnScnFl");
    ASSERT_EQ(Opened().size(), 1U);
    EXPECT_THAT(Opened().front(), StartsWith(file.string()));
}

TEST_F(ScanStart, NameOf256BytesIsRefused) {
    const fs::path file = FileOfLength(m_sample, 256);
    Open();
    ModalDriver user;
    ExpectFileChoice(user, file);
    user.ExpectMessage(QMessageBox::Warning, "Corvane Scan",
                       "The name of the file\n" + QString::fromStdString(file.string()) +
                           "\nis longer than 255 bytes. Nothing was scanned; to scan it, scan a "
                           "folder above it.");
    Click("btnScnFl");
    ExpectNothingScanned();
}

TEST_F(ScanStart, NameThatLeadsNowhereIsRefused) {
    Open();
    ModalDriver user;
    ExpectFileChoice(user, m_sample / "one", true);
    user.ExpectMessage(QMessageBox::Warning, "Corvane Scan",
                       "The file\n/corvane-sample/one\ncannot be reached by this name. Nothing was "
                       "scanned; to scan it, scan its folder.");
    Click("btnScnFl");
    ExpectNothingScanned();
}

TEST_F(ScanStart, UnsavedSettingsAreNotUsed) {
    dlgMain& window = Open();
    window.OnOptClick();
    Find<QComboBox>("actioncomboBox").setCurrentIndex(4);
    ModalDriver user;
    ExpectFileChoice(user, m_sample / "one");
    ExpectScan(user);
    window.OnScnFlClick();
    EXPECT_EQ(Scanner::m_shAction, 1);
}

}  // namespace
