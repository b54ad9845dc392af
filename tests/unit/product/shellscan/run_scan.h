#pragma once

#include <csignal>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <utility>
#include <vector>

#include "tests/fakes/scanapi/fake_engine.h"
#include "tests/support/scratch.h"

/// How corvane-scan is started.
struct ScanStart {
    std::vector<std::string> arguments{};
    std::string input{};                             ///< of standard input
    std::optional<int> output{};                     ///< standard output{}; -1 is closed
    std::optional<int> errors{};                     ///< standard error
    std::vector<std::pair<int, int>> descriptors{};  ///< ours, and the number they get
    std::string folder = "/";                        ///< where it is started
    uid_t user = 0;
};

/// One run of a program, its output caught in files.
class ScanProcess {
public:
    ScanProcess(const std::string& program, ScanStart start);
    ~ScanProcess();
    ScanProcess(const ScanProcess&) = delete;
    ScanProcess& operator=(const ScanProcess&) = delete;

    /// What was written so far.
    [[nodiscard]] std::string Output() const { return ReadFile(m_scratch / "out"); }
    [[nodiscard]] std::string Errors() const { return ReadFile(m_scratch / "err"); }

    void Signal(int signal) const { ::kill(m_pid, signal); }

    /// The exit status, or 128 + the signal that ended it.
    int Status();

private:
    void Become(const std::string& program, ScanStart& start) const;

    ScratchFolder m_scratch;
    pid_t m_pid = -1;
    std::optional<int> m_status;
};

/// corvane-scan in a folder of its own with a scripted engine, a virus log, and a tree to scan.
class ShellScanProgram : public testing::Test {
protected:
    void SetUp() override;

    /// Puts another engine beside the program.
    void UseEngine(const std::string& variant) const;

    [[nodiscard]] std::string Program() const { return m_application / "corvane-scan"; }

    /// The tree's path, without "/" at its end.
    [[nodiscard]] std::string Tree(std::string_view below = "") const {
        return (m_scratch / "tree") + std::string(below);
    }

    /// Runs it to its end.
    struct Result {
        int status;
        std::string output;
        std::string errors;
    };
    [[nodiscard]] Result Run(ScanStart start) const;
    [[nodiscard]] Result Run(std::vector<std::string> arguments) const {
        return Run(ScanStart{.arguments = std::move(arguments)});
    }

    /// The files that the engine opened, in their order, as the fake notes names.
    [[nodiscard]] std::vector<std::string> Opened() const;

    ScratchFolder m_application;
    ScratchFolder m_scratch;
    FakeEngine m_engine;
};

/// A report with times and dates replaced: "DATE" and "HH:MM:SS".
std::string WithoutTimes(std::string report);
