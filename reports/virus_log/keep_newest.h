#pragma once

#include <cstdint>

/// What a cut has done, or would have had to do.
struct CutRecords {
    std::uint32_t removed = 0;
    std::uint32_t remaining = 0;
};

/// Merges what waits in the second file and removes the oldest records, so that at most the newest
/// `keep` of those that were there stay. What others add meanwhile stays as well. Takes the mutexes
/// as a reset does, and at least 10 seconds unless there is nothing to remove. False when the log
/// has no counter or cannot be cut. Any thread.
bool KeepNewest(std::uint32_t keep, CutRecords& out);
