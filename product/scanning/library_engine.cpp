#include "product/scanning/library_engine.h"

#include <algorithm>
#include <array>
#include <utility>

#include "product/definitions/engine_databases.h"
#include "product/scanning/library_scan.h"
#include "product/scanning/scan_profile.h"

namespace scanning {

namespace {

struct Setting {
    cl_engine_field field;
    long long value;
};

constexpr std::array<Setting, 7> kSettings{{
    {CL_ENGINE_MAX_FILESIZE, kMaxFileSize},
    {CL_ENGINE_MAX_SCANSIZE, kMaxScanSize},
    {CL_ENGINE_MAX_RECURSION, kMaxNesting},
    {CL_ENGINE_MAX_FILES, kMaxMembers},
    // By the clock on the wall a verdict would depend on what else the machine does: whoever
    // started this process watches how long it computes.
    {CL_ENGINE_MAX_SCANTIME, 0},
    {CL_ENGINE_AC_ONLY, definitions::kEngineHasOneMatcher},
    // The library remembers clean contents without the options they were scanned with: what was
    // clean with archives unread would stay clean once they are read.
    {CL_ENGINE_DISABLE_CACHE, 1},
}};

EngineOwner NewEngine(const std::string& scratch) {
    EngineOwner engine(cl_engine_new());
    if (engine == nullptr || !SetBounds(engine.get(), scratch)) {
        return nullptr;
    }
    InstallScanCallbacks(engine.get());
    return engine;
}

// False when one had to be left out; it is no longer in `paths` then.
bool LoadInto(cl_engine* engine, std::vector<std::string>& paths, std::uint64_t& signatures,
              const OnLeftOut& onLeftOut) {
    for (auto path = paths.begin(); path != paths.end(); ++path) {
        unsigned int count = 0;
        const auto result = cl_load(path->c_str(), engine, &count, definitions::kEngineLoadOptions);
        if (result != CL_SUCCESS) {
            onLeftOut(*path, cl_strerror(result));
            paths.erase(path);
            return false;
        }
        signatures += count;
    }
    return true;
}

LoadedDatabases Problem(std::string problem) {
    return {.engine = nullptr, .problem = std::move(problem)};
}

}  // namespace

LoadedDatabases LoadDatabases(std::vector<std::string> paths, const std::string& scratch,
                              const OnLeftOut& onLeftOut) {
    while (!paths.empty()) {
        EngineOwner engine = NewEngine(scratch);
        if (engine == nullptr) {
            return Problem("the library cannot be set up");
        }
        std::uint64_t signatures = 0;
        if (!LoadInto(engine.get(), paths, signatures, onLeftOut)) {
            // Half of a damaged database is in the engine by now: start again without it.
            continue;
        }
        if (signatures == 0) {
            return Problem("there is no signature in the databases");
        }
        const auto result = cl_engine_compile(engine.get());
        if (result != CL_SUCCESS) {
            return Problem(cl_strerror(result));
        }
        return {.engine = std::move(engine), .signatures = signatures};
    }
    return Problem("no database could be loaded");
}

bool SetBounds(cl_engine* engine, const std::string& scratch) {
    const bool isSet = std::all_of(kSettings.begin(), kSettings.end(), [engine](const auto& each) {
        return cl_engine_set_num(engine, each.field, each.value) == CL_SUCCESS;
    });
    return isSet && cl_engine_set_str(engine, CL_ENGINE_TMPDIR, scratch.c_str()) == CL_SUCCESS;
}

bool StartLibrary() {
    SilenceLibrary();
    return cl_init(CL_INIT_DEFAULT) == CL_SUCCESS;
}

}  // namespace scanning
