#include <deque>
#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QMessageBox>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include "common/run_state.h"
#include "common/text_field.h"
#include "reports/report_generator.h"
#include "scan/detection_filters.h"
#include "scan/dlg_scn_prgrs.h"
#include "scan/dlg_vir_fnd.h"
#include "scan/prompt_handshake.h"
#include "scan/scan_thread.h"
#include "scan/scanner.h"
#include "scan/zq_event.h"
#include "tests/fakes/scanapi/fake_engine.h"
#include "tests/unit/scan/hostile_tree.h"

// Whole runs: the dialog, both threads and the scripted engine.

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::UnorderedElementsAre;

constexpr char kLine66[] = "------------------------------------------------------------------";

/// Writes down what its threads tell it, and shows it.
class RecordingProgress : public dlgScnPrgrs {
public:
    std::vector<std::string> m_steps;  // "1100 /path"

protected:
    void customEvent(QEvent* event) override {
        const ZqEvent* step = AsZqEvent(event);
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

class ScanRun : public ::testing::Test {
protected:
    ScanRun() {
        std::filesystem::create_directories(m_application / "reports");
        WriteFile(m_application / "main.rpt", std::string("ZQRF\0\0\0\0\0\0\0\0", 12));
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
    ~ScanRun() override {
        EXPECT_TRUE(m_answers.empty()) << "a question was never asked";
        Scanner::DestroyScan();
        g_pRptObj.reset();
        FreePathList(m_head, m_tail);
        g_scnActn = 1;
        g_zqFileInfo = nullptr;
        StopCount = false;
    }

    void AddPath(const std::string& path) { ASSERT_TRUE(AppendPath(m_head, m_tail, path.c_str())); }

    /// Starts the engine with a script and a run over the list; `whenOver` is done at its end.
    int Run(const std::string& script = "") {
        m_engine.SetScript(script);
        CopyToField(g_szAppPath, FakeEngine::Variant("good"));
        EXPECT_EQ(Scanner::InitScan(&g_scnopts), 1);
        CopyToField(g_szAppPath, m_application.Path());
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
    std::function<void()> m_whenOver = [] {};
    std::function<void()> m_whileRunning = [] {};
};

TEST_F(ScanRun, ACleanTree) {
    MakeFolder(m_top + "/d");
    WriteFile(m_top + "/a", "x");
    WriteFile(m_top + "/d/b", "x");
    AddPath(m_top);
    m_whenOver = [this] {
        EXPECT_EQ(m_dialog->findChild<QLabel*>("scannedLabel")->text(), "2");
        auto* bar = m_dialog->findChild<QProgressBar*>("progressBar");
        EXPECT_EQ(bar->maximum(), 2);
        EXPECT_EQ(bar->value(), 2);
    };
    EXPECT_EQ(Run(), 1);
    EXPECT_THAT(Opened(), UnorderedElementsAre(m_top + "/a", m_top + "/d/b"));
    EXPECT_EQ(g_uiTotCnt, 2U);
    for (const auto* count :
         {&g_uiInfCnt, &g_uiDeleCnt, &g_uiReprCnt, &g_uiSkipCnt, &g_uiIOErrCnt}) {
        EXPECT_EQ(*count, 0U);
    }
    EXPECT_EQ(g_totalfilestoscan, 2U);
    EXPECT_EQ(g_iCleanFileSeqCnt, 2);
    EXPECT_EQ(g_myScnopts.choice, 0);
    EXPECT_EQ(g_myScnopts.applyToAll, 0);
    const std::string report = Report();
    EXPECT_TRUE(report.starts_with(std::string(71, '-') + "\n\nScan Report For - "));
    EXPECT_NE(report.find(PathLine(m_top) + "\n" + kLine66 + "\n\nScan Complete.\n\n"),
              std::string::npos)
        << report;
    EXPECT_NE(report.find("Total Files Scanned   = 2\n"), std::string::npos);
    EXPECT_THAT(std::string(g_szStrTime),
                ::testing::MatchesRegex("Start Time : [0-9][0-9]:[0-9][0-9]:[0-9][0-9]\r\n"));
    EXPECT_THAT(std::string(g_szEndTime),
                ::testing::MatchesRegex("End Time :  [0-9][0-9]:[0-9][0-9]:[0-9][0-9]\r\n"));
    EXPECT_GE(g_dDiffTime, 0);
    EXPECT_LT(g_dDiffTime, 60);
}

TEST_F(ScanRun, TheStepsOfATree) {
    WriteFile(m_top + "/f", "x");
    AddPath(m_top);
    EXPECT_EQ(Run("member 1003 0 0 - f/member *\nsay 1001 1 1 V *\n"), 1);
    // The counting thread tells its end whenever it gets there, but before the end of the scan.
    EXPECT_EQ(std::erase(m_steps, "1114"), 1U);
    EXPECT_THAT(m_steps,
                ElementsAre("1108 " + m_top, "1113", "1100 " + m_top + "/f", "1100 f/member",
                            "1102 record of " + m_top + "/f", "1109 " + m_top, "1115", "1101 abc"));
}

TEST_F(ScanRun, TheStepsOfASingleFile) {
    WriteFile(m_top + "/f", "x");
    AddPath(m_top + "/f");
    EXPECT_EQ(Run(), 1);
    EXPECT_THAT(m_steps, ElementsAre("1108 " + m_top + "/f", "1113", "1100 " + m_top + "/f", "1109",
                                     "1115", "1101 abc"));
}

TEST_F(ScanRun, ARunStartsFromItsFirstPicture) {
    WriteFile(m_top + "/f", "x");
    AddPath(m_top + "/f");
    bool looked = false;
    m_whileRunning = [this, &looked] {
        const auto isEnabled = [this](const char* button) {
            return m_dialog->findChild<QPushButton*>(button)->isEnabled();
        };
        if (looked || isEnabled("btnClose")) {
            return;
        }
        looked = true;
        EXPECT_FALSE(isEnabled("btnViewRpt"));
        EXPECT_TRUE(isEnabled("btnStop"));
        EXPECT_TRUE(m_dialog->isModal());
        EXPECT_EQ(m_dialog->findChild<QProgressBar*>("progressBar")->maximum(), 200000);
        EXPECT_EQ(m_dialog->findChild<QLabel*>("statusLabel")->text(), "Scanning...");
    };
    EXPECT_EQ(Run("delay 300 *\n"), 1);
    EXPECT_TRUE(looked);
}

TEST_F(ScanRun, ATreeWithoutFilesHasTheUsualTotal) {
    MakeFifo(m_top + "/fifo");
    MakeLink("/etc/passwd", m_top + "/link");
    AddPath(m_top);
    m_whenOver = [this] {
        auto* bar = m_dialog->findChild<QProgressBar*>("progressBar");
        EXPECT_EQ(bar->maximum(), 200000);
        EXPECT_EQ(bar->value(), 200000);
    };
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(g_uiTotCnt, 0U);
    EXPECT_EQ(g_totalfilestoscan, 200000U);
}

TEST_F(ScanRun, SeveralTopsOneOfThemMissing) {
    for (const char* name : {"/a", "/b"}) {
        MakeFolder(m_top + name);
        WriteFile(m_top + name + "/f", "x");
    }
    AddPath(m_top + "/a");
    AddPath(m_top + "/missing");
    AddPath(m_top + "/b");
    EXPECT_EQ(Run(), 1);
    EXPECT_THAT(Opened(), ElementsAre(m_top + "/a/f", m_top + "/b/f"));
    EXPECT_EQ(g_totalfilestoscan, 2U);
    const std::string end = std::string("\n") + kLine66 + "\n\n";
    EXPECT_NE(Report().find(PathLine(m_top + "/a") + end + PathLine(m_top + "/missing") + end +
                            PathLine(m_top + "/b") + end),
              std::string::npos);
}

TEST_F(ScanRun, ALinkAtTheTopIsFollowed) {
    WriteFile(m_top + "/f", "x");
    MakeLink(m_top, m_scratch / "link");
    AddPath(m_scratch / "link");
    EXPECT_EQ(Run(), 1);
    EXPECT_THAT(Opened(), ElementsAre(m_scratch / "link/f"));
}

TEST_F(ScanRun, ASingleFileIsTheOnlyOneScanned) {
    WriteFile(m_top + "/one", "x");
    WriteFile(m_top + "/two", "x");
    AddPath(m_top + "/one");
    AddPath(m_top);
    EXPECT_EQ(Run(), 1);
    EXPECT_THAT(Opened(), ElementsAre(m_top + "/one"));
    EXPECT_EQ(g_totalfilestoscan, 200000U);
    EXPECT_EQ(g_uiTotCnt, 1U);
    EXPECT_NE(Report().find(PathLine(m_top + "/one") + "\n" + kLine66), std::string::npos);
}

TEST_F(ScanRun, AMissingTopIsHandedOverLikeAFile) {
    AddPath(m_top + "/missing");
    EXPECT_EQ(Run("open 0 auto *missing\n"), 1);
    EXPECT_THAT(Opened(), SizeIs(1));
    EXPECT_EQ(g_uiTotCnt, 1U);  // counted although it could not be opened
    EXPECT_THAT(m_engine.Calls("ZqScanFileEx"), IsEmpty());
}

TEST_F(ScanRun, AFifoAtTheTopDoesNotHoldTheScanUp) {
    MakeFifo(m_top + "/fifo");
    AddPath(m_top + "/fifo");
    EXPECT_EQ(Run("open 4001 auto *fifo\n"), 1);
    EXPECT_EQ(g_uiTotCnt, 1U);
}

TEST_F(ScanRun, AHostileTree) {
    WriteFile(m_top + "/<img src=x>", "x");
    WriteFile(m_top + "/two\nlines", "x");
    WriteFile(m_top + "/not\xFFutf8", "x");
    MakeFifo(m_top + "/fifo");
    MakeSocket(m_top + "/socket");
    MakeLink(".", m_top + "/loop");
    MakeLink("/", m_top + "/root");
    MakeFolder(m_top + "/deep");
    const int deep = MakeDeepTree(m_top + "/deep", 3000);
    AddPath(m_top);
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(g_uiTotCnt, static_cast<std::uint32_t>(deep) + 3);
    EXPECT_EQ(g_totalfilestoscan, static_cast<std::uint64_t>(deep) + 3);
    for (const std::string& name : Opened()) {
        EXPECT_TRUE(name.starts_with(m_top)) << name;
    }
}

TEST_F(ScanRun, ADetectionReachesLabelsAndReport) {
    WriteFile(m_top + "/eicar.com", "x");
    AddPath(m_top);
    m_whenOver = [this] {
        EXPECT_EQ(m_dialog->findChild<QLabel*>("infectedLabel")->text(), "1");
        EXPECT_EQ(m_dialog->findChild<QLabel*>("lastVirusLabel")->text(), "Eicar");
        EXPECT_EQ(m_dialog->findChild<QLabel*>("deletedLabel")->text(), "1");
    };
    g_scnopts.action = kActionDelete;
    EXPECT_EQ(Run("say 1001 1 1 Eicar *eicar.com\nafter 1001 2002 3003\n"), 1);
    EXPECT_NE(Report().find("\n\nScanning: " + m_top + "/eicar.com\nInfected: Eicar\n[Deleted]"),
              std::string::npos)
        << Report();
    EXPECT_EQ(g_uiInfCnt, 1U);
    EXPECT_EQ(g_uiDeleCnt, 1U);
}

TEST_F(ScanRun, ThePromptIsAskedOnceForAll) {
    for (const char* name : {"/v1", "/v2", "/v3"}) {
        WriteFile(m_top + name, "x");
    }
    AddPath(m_top);
    g_scnopts.action = kActionPrompt;
    m_answers.push_back([](QDialog* dialog) {
        dialog->findChild<QComboBox*>("actionCombo")->setCurrentIndex(3);
        dialog->findChild<QCheckBox*>("applyToAllCheck")->setChecked(true);
        dialog->findChild<QPushButton*>("btnOk")->click();
    });
    EXPECT_EQ(Run("say 1001 1 1 V *\nafter 1001 2003 3004\n"), 1);
    EXPECT_EQ(g_uiInfCnt, 3U);
    EXPECT_EQ(g_uiSkipCnt, 3U);
}

TEST_F(ScanRun, CancellingThePromptAsksWhetherToStop) {
    for (const char* name : {"/v1", "/v2", "/v3"}) {
        WriteFile(m_top + name, "x");
    }
    AddPath(m_top);
    g_scnopts.action = kActionPrompt;
    m_answers.push_back(
        [](QDialog* dialog) { dialog->findChild<QPushButton*>("btnCancel")->click(); });
    m_answers.push_back([](QDialog* dialog) {
        qobject_cast<QMessageBox*>(dialog)->button(QMessageBox::Yes)->click();
    });
    EXPECT_EQ(Run("say 1001 1 1 V *\n"), 1);
    EXPECT_EQ(g_uiTotCnt, 1U);
    EXPECT_NE(Report().find("Scan Interrupted.\n\n"), std::string::npos);
    EXPECT_TRUE(StopCount);
}

TEST_F(ScanRun, ARefusedStopLetsTheScanGoOn) {
    for (int file = 0; file < 50; ++file) {
        WriteFile(m_top + "/f" + std::to_string(file), "x");
    }
    AddPath(m_top);
    bool asked = false;
    m_whileRunning = [this, &asked] {
        if (!asked && g_uiTotCnt >= 1 && g_uiTotCnt < 50) {
            asked = true;
            m_dialog->OnStopClick();
        }
    };
    m_answers.push_back([](QDialog* dialog) {
        qobject_cast<QMessageBox*>(dialog)->button(QMessageBox::No)->click();
    });
    EXPECT_EQ(Run("delay 5 *\n"), 1);
    EXPECT_TRUE(asked);
    EXPECT_EQ(g_uiTotCnt, 50U);
    EXPECT_FALSE(StopCount);
    EXPECT_NE(Report().find("Scan Complete.\n\n"), std::string::npos);
}

TEST_F(ScanRun, AStopMayBeRefusedAgainAndAgain) {
    for (int file = 0; file < 60; ++file) {
        WriteFile(m_top + "/f" + std::to_string(file), "x");
    }
    AddPath(m_top);
    int asked = 0;
    m_whileRunning = [this, &asked] {
        // Not before the last answer has got through: the scan has gone on since.
        if (asked < 5 && m_answers.empty() && !m_dialog->m_stop.IsSet() &&
            g_uiTotCnt >= static_cast<std::uint32_t>(8 * (asked + 1))) {
            ++asked;
            m_answers.push_back([](QDialog* dialog) {
                qobject_cast<QMessageBox*>(dialog)->button(QMessageBox::No)->click();
            });
            m_dialog->OnStopClick();
        }
    };
    EXPECT_EQ(Run("delay 5 *\n"), 1);
    EXPECT_EQ(asked, 5);
    EXPECT_EQ(std::erase(m_steps, "1112 " + m_top), 5U);
    EXPECT_EQ(g_uiTotCnt, 60U);
    EXPECT_NE(Report().find("Scan Complete.\n\n"), std::string::npos);
}

TEST_F(ScanRun, AStopWhileASingleFileIsScannedAsksNothing) {
    WriteFile(m_top + "/f", "x");
    AddPath(m_top + "/f");
    const std::string released = m_scratch / "released";
    m_whileRunning = [this, &released] {
        if (g_uiTotCnt == 1 && !m_dialog->m_stop.IsSet()) {
            m_dialog->OnStopClick();
            WriteFile(released, "");
        }
    };
    g_scnopts.action = kActionPrompt;
    EXPECT_EQ(Run("hold " + released + " *\nsay 1001 1 1 V *\n"), 1);
    EXPECT_THAT(m_engine.Calls("callback"), ElementsAre(::testing::EndsWith(" -> 2004")));
    EXPECT_EQ(g_uiInfCnt, 0U);
    EXPECT_NE(Report().find("Scan Interrupted.\n\n"), std::string::npos);
}

TEST_F(ScanRun, AStopDuringThePromptOutweighsItsAnswer) {
    WriteFile(m_top + "/f", "x");
    AddPath(m_top);
    g_scnopts.action = kActionPrompt;
    m_answers.push_back([this](QDialog* prompt) {
        m_dialog->OnStopClick();
        prompt->findChild<QComboBox*>("actionCombo")->setCurrentIndex(2);
        prompt->findChild<QPushButton*>("btnOk")->click();
    });
    m_answers.push_back([](QDialog* dialog) {
        qobject_cast<QMessageBox*>(dialog)->button(QMessageBox::Yes)->click();
    });
    EXPECT_EQ(Run("say 1001 1 1 V *\nafter 1001 2002 3003\n"), 1);
    EXPECT_EQ(g_uiDeleCnt, 0U);
    EXPECT_THAT(m_engine.Calls("callback"), ElementsAre(::testing::EndsWith(" -> 2004")));
}

TEST_F(ScanRun, QuittingTheProgramEndsTheScan) {
    for (int file = 0; file < 3000; ++file) {
        WriteFile(m_top + "/f" + std::to_string(file), "x");
    }
    AddPath(m_top);
    m_whileRunning = [] {
        if (g_uiTotCnt >= 1) {
            QApplication::exit();
        }
    };
    QTimer::singleShot(0, [this] { EXPECT_EQ(Run("delay 2 *\n"), 0); });
    QApplication::exec();
    EXPECT_LT(g_uiTotCnt, 3000U);
    EXPECT_LT(Opened().size(), 3000U);
}

TEST_F(ScanRun, QuittingWhileTheScanAsksEndsItToo) {
    for (int file = 0; file < 20; ++file) {
        WriteFile(m_top + "/f" + std::to_string(file), "x");
    }
    AddPath(m_top);
    g_scnopts.action = kActionPrompt;
    m_answers.push_back([](QDialog* /*prompt*/) { QApplication::exit(); });
    QTimer::singleShot(0, [this] { EXPECT_EQ(Run("say 1001 1 1 V *\n"), 0); });
    QApplication::exec();
    EXPECT_THAT(Opened(), SizeIs(1));
}

TEST_F(ScanRun, AConfirmedStopEndsEveryLevelAndPath) {
    std::string folder = m_top;
    for (int level = 0; level < 20; ++level) {
        folder += "/d";
        MakeFolder(folder);
        WriteFile(folder + "/f1", "x");
        WriteFile(folder + "/f2", "x");
    }
    AddPath(m_top);
    AddPath(m_scratch.Path());
    bool asked = false;
    m_whileRunning = [this, &asked] {
        if (!asked && g_uiTotCnt >= 1 && g_uiTotCnt < 30) {
            asked = true;
            m_dialog->close();
        }
    };
    m_answers.push_back([](QDialog* dialog) {
        qobject_cast<QMessageBox*>(dialog)->button(QMessageBox::Yes)->click();
    });
    EXPECT_EQ(Run("delay 5 *\n"), 1);
    EXPECT_LT(g_uiTotCnt, 40U);
    EXPECT_TRUE(StopCount);
    const std::string report = Report();
    EXPECT_NE(report.find(PathLine(m_top) + "\n" + kLine66 + "\n\nScan Interrupted.\n\n"),
              std::string::npos)
        << report;
}

TEST_F(ScanRun, ClosingTwiceEndsTheScanBeforeItReturns) {
    for (int file = 0; file < 2000; ++file) {
        WriteFile(m_top + "/f" + std::to_string(file), "x");
    }
    AddPath(m_top);
    m_whileRunning = [this] {
        if (g_uiTotCnt >= 1 && m_dialog->isVisible()) {
            m_dialog->close();
            m_dialog->close();
        }
    };
    EXPECT_EQ(Run("delay 2 *\n"), 0);
    EXPECT_LT(g_uiTotCnt, 2000U);
    EXPECT_NE(Report().find("Scan Interrupted.\n\n"), std::string::npos);
    EXPECT_NE(Report().find("** Report End **\r\n"), std::string::npos);
}

TEST_F(ScanRun, TheTenthKindTurnsTheLabScanOn) {
    std::string script;
    for (int kind = 0; kind < 10; ++kind) {
        MakeFolder(m_top);
        WriteFile(m_top + "/v" + std::to_string(kind), "x");
        script += "say 1001 1 " + std::to_string(kind) + " V *v" + std::to_string(kind) + "\n";
    }
    AddPath(m_top);
    EXPECT_EQ(Run(script), 1);
    EXPECT_EQ(g_iCntLabViruses, 10);
    EXPECT_EQ(Scanner::m_ScanOptns.extraFlags, 0x8000);
    EXPECT_THAT(m_engine.Calls("ZqSetOptions"), SizeIs(1));
}

TEST_F(ScanRun, NineKindsDoNotTurnTheLabScanOn) {
    std::string script;
    for (int file = 0; file < 12; ++file) {
        WriteFile(m_top + "/v" + std::to_string(100 + file), "x");
        script +=
            "say 1001 1 " + std::to_string(file % 9) + " V *v" + std::to_string(100 + file) + "\n";
    }
    AddPath(m_top);
    EXPECT_EQ(Run(script), 1);
    EXPECT_EQ(g_iCntLabViruses, 9);
    EXPECT_EQ(g_uiInfCnt, 12U);
    EXPECT_EQ(Scanner::m_ScanOptns.extraFlags, 0);
    EXPECT_THAT(m_engine.Calls("ZqSetOptions"), IsEmpty());
}

TEST_F(ScanRun, AnEmptyListEndsAtOnce) {
    EXPECT_EQ(Run(), 1);
    EXPECT_THAT(Opened(), IsEmpty());
    EXPECT_EQ(g_uiTotCnt, 0U);
}

TEST_F(ScanRun, ManyFilesAreCountedExactly) {
    for (int file = 0; file < 10000; ++file) {
        WriteFile(m_top + "/f" + std::to_string(file), "");
    }
    AddPath(m_top);
    m_whenOver = [this] {
        EXPECT_EQ(m_dialog->findChild<QLabel*>("scannedLabel")->text(), "10000");
    };
    EXPECT_EQ(Run("say 1005 0 0 - *9\n"), 1);
    EXPECT_EQ(g_uiTotCnt, 10000U);
    EXPECT_EQ(g_uiIOErrCnt, 1000U);
    EXPECT_EQ(g_totalfilestoscan, 10000U);
}

TEST_F(ScanRun, NoPathScansNothing) {
    ScanFile(nullptr, nullptr);
    EXPECT_THAT(m_engine.Calls(), IsEmpty());
}

}  // namespace
