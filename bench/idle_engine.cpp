// A "scanapi.so" that takes every file and does nothing with it: a scan with it costs what the
// program itself costs.

#include "abi/scanapi.h"

#define ENGINE_EXPORT extern "C" __attribute__((visibility("default")))

ENGINE_EXPORT int ZqInitScan(tagSCANAPI_OPTIONS* /*options*/) {
    return 1;
}
ENGINE_EXPORT void ZqDeinitScan() {}
ENGINE_EXPORT void ZqGetAPIVersion(tagZQVERINFO* version) {
    *version = {};
}
ENGINE_EXPORT int ZqSetCallBack(PFNZQCALLBACK /*callback*/) {
    return 1;
}
ENGINE_EXPORT void ZqSetOptions(tagSCANAPI_OPTIONS* /*options*/) {}
ENGINE_EXPORT int ZqOpenFile(const char* /*name*/, std::uint64_t* handle) {
    *handle = 1;
    return 1;
}
ENGINE_EXPORT int ZqCloseFile(std::uint64_t* handle) {
    *handle = 0;
    return 1;
}
ENGINE_EXPORT int ZqScanFileEx(std::uint64_t /*handle*/, void* /*context*/) {
    return 1;
}
ENGINE_EXPORT void ZqResetFPTFlags() {}
