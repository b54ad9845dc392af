#pragma once

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "common/run_state.h"
#include "common/text_field.h"
#include "tests/support/report_files.h"
#include "tests/support/scratch.h"

/// A program directory of the test's own, with "reports/" in it.
class ReportFixture : public ::testing::Test {
protected:
    using Listed = ListedReport;

    void SetUp() override {
        ASSERT_TRUE(common::CopyToField(g_szAppPath, m_folder.Path()));
        std::filesystem::create_directory(m_folder / "reports");
        g_siRptKind = kScanReports;
        common::CopyToField(g_szRptName, "");
        common::CopyToField(g_szRptPath, "");
    }

    static std::string Record(const Listed& report) { return ReportRecordBytes(report); }

    static std::string Index(const std::vector<Listed>& reports) {
        return ReportIndexBytes(reports);
    }

    void WriteIndex(const std::vector<Listed>& reports, const std::string& name = "main.rpt") {
        WriteFile(m_folder / name, Index(reports));
    }

    void WriteReport(const std::string& name, const std::string& text) {
        WriteFile(m_folder / ("reports/" + name), text);
    }

    bool HasReport(const std::string& name) {
        return std::filesystem::exists(m_folder / ("reports/" + name));
    }

    ScratchFolder m_folder;
};
