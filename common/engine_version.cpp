#include "common/engine_version.h"

#include "common/exception_log.h"
#include "common/run_state.h"

tagZQVERINFO EngineVersion() {
    tagZQVERINFO version{};
    try {
        if (pfnGetVer != nullptr) {
            pfnGetVer(&version);
        }
    } catch (...) {
        LogException("EngineVersion(): ZqGetAPIVersion");
        version = {};  // it may have been half filled
    }
    return version;
}
