#pragma once

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "common/run_state.h"
#include "common/text_field.h"
#include "tests/support/scratch.h"

/// A program directory of the test's own, with "reports/" in it.
class ReportFixture : public ::testing::Test {
protected:
    struct Listed {
        std::string date;
        std::string subject;
        std::string name;
    };

    void SetUp() override {
        ASSERT_TRUE(CopyToField(g_szAppPath, m_folder.Path()));
        std::filesystem::create_directory(m_folder / "reports");
        g_siRptKind = kScanReports;
        CopyToField(g_szRptName, "");
        CopyToField(g_szRptPath, "");
    }

    static std::string Padded(const std::string& text, std::size_t size) {
        std::string field = text.substr(0, size);
        field.resize(size, '\0');
        return field;
    }

    static std::string Record(const Listed& report) {
        return Padded(report.date, 30) + Padded(report.subject, 256) + Padded(report.name, 256);
    }

    static std::string Index(const std::vector<Listed>& reports) {
        std::string bytes("ZQRF\0\0\0\0", 8);
        bytes += static_cast<char>(reports.size());
        bytes += std::string(3, '\0');
        for (const Listed& report : reports) {
            bytes += Record(report);
        }
        return bytes;
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
