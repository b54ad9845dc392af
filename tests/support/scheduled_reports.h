#pragma once

#include <cstdint>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <string_view>

#include "common/text_field.h"
#include "reports/files/scheduled_index.h"
#include "tests/support/scratch.h"

// The reports of scheduled scans at their fixed place: only for tests inside
// tests/support/sandbox.

inline constexpr char kScheduledFolder[] = "/usr/lib/Corvane/Corvane/reports";

/// Leaves the folder there and empty: no report and no index.
inline void EmptyScheduledFolder() {
    std::filesystem::remove_all(kScheduledFolder);
    std::filesystem::create_directories(kScheduledFolder);
}

inline tagReportIndexEntry ScheduledEntry(std::string_view report, std::uint32_t uid,
                                          std::string_view date) {
    tagReportIndexEntry entry{};
    common::CopyToField(entry.dateTime, date);
    common::CopyToField(entry.scanned, "/home");
    common::CopyToField(entry.reportPath, report);
    entry.userId = uid;
    return entry;
}

/// Writes a report called `name` and appends its record to the index. The
/// report's path.
inline std::string AddScheduledReport(const std::string& name, std::uint32_t uid,
                                      std::string_view date) {
    std::string path = std::string(kScheduledFolder) + "/" + name;
    WriteFile(path, name);
    tagReportIndexEntry entry = ScheduledEntry(path, uid, date);
    EXPECT_TRUE(reports::AppendScheduledEntry(&entry));
    return path;
}
