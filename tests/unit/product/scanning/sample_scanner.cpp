#include "tests/unit/product/scanning/sample_scanner.h"

#include <gtest/gtest.h>
#include <span>

#include "product/definitions/engine_databases.h"
#include "product/scanning/detection_kind.h"

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
    m_bare.reset(cl_engine_new());
    EXPECT_TRUE(scanning::SetBounds(m_bare.get(), m_folder.Path()));
    unsigned int count = 0;
    for (const std::string& path : databases) {
        EXPECT_EQ(cl_load(path.c_str(), m_bare.get(), &count, definitions::kEngineLoadOptions),
                  CL_SUCCESS);
    }
    EXPECT_EQ(cl_engine_compile(m_bare.get()), CL_SUCCESS);
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

bool SampleScanner::FindsByItself(std::string_view bytes,
                                  const scanning::ScanProfile& profile) const {
    cl_scan_options options = scanning::LibraryOptions(profile);
    cl_fmap_t* map = cl_fmap_open_memory(bytes.data(), bytes.size());
    const char* virusName = nullptr;
    unsigned long scanned = 0;
    const auto result =
        cl_scanmap_callback(map, "sample", &virusName, &scanned, m_bare.get(), &options, nullptr);
    const bool found = result == CL_VIRUS && !scanning::MeansNotWholeScanned(virusName) &&
                       (profile.unwanted || !scanning::IsUnwanted(virusName));
    cl_fmap_close(map);
    return found;
}

std::string VerdictOf(const scanning::ScanOutcome& outcome) {
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
