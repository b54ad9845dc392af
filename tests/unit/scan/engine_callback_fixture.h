#pragma once

#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "abi/scanapi.h"
#include "common/run_state.h"
#include "common/text_field.h"
#include "scan/engine_callback.h"
#include "scan/scanner.h"
#include "tests/unit/scan/recording_dialog.h"

/// What the callback handed to the virus log.
struct LogRecord {
    unsigned int component;
    std::string file;
    std::string virus;
    std::string action;
    bool operator==(const LogRecord&) const = default;
};
extern std::vector<LogRecord> logRecords;

inline constexpr char kFile[] = "/tmp/infected.com";
inline constexpr char kVirus[] = "Eicar-Test-Signature";

inline tagZQFILEINFO Message(int code, const std::string& file = kFile,
                             const std::string& virus = kVirus) {
    tagZQFILEINFO info{};
    info.code = static_cast<std::int16_t>(code);
    common::CopyToUnterminatedField(info.fileName, file);
    common::CopyToUnterminatedField(info.virusName, virus);
    info.detectionClass = 1;
    info.detectionSubClass = 2;
    return info;
}

/// A row of the tables of replies, for a test that fails in it.
inline std::string Row(int code, int previous, int action, int choice, int all) {
    return "code " + std::to_string(code) + " after " + std::to_string(previous) + ", action " +
           std::to_string(action) + ", choice " + std::to_string(choice) + ", apply to all " +
           std::to_string(all);
}

/// Whether the engine has reported anything in this process yet.
extern bool reportedBefore;

/// The engine's callback with a dialog that keeps its events, and a stand-in for the virus log.
class EngineCallback : public ::testing::Test {
protected:
    void SetUp() override {
        g_iCleanFileSeqCnt = 0;
        g_iCntLabViruses = 0;
        g_scnopts = {kActionReportOnly, 0};
        g_myScnopts = {};
        Scanner::m_ScanOptns = {};
        common::ResetRunCounters();
        logRecords.clear();
    }
    void TearDown() override { SetUp(); }

    /// The reply to a message given on a scan thread.
    int Reply(const tagZQFILEINFO& info) {
        reportedBefore = true;
        return m_dialog.OnScanThread([&] { return ZqCallBack(&info, m_dialog.Context()); });
    }
    int Reply(int code) { return Reply(Message(code)); }

    /// Makes `code` the last detection reported, and forgets its traces.
    void ReportBefore(int code) {
        g_scnopts.action = kActionReportOnly;
        Reply(code);
        m_dialog.m_received.clear();
        common::ResetRunCounters();
    }

    static void SetAnswers(int action, int choice, int all) {
        g_scnopts.action = static_cast<std::uint16_t>(action);
        g_myScnopts = {static_cast<std::uint16_t>(choice), static_cast<std::uint8_t>(all)};
    }

    /// Calls `check(action, choice, all)` for every setting of the two.
    template <typename Check>
    void ForEverySetting(Check check) {
        for (int action = 0; action <= 4; ++action) {
            for (int choice = 0; choice <= 3; ++choice) {
                for (int all = 0; all <= 1; ++all) {
                    SetAnswers(action, choice, all);
                    check(action, choice, all);
                    m_dialog.m_received.clear();
                    logRecords.clear();
                    common::ResetRunCounters();
                }
            }
        }
    }

    RecordingDialog m_dialog;
};
