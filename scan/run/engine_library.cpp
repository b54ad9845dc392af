#include "scan/run/engine_library.h"

#include <string_view>
#include <type_traits>

#include "common/exception_log.h"
#include "common/libraries.h"
#include "common/text_field.h"

namespace scan {

namespace {

// The engine's entry points, null while none is loaded. pfnGetVer is not among them: others call
// it, too.
PFNINITSCAN pfnInit = nullptr;
PFNDEINITSCAN pfnDeinit = nullptr;
PFNSETCALLBACK pfnSetclbk = nullptr;
PFNSETOPTIONS pfnSetoptns = nullptr;
PFNOPENFILE pfnOpen = nullptr;
PFNCLOSEFILE pfnClose = nullptr;
PFNSCANFILEEX pfnScan = nullptr;
PFNRESETFPTFLAGS pfnResetFPTFlags = nullptr;
PFNFILESAHEAD pfnFilesAhead = nullptr;  // null also where the engine has none

/// Calls an entry point. 0, which is a failure to each of them, when it is missing or throws.
template <typename Function, typename... Arguments>
auto Call(const char* where, Function function, Arguments... arguments) {
    using Result = std::invoke_result_t<Function, Arguments...>;
    try {
        if (function != nullptr) {
            return function(arguments...);
        }
    } catch (...) {
        common::LogException(where);
    }
    if constexpr (!std::is_void_v<Result>) {
        return Result{};
    }
}

}  // namespace

template <typename Function>
bool EngineLibrary::LookUp(const char* symbol, Function& pointer) {
    pointer = reinterpret_cast<Function>(ZQGetProcAddress(m_library, symbol));
    if (pointer == nullptr) {
        m_problem = std::string("it has no entry point ") + symbol;
    }
    return pointer != nullptr;
}

bool EngineLibrary::LookUpEntryPoints() {
    return LookUp("ZqInitScan", pfnInit) && LookUp("ZqDeinitScan", pfnDeinit) &&
           LookUp("ZqGetAPIVersion", pfnGetVer) && LookUp("ZqSetCallBack", pfnSetclbk) &&
           LookUp("ZqSetOptions", pfnSetoptns) && LookUp("ZqOpenFile", pfnOpen) &&
           LookUp("ZqCloseFile", pfnClose) && LookUp("ZqScanFileEx", pfnScan) &&
           LookUp("ZqResetFPTFlags", pfnResetFPTFlags);
}

bool EngineLibrary::Load(const char* path) {
    Unload();
    m_library = ZQLoadLibrary(path);
    if (m_library == nullptr) {
        // What stands before that is for the log.
        const std::string_view message = common::FieldText(szErrMsg);
        const auto reason = message.find("!!!");
        m_problem = message.substr(reason != std::string_view::npos ? reason + 3 : 0);
        return false;
    }
    if (!LookUpEntryPoints()) {
        Free();
        return false;
    }
    LookUp("ZqFilesAhead", pfnFilesAhead);
    m_problem.clear();
    return true;
}

bool EngineLibrary::Start(tagSCANAPI_OPTIONS& options, PFNZQCALLBACK callback) {
    if (Call("EngineLibrary::Start(): ZqInitScan", pfnInit, &options) == 0) {
        Free();
        return false;
    }
    if (Call("EngineLibrary::Start(): ZqSetCallBack", pfnSetclbk, callback) == 0) {
        Unload();
        return false;
    }
    return true;
}

bool EngineLibrary::Unload() {
    if (m_library == nullptr) {
        return false;
    }
    Call("EngineLibrary::Unload(): ZqDeinitScan", pfnDeinit);
    Free();
    return true;
}

void EngineLibrary::Free() {
    pfnInit = nullptr;
    pfnDeinit = nullptr;
    pfnGetVer = nullptr;
    pfnSetclbk = nullptr;
    pfnSetoptns = nullptr;
    pfnOpen = nullptr;
    pfnClose = nullptr;
    pfnScan = nullptr;
    pfnResetFPTFlags = nullptr;
    pfnFilesAhead = nullptr;
    ZQFreeLibrary(m_library);
    m_library = nullptr;
}

void EngineLibrary::SetOptions(tagSCANAPI_OPTIONS& options) {
    Call("EngineLibrary::SetOptions(): ZqSetOptions", pfnSetoptns, &options);
}

void EngineLibrary::ForgetDetections() {
    Call("EngineLibrary::ForgetDetections(): ZqResetFPTFlags", pfnResetFPTFlags);
}

bool EngineLibrary::Open(const char* name, std::uint64_t& handle) {
    const int status = Call("EngineLibrary::Open(): ZqOpenFile", pfnOpen, name, &handle);
    return status != kOpenFailed && status != kOpenRefused && handle != 0;
}

bool EngineLibrary::Scan(std::uint64_t handle, void* context) {
    return Call("EngineLibrary::Scan(): ZqScanFileEx", pfnScan, handle, context) == 1;
}

bool EngineLibrary::Close(std::uint64_t& handle) {
    return Call("EngineLibrary::Close(): ZqCloseFile", pfnClose, &handle) != 0;
}

void EngineLibrary::FilesAhead(int folder, const char* path, std::span<const char* const> names) {
    Call("EngineLibrary::FilesAhead(): ZqFilesAhead", pfnFilesAhead, folder, path, names.data(),
         names.size());
}

}  // namespace scan
