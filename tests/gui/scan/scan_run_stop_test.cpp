#include <filesystem>
#include <gmock/gmock.h>
#include <string>

#include <QApplication>
#include <QComboBox>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>

#include "tests/gui/scan/report_lines.h"
#include "tests/gui/scan/scan_run_fixture.h"

// Runs that somebody stops, nearly stops, or ends together with the program.

namespace {

using ::testing::ElementsAre;
using ::testing::SizeIs;

TEST_F(WholeScan, CancellingThePromptAsksWhetherToStop) {
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

TEST_F(WholeScan, ARefusedStopLetsTheScanGoOn) {
    for (int file = 0; file < 50; ++file) {
        WriteFile(m_top + "/f" + std::to_string(file), "x");
    }
    AddPath(m_top);
    const std::string released = m_scratch / "released";
    bool asked = false;
    m_whileRunning = [&] {
        if (!asked && g_uiTotCnt == 1) {
            asked = true;
            m_dialog->OnStopClick();
            WriteFile(released, "");
        }
    };
    m_answers.push_back([](QDialog* dialog) {
        qobject_cast<QMessageBox*>(dialog)->button(QMessageBox::No)->click();
    });
    EXPECT_EQ(Run("hold " + released + " *\n"), 1);
    EXPECT_TRUE(asked);
    EXPECT_EQ(g_uiTotCnt, 50U);
    EXPECT_FALSE(StopCount);
    EXPECT_NE(Report().find("Scan Complete.\n\n"), std::string::npos);
}

TEST_F(WholeScan, AStopMayBeRefusedAgainAndAgain) {
    for (int file = 0; file < 60; ++file) {
        WriteFile(m_top + "/f" + std::to_string(file), "x");
    }
    AddPath(m_top);
    const std::string released = m_scratch / "released";
    std::uint32_t asked = 0;
    m_whileRunning = [&] {
        // The engine is held at the file after the last answer: the scan has gone on since.
        if (asked < 5 && g_uiTotCnt == asked + 1) {
            ++asked;
            m_answers.push_back([&](QDialog* dialog) {
                if (asked < 5) {
                    std::filesystem::remove(released);
                }
                qobject_cast<QMessageBox*>(dialog)->button(QMessageBox::No)->click();
            });
            m_dialog->OnStopClick();
            WriteFile(released, "");
        }
    };
    EXPECT_EQ(Run("hold " + released + " *\n"), 1);
    EXPECT_EQ(asked, 5U);
    EXPECT_EQ(std::erase(m_steps, "1112 " + m_top), 5U);
    EXPECT_EQ(g_uiTotCnt, 60U);
    EXPECT_NE(Report().find("Scan Complete.\n\n"), std::string::npos);
}

TEST_F(WholeScan, AStopWhileASingleFileIsScannedAsksNothing) {
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

TEST_F(WholeScan, AStopDuringThePromptOutweighsItsAnswer) {
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

TEST_F(WholeScan, AConfirmedStopEndsEveryLevelAndPath) {
    std::string folder = m_top;
    for (int level = 0; level < 20; ++level) {
        folder += "/d";
        MakeFolder(folder);
        WriteFile(folder + "/f1", "x");
        WriteFile(folder + "/f2", "x");
    }
    AddPath(m_top);
    AddPath(m_scratch.Path());
    const std::string released = m_application / "released";
    bool asked = false;
    m_whileRunning = [&] {
        if (!asked && g_uiTotCnt == 1) {
            asked = true;
            m_dialog->close();
            WriteFile(released, "");
        }
    };
    m_answers.push_back([](QDialog* dialog) {
        qobject_cast<QMessageBox*>(dialog)->button(QMessageBox::Yes)->click();
    });
    EXPECT_EQ(Run("hold " + released + " *\n"), 1);
    EXPECT_EQ(g_uiTotCnt, 1U);
    EXPECT_TRUE(StopCount);
    const std::string report = Report();
    EXPECT_NE(report.find(PathLine(m_top) + "\n" + kLine66 + "\n\nScan Interrupted.\n\n"),
              std::string::npos)
        << report;
}

TEST_F(WholeScan, ClosingTwiceEndsTheScanBeforeItReturns) {
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

TEST_F(WholeScan, QuittingTheProgramEndsTheScan) {
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
    EXPECT_EQ(Opened().size(), g_uiTotCnt) << "a step was told and not counted";
    ExpectInterruptedReport();
}

TEST_F(WholeScan, QuittingWhileTheScanAsksEndsItToo) {
    for (int file = 0; file < 20; ++file) {
        WriteFile(m_top + "/f" + std::to_string(file), "x");
    }
    AddPath(m_top);
    g_scnopts.action = kActionPrompt;
    m_answers.push_back([](QDialog* /*prompt*/) { QApplication::exit(); });
    QTimer::singleShot(0, [this] { EXPECT_EQ(Run("say 1001 1 1 V *\n"), 0); });
    QApplication::exec();
    EXPECT_THAT(Opened(), SizeIs(1));
    ExpectInterruptedReport();
}

TEST_F(WholeScan, QuittingOverTheStopQuestionEndsReportAndIndexInOrder) {
    for (int file = 0; file < 200; ++file) {
        WriteFile(m_top + "/f" + std::to_string(file), "x");
    }
    AddPath(m_top);
    bool stopped = false;
    m_whileRunning = [this, &stopped] {
        if (g_uiTotCnt >= 1 && !stopped) {
            stopped = true;
            m_dialog->OnStopClick();
        }
    };
    m_answers.push_back([](QDialog* question) {
        EXPECT_NE(qobject_cast<QMessageBox*>(question), nullptr);
        QApplication::exit();
    });
    QTimer::singleShot(0, [this] { EXPECT_EQ(Run("delay 10 *\n"), 0); });
    QApplication::exec();
    EXPECT_LT(g_uiTotCnt, 200U) << "quitting is no refusal";
    EXPECT_EQ(Opened().size(), g_uiTotCnt);
    ExpectInterruptedReport();
}

}  // namespace
