#pragma once

#include "abi/scanapi.h"

/// What the engine calls for every message about a file. `context` is the progress dialog: the
/// `ScanDialog` of this scan, as the `void*` of its `QDialog*`.
///
/// Answers as ScanRun::Reply does, kReplyGoOn without message or context, and kReplyStop when that
/// dialog is there no more. Runs on the scan thread; throws nothing into the engine.
int ZqCallBack(const tagZQFILEINFO* info, void* context) noexcept;
