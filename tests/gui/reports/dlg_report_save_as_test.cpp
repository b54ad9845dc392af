#include <filesystem>
#include <memory>
#include <string>
#include <sys/stat.h>

#include <QAbstractButton>
#include <QFileDialog>
#include <QMessageBox>
#include <QPushButton>
#include <QStringList>
#include <QTimer>

#include "tests/gui/reports/dlg_report_fixture.h"

// The viewer's report saved elsewhere.

namespace fs = std::filesystem;

namespace {

class SaveAsTest : public DlgReportTest {
protected:
    // The save dialog appears; `fileName` is chosen in it, or it is cancelled.
    void Choose(const std::string& fileName) {
        m_driver.Expect([=, this](QDialog* dialog) {
            auto* save = qobject_cast<QFileDialog*>(dialog);
            ASSERT_NE(save, nullptr);
            EXPECT_EQ(save->acceptMode(), QFileDialog::AcceptSave);
            EXPECT_EQ(save->nameFilters(), QStringList("All Files (*)"));
            m_proposed = save->selectedFiles().value(0).toStdString();
            if (fileName.empty()) {
                save->reject();
            } else {
                save->selectFile(QString::fromStdString(fileName));
                static_cast<QDialog*>(save)->accept();
            }
        });
    }

    void AnswerReplace(const std::string& fileName, const QString& button) {
        m_driver.Expect([=](QDialog* dialog) {
            auto* box = qobject_cast<QMessageBox*>(dialog);
            ASSERT_NE(box, nullptr);
            EXPECT_EQ(box->icon(), QMessageBox::Warning);
            EXPECT_EQ(box->windowTitle(), "Corvane");
            EXPECT_EQ(box->text(),
                      QString::fromStdString("The File ' " + fileName +
                                             " ' already exists.\nDo you want to replace the "
                                             "existing file?"));
            QStringList buttons;
            for (auto* each : box->buttons()) {
                buttons.append(each->text());
                if (each->text() == button) {
                    QTimer::singleShot(0, each, &QAbstractButton::click);
                }
            }
            buttons.sort();
            EXPECT_EQ(buttons, (QStringList{"&No", "&Yes"}));
        });
    }

    void ExpectFailure(const std::string& fileName, const std::string& reason) {
        m_driver.ExpectMessage(QMessageBox::Critical, "Corvane",
                               QString::fromStdString("Unable to save the report as ' " + fileName +
                                                      " '.\n" + reason));
    }

    BoxDriver m_driver;
    std::string m_proposed;
};

TEST_F(SaveAsTest, WritesTheTextThatIsShown) {
    OpenText("one\r\ntwo\n\xE9 three");
    const std::string target = m_folder / "copy.txt";
    Choose(target);
    Find("btnRptSavAs")->click();
    EXPECT_EQ(ReadFile(target), "one\ntwo\n\xE9 three");
}

TEST_F(SaveAsTest, WritesMoreThanIsLaidOut) {
    const std::string text(1'000'000, '\n');
    OpenText(text);
    ASSERT_FALSE(View()->IsWhole());
    const std::string target = m_folder / "copy.txt";
    Choose(target);
    Find("btnRptSavAs")->click();
    EXPECT_EQ(ReadFile(target), text);
}

TEST_F(SaveAsTest, ProposesANameByTheKind) {
    const struct {
        ReportKind kind;
        const char* proposed;
    } kinds[] = {{kScanReports, "/home/Scan Report.txt"},
                 {kUpdateReports, "/home/Update Report.txt"},
                 {kScheduledReports, "/home/Schedule Report.txt"}};
    WriteIndex({});
    WriteIndex({}, "updt.rpt");
    WriteFile(m_folder / "reports/a.log", "x");
    for (const auto& [kind, proposed] : kinds) {
        g_siRptKind = kind;
        reports::SetCurrentReport(kind,
                                  kind == kScheduledReports ? m_folder / "reports/a.log" : "a.log");
        m_dialog = std::make_unique<dlgReport>();
        m_dialog->show();
        Choose("");
        Find("btnRptSavAs")->click();
        EXPECT_EQ(m_proposed, proposed);
    }
}

TEST_F(SaveAsTest, AnExistingFileIsReplacedOnlyAfterYes) {
    OpenText("new");
    const std::string target = m_folder / "copy.txt";
    WriteFile(target, "old and longer");
    Choose(target);
    AnswerReplace(target, "&No");
    Choose("");  // after No the dialog appears again
    Find("btnRptSavAs")->click();
    EXPECT_EQ(ReadFile(target), "old and longer");
    Choose(target);
    AnswerReplace(target, "&Yes");
    Find("btnRptSavAs")->click();
    EXPECT_EQ(ReadFile(target), "new");
}

// What the eye would not see, or see in another place, is said before anything is written over.
TEST_F(SaveAsTest, TheBoxesShowHiddenCharactersOfTheName) {
    OpenText("new");
    const std::string target = m_folder / "a\xE2\x80\xAE\n\xC3\xA9.txt";
    const std::string shown = m_folder / "a\\u202E\\n\xC3\xA9.txt";
    WriteFile(target, "old");
    Choose(target);
    AnswerReplace(shown, "&Yes");
    Find("btnRptSavAs")->click();
    EXPECT_EQ(ReadFile(target), "new");
    fs::remove(target);
    ASSERT_EQ(mkfifo(target.c_str(), 0600), 0);
    Choose(target);
    AnswerReplace(shown, "&Yes");
    ExpectFailure(shown, "It is not a file that can hold a text.");
    Choose("");
    Find("btnRptSavAs")->click();
}

TEST_F(SaveAsTest, AFullDiskIsSaidAndTheOldFileStays) {
    fs::create_directory(m_folder / "disk");
    const TinyDisk disk(m_folder / "disk", "64k");
    if (!disk.IsMounted()) {
        GTEST_SKIP() << "no file system can be mounted here";
    }
    OpenText(std::string(200'000, 'x'));
    const std::string target = m_folder / "disk/copy.txt";
    WriteFile(target, "old");
    Choose(target);
    AnswerReplace(target, "&Yes");
    ExpectFailure(target, "No space left on device");
    Choose("");
    Find("btnRptSavAs")->click();
    EXPECT_EQ(ReadFile(target), "old");
}

TEST_F(SaveAsTest, AFifoIsRefusedAndNotWaitedFor) {
    OpenText("new");
    const std::string target = m_folder / "fifo";
    ASSERT_EQ(mkfifo(target.c_str(), 0600), 0);
    Choose(target);
    AnswerReplace(target, "&Yes");
    ExpectFailure(target, "It is not a file that can hold a text.");
    Choose("");
    Find("btnRptSavAs")->click();
    EXPECT_TRUE(fs::is_fifo(target));
}

TEST_F(SaveAsTest, AnExistingFileKeepsItsOtherNameAndItsMode) {
    OpenText("new");
    const std::string target = m_folder / "copy.txt";
    WriteFile(target, "old and longer");
    fs::permissions(target, fs::perms(0640));
    fs::create_hard_link(target, m_folder / "other");
    Choose(target);
    AnswerReplace(target, "&Yes");
    Find("btnRptSavAs")->click();
    EXPECT_EQ(ReadFile(m_folder / "other"), "new");
    EXPECT_EQ(fs::status(target).permissions(), fs::perms(0640));
}

}  // namespace
