#include "product/definitions/test_load.h"

#include <clamav.h>
#include <memory>

#include "common/io.h"
#include "product/definitions/quiet_library.h"

namespace definitions {

namespace {

// As the scan engine loads them.
constexpr unsigned int kLoadOptions = CL_DB_STDOPT | CL_DB_PUA;

struct FreeEngine {
    void operator()(cl_engine* engine) const { cl_engine_free(engine); }
};

bool LoadAll(const std::string& path, const std::vector<std::string>& names, std::string& why) {
    why = "the library that loads them does not start";
    if (!StartQuietLibrary()) {
        return false;
    }
    const std::unique_ptr<cl_engine, FreeEngine> engine(cl_engine_new());
    if (engine == nullptr || cl_engine_set_num(engine.get(), CL_ENGINE_AC_ONLY, 1) != CL_SUCCESS) {
        return false;
    }
    unsigned int signatures = 0;
    for (const std::string& name : names) {
        const auto result = cl_load((path + name).c_str(), engine.get(), &signatures, kLoadOptions);
        if (result != CL_SUCCESS) {
            why = name + " cannot be loaded: " + cl_strerror(result);
            return false;
        }
    }
    if (signatures == 0) {
        why = "there is not one signature in them";
        return false;
    }
    const auto result = cl_engine_compile(engine.get());
    if (result != CL_SUCCESS) {
        why = std::string("they cannot be used together: ") + cl_strerror(result);
        return false;
    }
    // Freeing takes a while and the process ends anyway; but what crashes then would crash the
    // engine, too.
    return true;
}

}  // namespace

TestLoadResult TestLoad(const std::string& path, const std::vector<std::string>& names,
                        const ChildLimits& limits, const GoOn& goOn) {
    const auto work = [&](int talk) {
        std::string why;
        if (LoadAll(path, names, why)) {
            return 0;
        }
        (void)common::WriteAll(talk, why);
        return 1;
    };
    const ChildResult child = RunLimited(limits, work, goOn);
    const bool isTold = child.end == ChildEnd::kFailed && !child.said.empty();
    return {child.end == ChildEnd::kSucceeded, child.end, isTold ? child.said : child.why};
}

}  // namespace definitions
