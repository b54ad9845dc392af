#pragma once

#include <filesystem>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include <QEvent>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include "common/run_state.h"
#include "common/text_field.h"
#include "tests/fakes/updturl/fake_updater.h"
#include "tests/support/find_widget.h"
#include "tests/support/scratch.h"
#include "update/dlg_update.h"
#include "update/files/update_options.h"

/// Writes down the events and shows them; gives the tests what the event loop gives the dialog.
class RecordingUpdate : public dlgUpdate {
public:
    using dlgUpdate::dlgUpdate;
    std::vector<int> m_types;
    std::function<void(int)> m_afterEvent = [](int) {};

    void Send(int type) {
        ZqEvent event(type);
        customEvent(&event);
    }
    void SendOther(QEvent event) { customEvent(&event); }
    [[nodiscard]] QString Text(const char* label) const {
        return FindWidget<QLabel>(*this, label)->text();
    }
    [[nodiscard]] QPushButton* StopButton() const {
        return FindWidget<QPushButton>(*this, "btnStop");
    }

protected:
    void customEvent(QEvent* event) override {
        m_types.push_back(event->type());
        dlgUpdate::customEvent(event);
        m_afterEvent(event->type());
    }
};

/// An application directory with the fake updater. In the sandbox, for what is read and logged at
/// fixed paths.
class UpdateTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!InSandbox()) {
            GTEST_SKIP() << "works on the product's fixed paths: run it in tests/support/sandbox";
        }
        common::CopyToField(g_szAppPath, m_application.Path());
        common::CopyToField(g_szLogFile, m_scratch / "log");
    }
    void TearDown() override {
        g_szLogFile[0] = '\0';
        g_szAppPath[0] = '\0';
        g_siUpdateRetFlag = 0;
        g_updFileInfo = {};
        for (const char* log : {"/zqupdt.log", "/zqcommon.log"}) {
            if (InSandbox()) {
                std::filesystem::remove(log);
            }
        }
    }

    /// As the fake updater's script says, from the Internet centre or with other `flags`.
    void Prepare(const std::string& script, std::uint32_t flags = kUpdateFromInternet) {
        FakeUpdater::Install(m_application.Path());
        WriteFile(m_application / "zqupdate.opt",
                  std::string{static_cast<char>(flags), 0, 0, 0, 1} + std::string(515, '\0'));
        m_updater.SetScript(script);
    }

    [[nodiscard]] std::string ProgramLog() const { return ReadFile(m_scratch / "log"); }

    ScratchFolder m_application;
    ScratchFolder m_scratch;
    FakeUpdater m_updater;
};
