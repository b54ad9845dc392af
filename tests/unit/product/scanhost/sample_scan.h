#pragma once

#include <clamav.h>
#include <string>
#include <vector>

#include "product/scanning/library_engine.h"
#include "product/scanning/library_scan.h"

/// libclamav with the signatures of the harmless samples, set up as workers have it: it unpacks in
/// the working folder.
class SampleEngine {
public:
    explicit SampleEngine(const std::string& databaseFolder);

    /// Null when the database could not be loaded.
    [[nodiscard]] const cl_engine* Get() const { return m_loaded.engine.get(); }

    /// With everything that can be looked into looked into.
    [[nodiscard]] scanning::ScanOutcome Scan(const std::string& bytes) const;
    [[nodiscard]] scanning::ScanOutcome ScanOpen(int descriptor) const;

private:
    scanning::LoadedDatabases m_loaded;
};

/// A file to scan, held in memory.
struct Sample {
    std::string name;
    std::string bytes;
};

/// The packaged samples, each of which has the same harmless program in it; none where they are not
/// installed.
std::vector<Sample> PackagedSamples();

/// "infected Name in member", "clean", "unreadable" ...
std::string Described(const scanning::ScanOutcome& outcome);
