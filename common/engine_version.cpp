#include "common/engine_version.h"

#include "common/exception_log.h"
#include "common/run_state.h"

namespace common {

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

}  // namespace common
