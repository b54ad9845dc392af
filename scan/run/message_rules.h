#pragma once

#include <cstdint>

#include "abi/scanapi.h"

namespace scan {

class ScanRun;

/// What becomes of a message of the engine: tells the steps that follow from it, records what was
/// done in the virus log, and for the action "Prompt" waits for the user's answer. Scan thread. May
/// throw for want of memory.
EngineReply ReplyToMessage(const tagZQFILEINFO& info, ScanRun& run);

/// True for a message about a virus found.
bool IsDetection(std::int16_t code);

/// What the virus log says of an engine message; null for one that is not recorded.
const char* VirusLogText(std::int16_t code);

}  // namespace scan
