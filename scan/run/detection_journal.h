#pragma once

#include "abi/scanapi.h"

// What was found goes to the journal of the system, in messages that are found by their ids and
// have fields of their own; corvane-scan(1) lists them. No journal is no error. Scan thread.

namespace scan {

/// That something was found, and what the engine was told to do about it.
void JournalDetection(const tagZQFILEINFO& info, EngineReply reply);

/// What was done: a message of the engine about a file repaired, deleted, skipped or marked for
/// deletion. Any other goes nowhere.
void JournalOutcome(const tagZQFILEINFO& info);

}  // namespace scan
