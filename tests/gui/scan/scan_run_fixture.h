#pragma once

#include <deque>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include <QApplication>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QTimer>

#include "common/path_list.h"
#include "common/run_state.h"
#include "common/text_field.h"
#include "reports/files/report_generator.h"
#include "scan/dlg_scn_prgrs.h"
#include "scan/dlg_vir_fnd.h"
#include "scan/scan_event.h"
#include "scan/scanner.h"
#include "tests/fakes/scanapi/fake_engine.h"
#include "tests/support/report_files.h"
#include "tests/unit/scan/run/hostile_tree.h"

/// Writes down what its threads tell it, and shows it.
class RecordingProgress : public dlgScnPrgrs {
public:
    std::vector<std::string> m_steps;  // "1100 /path"

protected:
    void customEvent(QEvent* event) override {
        const ZqEvent* step = AsScanEvent(event);
        ASSERT_NE(step, nullptr);
        std::string line = std::to_string(step->type());
        if (step->Text() != nullptr) {
            line += std::string(" ") + step->Text();
        }
        if (step->Info().fileName[0] != '\0') {
            line += std::string(" record of ") + step->Info().fileName;
        }
        m_steps.push_back(line);
        dlgScnPrgrs::customEvent(event);
    }
};

/// Whole runs: the dialog, both threads and the scripted engine.
class WholeScan : public ::testing::Test {
protected:
    WholeScan() {
        MakeReportFiles(m_application.Path());
        MakeFolder(m_top);
        g_scnopts = {kActionReportOnly, 0};
        g_iCleanFileSeqCnt = 0;
        g_iCntLabViruses = 0;
        Scanner::m_ScanOptns.extraFlags = 0;
        // Of an earlier run.
        g_uiTotCnt = g_uiInfCnt = g_uiDeleCnt = g_uiReprCnt = g_uiSkipCnt = g_uiIOErrCnt = 77;
        g_totalfilestoscan = 77;
        g_myScnopts = {2, 1};
        StopCount = true;
    }
    ~WholeScan() override {
        EXPECT_TRUE(m_answers.empty()) << "a question was never asked";
        Scanner::DestroyScan();
        g_pRptObj.reset();
        common::FreePathList(m_head, m_tail);
        g_scnActn = 1;
        g_zqFileInfo = nullptr;
        StopCount = false;
    }

    void AddPath(const std::string& path) {
        ASSERT_TRUE(common::AppendPath(m_head, m_tail, path.c_str()));
    }

    /// Starts the engine with a script and a run over the list; `whenOver` is done at its end.
    int Run(const std::string& script = "") {
        m_engine.SetScript(script);
        common::CopyToField(g_szAppPath, FakeEngine::Variant("good"));
        EXPECT_EQ(Scanner::InitScan(&g_scnopts), 1);
        common::CopyToField(g_szAppPath, m_application.Path());
        g_pRptObj = std::make_unique<ReportGen>(m_head);
        RecordingProgress dialog;
        m_dialog = &dialog;
        dialog.SetPathListToScan(m_head);
        QTimer poll;
        QObject::connect(&poll, &QTimer::timeout, [&] {
            m_whileRunning();
            AnswerQuestion();
            if (dialog.findChild<QLabel*>("statusLabel")->text() ==
                    "Scanning completed successfully" &&
                m_closeWhenOver) {
                m_closeWhenOver = false;
                m_whenOver();
                dialog.findChild<QPushButton*>("btnClose")->click();
            }
        });
        poll.start(2);
        m_beforeRun();
        const int result = dialog.myexec();
        m_dialog = nullptr;
        m_steps = dialog.m_steps;
        return result;
    }

    /// Answers a window that has come up over the progress dialog, each only once.
    void AnswerQuestion() {
        auto* question = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (question == nullptr || question == m_dialog || question == m_answered) {
            return;
        }
        m_answered = question;
        if (m_answers.empty()) {
            ADD_FAILURE() << "unexpected: " << question->windowTitle().toStdString();
            question->reject();
            return;
        }
        const auto answer = m_answers.front();
        m_answers.pop_front();
        answer(question);
    }

    /// The report and its record are as complete as those of any scan that was stopped.
    void ExpectInterruptedReport() const {
        const std::string report = Report();
        const std::size_t summary = report.find("Scan Interrupted.\n\n");
        EXPECT_NE(summary, std::string::npos) << report;
        EXPECT_EQ(report.rfind("Scan Interrupted.\n\n"), summary) << report;
        EXPECT_EQ(report.find("Scan Complete."), std::string::npos) << report;
        EXPECT_TRUE(report.ends_with("** Report End **\r\n")) << report;
        EXPECT_EQ(ReadFile(m_application / "main.rpt").size(), 12U + 542U);
    }

    std::string Report() const { return ReadFile(g_szRptPath); }
    std::string PathLine(const std::string& path) const { return "Scanning: " + path; }
    /// The files that the engine was asked to open.
    std::vector<std::string> Opened() const {
        std::vector<std::string> names;
        for (const std::string& call : m_engine.Calls("ZqOpenFile ")) {
            const std::string rest = call.substr(std::string("ZqOpenFile ").size());
            names.push_back(rest.substr(0, rest.find(' ')));
        }
        return names;
    }

    ScratchFolder m_application;
    ScratchFolder m_scratch;
    const std::string m_top = m_scratch / "top";
    FakeEngine m_engine;
    tagPathList* m_head = nullptr;
    tagPathList* m_tail = nullptr;
    dlgScnPrgrs* m_dialog = nullptr;
    std::vector<std::string> m_steps;  // of the last run
    bool m_closeWhenOver = true;
    std::deque<std::function<void(QDialog*)>> m_answers;
    QPointer<QDialog> m_answered;
    std::function<void()> m_beforeRun = [] {};
    std::function<void()> m_whenOver = [] {};
    std::function<void()> m_whileRunning = [] {};
};
