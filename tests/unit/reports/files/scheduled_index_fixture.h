#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/types.h>
#include <vector>

#include "common/text_field.h"
#include "reports/files/scheduled_index.h"
#include "tests/support/scheduled_reports.h"
#include "tests/support/scratch.h"

inline constexpr const char* kReports = kScheduledFolder;
inline constexpr char kIndex[] = "/usr/lib/Corvane/Corvane/reports/schdmain.rpt";
inline constexpr char kDate[] = "21 Nov, 2026, 10:00:00 AM";
inline constexpr std::size_t kHeaderSize = 19;
inline constexpr std::size_t kRecordSize = 1316;

using Names = std::vector<std::string>;

/// The index of the scheduled scans at its fixed place, missing at first.
class ScheduledIndex : public ::testing::Test {
protected:
    void SetUp() override {
        if (!InSandbox()) {
            GTEST_SKIP() << "the index has a fixed path; run inside tests/support/sandbox";
        }
        EmptyScheduledFolder();
    }

    static tagReportIndexEntry Entry(const std::string& report, std::uint32_t uid) {
        return ScheduledEntry(report, uid, kDate);
    }

    static std::string Append(const std::string& name, std::uint32_t uid) {
        return AddScheduledReport(name, uid, kDate);
    }

    static std::string Bytes() { return ReadFile(kIndex); }
    static void SetBytes(const std::string& bytes) { WriteFile(kIndex, bytes); }

    // The report names that a user sees, in file order.
    static std::vector<std::string> Listed(unsigned int uid) {
        std::vector<tagReportIndexEntry> entries;
        unsigned int err = 77;
        EXPECT_TRUE(ReadIndexEntry(1001, entries, uid, &err));
        EXPECT_EQ(err, 0U);
        std::vector<std::string> names;
        names.reserve(entries.size());
        for (const tagReportIndexEntry& entry : entries) {
            names.push_back(
                std::filesystem::path(std::string(common::FieldText(entry.reportPath))).filename());
        }
        return names;
    }

    static mode_t Mode() { return ModeOf(kIndex); }
};
