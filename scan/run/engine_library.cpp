#include "scan/run/engine_library.h"

#include <type_traits>

#include "common/exception_log.h"
#include "common/libraries.h"

namespace {

template <typename Function>
bool LookUp(void* library, const char* symbol, Function& pointer) {
    pointer = reinterpret_cast<Function>(ZQGetProcAddress(library, symbol));
    return pointer != nullptr;
}

/// Calls an entry point. 0, which is a failure to each of them, when it is missing or throws.
template <typename Function, typename... Arguments>
auto Call(const char* where, Function function, Arguments... arguments) {
    using Result = std::invoke_result_t<Function, Arguments...>;
    try {
        if (function != nullptr) {
            return function(arguments...);
        }
    } catch (...) {
        LogException(where);
    }
    if constexpr (!std::is_void_v<Result>) {
        return Result{};
    }
}

}  // namespace

bool EngineLibrary::LookUpEntryPoints() {
    return LookUp(m_library, "ZqInitScan", m_init) && LookUp(m_library, "ZqDeinitScan", m_deinit) &&
           LookUp(m_library, "ZqGetAPIVersion", m_getVersion) &&
           LookUp(m_library, "ZqSetCallBack", m_setCallback) &&
           LookUp(m_library, "ZqSetOptions", m_setOptions) &&
           LookUp(m_library, "ZqOpenFile", m_open) && LookUp(m_library, "ZqCloseFile", m_close) &&
           LookUp(m_library, "ZqScanFileEx", m_scan) &&
           LookUp(m_library, "ZqResetFPTFlags", m_resetFptFlags);
}

bool EngineLibrary::Load(const char* path) {
    Unload();
    m_library = ZQLoadLibrary(path);
    if (m_library == nullptr) {
        return false;
    }
    if (!LookUpEntryPoints()) {
        Free();
        return false;
    }
    return true;
}

bool EngineLibrary::Start(tagSCANAPI_OPTIONS& options, PFNZQCALLBACK callback) {
    if (Call("EngineLibrary::Start(): ZqInitScan", m_init, &options) == 0) {
        Free();
        return false;
    }
    if (Call("EngineLibrary::Start(): ZqSetCallBack", m_setCallback, callback) == 0) {
        Unload();
        return false;
    }
    return true;
}

bool EngineLibrary::Unload() {
    if (m_library == nullptr) {
        return false;
    }
    Call("EngineLibrary::Unload(): ZqDeinitScan", m_deinit);
    Free();
    return true;
}

void EngineLibrary::Free() {
    m_init = nullptr;
    m_deinit = nullptr;
    m_getVersion = nullptr;
    m_setCallback = nullptr;
    m_setOptions = nullptr;
    m_open = nullptr;
    m_close = nullptr;
    m_scan = nullptr;
    m_resetFptFlags = nullptr;
    ZQFreeLibrary(m_library);
    m_library = nullptr;
}

void EngineLibrary::SetOptions(tagSCANAPI_OPTIONS& options) {
    Call("EngineLibrary::SetOptions(): ZqSetOptions", m_setOptions, &options);
}

void EngineLibrary::ForgetDetections() {
    Call("EngineLibrary::ForgetDetections(): ZqResetFPTFlags", m_resetFptFlags);
}

bool EngineLibrary::Open(const char* name, std::uint64_t& handle) {
    const int status = Call("EngineLibrary::Open(): ZqOpenFile", m_open, name, &handle);
    return status != kOpenFailed && status != kOpenRefused && handle != 0;
}

bool EngineLibrary::Scan(std::uint64_t handle, void* context) {
    return Call("EngineLibrary::Scan(): ZqScanFileEx", m_scan, handle, context) == 1;
}

bool EngineLibrary::Close(std::uint64_t& handle) {
    return Call("EngineLibrary::Close(): ZqCloseFile", m_close, &handle) != 0;
}
