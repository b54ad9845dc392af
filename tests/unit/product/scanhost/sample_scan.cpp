#include "tests/unit/product/scanhost/sample_scan.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <span>
#include <sys/stat.h>

#include "product/scanning/scan_profile.h"
#include "tests/support/scratch.h"

namespace {

constexpr scanning::ScanProfile kAll{
    .archives = true, .packed = true, .unknownTypes = true, .unwanted = true};

}  // namespace

SampleEngine::SampleEngine(const std::string& databaseFolder) {
    const std::string sample = databaseFolder + "/sample.hdb";
    WriteFile(sample, "aa15bcf478d165efd2065190eb473bcb:544:ClamAV-Test-File\n");
    if (scanning::StartLibrary()) {
        m_loaded = scanning::LoadDatabases({sample, SCANAPI_DEFS "/corvane.ldb"}, ".",
                                           [](const std::string&, const std::string&) {});
    }
}

scanning::ScanOutcome SampleEngine::Scan(const std::string& bytes) const {
    return scanning::ScanBytes(Get(), kAll, {.baseName = "sample", .size = bytes.size()},
                               std::as_bytes(std::span(bytes)), {});
}

scanning::ScanOutcome SampleEngine::ScanOpen(int descriptor) const {
    struct stat status {};
    if (fstat(descriptor, &status) != 0) {
        std::abort();
    }
    return scanning::ScanDescriptor(Get(), kAll,
                                    {.baseName = "sample",
                                     .descriptor = descriptor,
                                     .size = static_cast<std::size_t>(status.st_size)},
                                    {});
}

std::vector<Sample> PackagedSamples() {
    std::vector<Sample> samples;
    std::error_code missing;
    for (const auto& entry :
         std::filesystem::directory_iterator("/usr/share/clamav-testfiles", missing)) {
        samples.push_back({entry.path().filename(), ReadFile(entry.path())});
    }
    std::sort(samples.begin(), samples.end(),
              [](const Sample& left, const Sample& right) { return left.name < right.name; });
    return samples;
}

std::string Described(const scanning::ScanOutcome& outcome) {
    using scanning::Verdict;
    switch (outcome.verdict) {
        case Verdict::Infected:
            return "infected " + outcome.virusName + " in " + outcome.member;
        case Verdict::Clean:
            return "clean";
        case Verdict::Unreadable:
            return "unreadable";
        default:
            return "neither";
    }
}
