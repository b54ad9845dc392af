#include "tests/unit/product/scanning/sample_scanner.h"

#include <gtest/gtest.h>
#include <span>

using scanning::Verdict;

SampleScanner::SampleScanner(const std::vector<std::pair<std::string, std::string>>& signatures) {
    std::vector<std::string> databases{SCANAPI_DEFS "/corvane.ldb"};
    for (const auto& [name, contents] : signatures) {
        databases.push_back(m_folder / name);
        WriteFile(databases.back(), contents);
    }
    EXPECT_TRUE(scanning::StartLibrary());
    m_loaded = scanning::LoadDatabases(databases, m_folder.Path(),
                                       [](const std::string& path, const std::string& reason) {
                                           ADD_FAILURE() << path << reason;
                                       });
    EXPECT_NE(m_loaded.engine, nullptr) << m_loaded.problem;
}

SampleScanner::Result SampleScanner::Scan(std::string_view bytes,
                                          const scanning::ScanProfile& profile) const {
    Result result;
    result.outcome = scanning::ScanBytes(
        m_loaded.engine.get(), profile, {.baseName = "sample", .size = bytes.size()},
        std::as_bytes(std::span(bytes)), [&result](std::string member) {
            result.members.push_back(std::move(member));
            return true;
        });
    return result;
}

std::string Described(const scanning::ScanOutcome& outcome) {
    switch (outcome.verdict) {
        case Verdict::Clean:
            return "clean";
        case Verdict::Infected:
            return "infected";
        case Verdict::Unreadable:
            return "unread: " + outcome.reason;
        case Verdict::PassedOver:
            return "passed over";
        default:
            return "stopped";
    }
}
