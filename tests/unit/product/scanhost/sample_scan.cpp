#include "tests/unit/product/scanhost/sample_scan.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <span>
#include <sys/stat.h>
#include <utility>

#include "product/scanning/scan_profile.h"
#include "tests/support/scratch.h"

namespace {

constexpr scanning::ScanProfile kAll{
    .archives = true, .packed = true, .unknownTypes = true, .unwanted = true};

const scanning::ScanManner& Quietly() {
    static const scanning::ScanManner manner{.onMember = [](const std::string&) {}};
    return manner;
}

}  // namespace

SampleEngine::SampleEngine(const std::string& databaseFolder) {
    WriteFile(databaseFolder + "/sample.hdb",
              "aa15bcf478d165efd2065190eb473bcb:544:ClamAV-Test-File\n");
    std::filesystem::copy_file(SCANAPI_DEFS "/corvane.ldb", databaseFolder + "/corvane.ldb");
    scanning::SilenceLibrary();
    cl_init(0);
    m_engine = cl_engine_new();
    for (const auto& [field, value] : std::array<std::pair<cl_engine_field, long long>, 6>{{
             {CL_ENGINE_MAX_FILESIZE, scanning::kMaxFileSize},
             {CL_ENGINE_MAX_SCANSIZE, scanning::kMaxScanSize},
             {CL_ENGINE_MAX_RECURSION, scanning::kMaxNesting},
             {CL_ENGINE_MAX_FILES, scanning::kMaxMembers},
             {CL_ENGINE_MAX_SCANTIME, 0},
             {CL_ENGINE_DISABLE_CACHE, 1},
         }}) {
        cl_engine_set_num(m_engine, field, value);
    }
    cl_engine_set_str(m_engine, CL_ENGINE_TMPDIR, ".");
    scanning::InstallScanCallbacks(m_engine);
    unsigned int signatures = 0;
    if (cl_load(databaseFolder.c_str(), m_engine, &signatures, CL_DB_STDOPT) != CL_SUCCESS ||
        signatures != 2 || cl_engine_compile(m_engine) != CL_SUCCESS) {
        cl_engine_free(m_engine);
        m_engine = nullptr;
    }
}

SampleEngine::~SampleEngine() {
    if (m_engine != nullptr) {
        cl_engine_free(m_engine);
    }
}

scanning::ScanOutcome SampleEngine::Scan(const std::string& bytes) const {
    return scanning::ScanBytes(m_engine, kAll, {.baseName = "sample", .size = bytes.size()},
                               std::as_bytes(std::span(bytes)), Quietly());
}

scanning::ScanOutcome SampleEngine::ScanOpen(int descriptor) const {
    struct stat status {};
    if (fstat(descriptor, &status) != 0) {
        std::abort();
    }
    return scanning::ScanDescriptor(m_engine, kAll,
                                    {.baseName = "sample",
                                     .descriptor = descriptor,
                                     .size = static_cast<std::size_t>(status.st_size)},
                                    Quietly());
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
