#include "update/run/status_library.h"

#include "common/exception_log.h"
#include "common/libraries.h"
#include "common/owners.h"

namespace update {

bool NotifyStatusChange(StatusChange change) {
    void* handle = nullptr;
    unsigned int error = 0;
    const auto communicate = reinterpret_cast<PFNSTSCOMMUNICATECHANGE>(
        LoadDylibAndGetPFN(kStatusLibrary, kStatusCommunicateChange, &handle, &error));
    const common::LibraryHandle library(handle);
    if (communicate == nullptr) {
        return false;
    }
    tagSTATUSCHANGE record{};
    record.what = change;
    try {
        communicate(&record);
    } catch (...) {
        common::LogException("NotifyStatusChange(): StsCommunicateChange");
    }
    return true;
}

}  // namespace update
