#pragma once

#include "abi/updturl.h"
#include "common/live_objects.h"

namespace update {

class UpdateRun;

/// Makes an update known by the context that the updater is given with its callback. Nobody is in
/// it any more when this has ended.
using LiveUpdate = common::LiveObject<UpdateRun>;

}  // namespace update

/// What the updater calls for each step. `context` is the progress dialog of this update, as the
/// `void*` of its `QDialog*`.
///
/// Answers as UpdateRun::Reply does, kUpdateGoOn without message or context, and kUpdateStop when
/// that dialog is there no more. Any thread; throws nothing into the updater.
int UpdtCallBack(const tagUPDATEINFO* info, void* context) noexcept;
