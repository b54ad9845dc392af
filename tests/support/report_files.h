#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/scratch.h"

// The files that reports live in, byte by byte, as the tests of several rooms
// lay them out.

/// One report as an index lists it.
struct ListedReport {
    std::string date;
    std::string subject;
    std::string name;
};

/// A record of an index: 30, 256 and 256 bytes, filled up with zeros.
inline std::string ReportRecordBytes(const ListedReport& report) {
    const auto padded = [](const std::string& text, std::size_t size) {
        std::string field = text.substr(0, size);
        field.resize(size, '\0');
        return field;
    };
    return padded(report.date, 30) + padded(report.subject, 256) + padded(report.name, 256);
}

/// A whole index ("main.rpt", "updt.rpt") of fewer than 128 reports.
inline std::string ReportIndexBytes(const std::vector<ListedReport>& reports) {
    std::string bytes("ZQRF\0\0\0\0", 8);
    bytes += static_cast<char>(reports.size());
    bytes += std::string(3, '\0');
    for (const ListedReport& report : reports) {
        bytes += ReportRecordBytes(report);
    }
    return bytes;
}

/// Makes "reports/" and an empty index of scans in the application directory
/// ("/" at its end).
inline void MakeReportFiles(const std::string& application) {
    std::filesystem::create_directories(application + "reports");
    WriteFile(application + "main.rpt", std::string("ZQRF\0\0\0\0\0\0\0\0", 12));
}
