#include "update/run/update_callback.h"

#include "update/run/update_run.h"

int UpdtCallBack(const tagUPDATEINFO* info, void* context) noexcept {
    if (info == nullptr || context == nullptr) {
        return kUpdateGoOn;
    }
    const common::ObjectInUse<update::UpdateRun> use(context);
    return use.Get() != nullptr ? use.Get()->Reply(*info) : kUpdateStop;
}
