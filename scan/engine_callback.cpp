#include "scan/engine_callback.h"

#include "scan/run/live_runs.h"
#include "scan/run/scan_run.h"

int ZqCallBack(const tagZQFILEINFO* info, void* context) noexcept {
    if (info == nullptr || context == nullptr) {
        return kReplyGoOn;
    }
    const scan::RunInUse use(context);
    return use.Get() != nullptr ? use.Get()->Reply(*info) : kReplyStop;
}
