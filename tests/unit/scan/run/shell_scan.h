#pragma once

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "common/path_list.h"
#include "common/run_state.h"
#include "common/text_field.h"
#include "reports/files/report_generator.h"
#include "scan/run/engine_library.h"
#include "scan/run/engine_options.h"
#include "scan/run/scan_engine.h"
#include "scan/run/scan_run.h"
#include "tests/fakes/scanapi/fake_engine.h"
#include "tests/support/report_files.h"
#include "tests/unit/scan/run/hostile_tree.h"

/// What was handed to the virus log and what was told of the scan, in one order.
extern std::vector<std::string> happened;

/// A scan as a program for the shell runs it: no window, no events, the engine's own callback. It
/// is told of every step on the thread where it happens and answers questions at once.
class ShellScan : public ::testing::Test, public scan::ScanListener, public scan::ScanEngine {
protected:
    ShellScan();
    ~ShellScan() override;

    void AddPath(const std::string& path) {
        ASSERT_TRUE(common::AppendPath(m_head, m_tail, path.c_str()));
    }

    /// Starts the engine, or another variant of it, with a script; false when it does not start.
    bool StartEngine(const std::string& script, const std::string& variant = "good");

    /// The same with the engine in `directory`, which ends in "/".
    bool StartEngineIn(const std::string& directory, const std::string& script);

    /// A whole scan of the paths.
    void Scan();

    // ScanListener
    void Tell(const scan::ScanStep& step) override;
    void Ask(const scan::ScanStep& question) override;

    // ScanEngine
    bool ScanFile(const char* path) override;
    tagSCANAPI_OPTIONS& Options() override { return m_options; }
    void SendOptions() override;
    void FilesAhead(int folder, const char* path, std::span<const char* const> names) override;

    [[nodiscard]] std::string LogText() const { return ReadFile(m_logFile); }

    ScratchFolder m_application;
    ScratchFolder m_scratch;
    const std::string m_top = m_scratch / "top";
    const std::string m_logFile = m_scratch / "log";
    FakeEngine m_engine;
    scan::EngineLibrary m_library;
    tagSCANAPI_OPTIONS m_options{};
    tagPathList* m_head = nullptr;
    tagPathList* m_tail = nullptr;
    std::mutex m_telling;  // the counting thread tells, too
    std::function<void(const scan::ScanStep&)> m_onStep = [](const scan::ScanStep&) {};
    std::function<void(const scan::ScanStep&)> m_onQuestion = [](const scan::ScanStep&) {};
    scan::ScanRun m_run{*this, *this};
};

/// A record of the engine about a file.
inline tagZQFILEINFO EngineRecord(int code, const std::string& file = "/t/infected") {
    tagZQFILEINFO info{};
    info.code = static_cast<std::int16_t>(code);
    common::CopyToField(info.fileName, file);
    common::CopyToField(info.virusName, "V");
    return info;
}
