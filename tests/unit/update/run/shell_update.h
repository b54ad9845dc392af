#pragma once

#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <mutex>
#include <string>
#include <vector>

#include "common/run_state.h"
#include "common/text_field.h"
#include "tests/fakes/updturl/fake_updater.h"
#include "tests/unit/update/files/product_fixture.h"
#include "update/run/update_callback.h"
#include "update/run/update_run.h"

/// "zqupdate.opt" as it lies on the disk.
inline std::string OptionBytes(std::uint32_t flags, const std::string& path = "",
                               const std::string& backupFolder = "") {
    return std::string{static_cast<char>(flags), 0, 0, 0, 1, 0, 0, 0} + Padded(path, 256) +
           Padded(backupFolder, 256);
}

/// An update as a program for the shell runs it: no window, no events. It is told on the thread
/// where it happens.
class ShellUpdate : public ProductFixture, public update::UpdateListener {
protected:
    ShellUpdate() {
        common::CopyToField(g_szAppPath, m_application.Path());
        common::CopyToField(g_szLogFile, m_scratch / "log");
    }
    ~ShellUpdate() override {
        g_szLogFile[0] = '\0';
        g_szAppPath[0] = '\0';
        g_siUpdateRetFlag = 0;
    }

    /// From the Internet centre, as the fake updater's script says.
    void Prepare(const std::string& script, std::uint32_t flags = kUpdateFromInternet) {
        FakeUpdater::Install(m_application.Path());
        WriteFile(m_application / "zqupdate.opt", OptionBytes(flags));
        m_updater.SetScript(script);
    }
    /// A whole update; its outcome.
    int Update() {
        m_run.Run();
        return m_run.State().outcome;
    }

    // UpdateListener
    void Tell(UpdateEvent event) override {
        {
            const std::scoped_lock lock(m_telling);
            m_told.push_back(event);
        }
        m_onEvent(event);
    }

    [[nodiscard]] std::string ProgramLog() const { return ReadFile(m_scratch / "log"); }

    ScratchFolder m_application;
    FakeUpdater m_updater;
    std::mutex m_telling;
    std::vector<int> m_told;
    std::function<void(UpdateEvent)> m_onEvent = [](UpdateEvent) {};
    update::UpdateRun m_run{*this, this};
    update::LiveUpdate m_live{this, m_run};
};
