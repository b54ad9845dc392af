#include <gmock/gmock.h>
#include <string>

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QPushButton>

#include "tests/gui/scan/scan_run_fixture.h"

// What becomes of a detection: labels, report, the question, the lab scan.

namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;

TEST_F(WholeScan, ADetectionReachesLabelsAndReport) {
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

TEST_F(WholeScan, ThePromptIsAskedOnceForAll) {
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

TEST_F(WholeScan, TheTenthKindTurnsTheLabScanOn) {
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

TEST_F(WholeScan, NineKindsDoNotTurnTheLabScanOn) {
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

}  // namespace
