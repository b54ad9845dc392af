#pragma once

#include <cstdint>

#include "abi/scanapi.h"

/// What the engine calls for every message about a file. `context` is the progress dialog: the
/// `ScanDialog` of this scan, as the `void*` of its `QDialog*`.
///
/// Posts the matching event to the dialog, records what was done in the virus log and answers the
/// engine. For the action "Prompt" it blocks, with no time limit, until the user has answered.
/// Returns an EngineReply. Runs on the scan thread; throws nothing into the engine.
int ZqCallBack(const tagZQFILEINFO* info, void* context) noexcept;

/// What the virus log says of an engine message; null for one that is not recorded.
const char* VirusLogText(std::int16_t code);
