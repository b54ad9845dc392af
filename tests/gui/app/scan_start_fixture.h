#pragma once

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <QFile>
#include <QFileDialog>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include "common/path_list.h"
#include "common/run_state.h"
#include "reports/files/report_generator.h"
#include "scan/dlg_scn_prgrs.h"
#include "scan/scanner.h"
#include "tests/gui/app/window_fixture.h"

/// Scans that are started from the window, of a small tree of the test's own.
class ScanStart : public WindowTest {
protected:
    void SetUp() override {
        WindowTest::SetUp();
        if (IsSkipped()) {
            return;
        }
        m_sample = "/corvane-sample";
        std::filesystem::create_directories(m_sample / "sub");
        std::ofstream(m_sample / "one") << "1";
        std::ofstream(m_sample / "sub" / "two") << "2";
    }
    void TearDown() override {
        if (!m_sample.empty()) {
            std::filesystem::remove_all(m_sample);
        }
        WindowTest::TearDown();
    }

    /// What an earlier run could have left behind.
    static void LeaveTraces() {
        g_iCntLabViruses = 7;
        g_iCleanFileSeqCnt = -1;
        Scanner::m_ScanOptns.extraFlags = 0x8001;
    }
    void ExpectPrepared() const {
        EXPECT_EQ(g_iCntLabViruses, 0);
        EXPECT_EQ(Scanner::m_ScanOptns.extraFlags, 1);
        std::vector<std::string> calls;
        for (const std::string& call : m_engine.Calls()) {
            // The overview asks for the version whenever it is shown.
            if (const std::string name = call.substr(0, call.find(' '));
                name != "ZqGetAPIVersion") {
                calls.push_back(name);
            }
        }
        ASSERT_GE(calls.size(), 4U);
        EXPECT_EQ(calls[2], "ZqSetOptions");
        EXPECT_EQ(calls[3], "ZqResetFPTFlags");
    }
    void ExpectNothingScanned() const {
        EXPECT_THAT(m_engine.Calls("ZqOpenFile"), ::testing::IsEmpty());
        EXPECT_TRUE(std::filesystem::is_empty(m_folder / "reports"));
        EXPECT_EQ(g_pPLstHead, nullptr);
        EXPECT_EQ(g_pPLstCurr, nullptr);
        EXPECT_EQ(g_pRptObj, nullptr);
    }
    /// Waits for the end of the scan and closes its dialog.
    static void ExpectScan(ModalDriver& user) {
        user.Expect([](QDialog* dialog) {
            ASSERT_NE(qobject_cast<dlgScnPrgrs*>(dialog), nullptr);
            EXPECT_NE(g_pRptObj, nullptr);
            auto* close = dialog->findChild<QPushButton*>("btnClose");
            EXPECT_TRUE(QTest::qWaitFor([close] { return close->isEnabled(); }, 20000));
            close->click();
        });
    }
    /// Chooses a file by its name.
    static void ExpectFileChoice(ModalDriver& user, const std::filesystem::path& file,
                                 bool removeAfterwards = false) {
        user.Expect([file, removeAfterwards](QDialog* dialog) {
            auto* picker = qobject_cast<QFileDialog*>(dialog);
            ASSERT_NE(picker, nullptr);
            EXPECT_EQ(picker->directory().path(), "/home");
            EXPECT_EQ(picker->fileMode(), QFileDialog::ExistingFile);
            EXPECT_EQ(picker->acceptMode(), QFileDialog::AcceptOpen);
            EXPECT_TRUE(picker->filter().testFlag(QDir::Hidden));
            picker->findChild<QLineEdit*>("fileNameEdit")->setText(QFile::decodeName(file.c_str()));
            static_cast<QDialog*>(picker)->accept();
            if (removeAfterwards) {
                std::filesystem::remove(file);
            }
        });
    }
    /// Opened files in the order in which the engine saw them.
    [[nodiscard]] std::vector<std::string> Opened() const {
        std::vector<std::string> files;
        for (const std::string& call : m_engine.Calls("ZqOpenFile")) {
            files.push_back(call.substr(call.find(' ') + 1));
        }
        return files;
    }
    /// The 542-byte records of "main.rpt".
    [[nodiscard]] std::string IndexRecords() const {
        return Get("main.rpt").value_or("").substr(12);
    }
    [[nodiscard]] std::string Report() const {
        for (const auto& entry : std::filesystem::directory_iterator(m_folder / "reports")) {
            if (entry.path().extension() == ".log") {
                return Get("reports/" + entry.path().filename().string()).value_or("");
            }
        }
        return {};
    }

    std::filesystem::path m_sample;
};
