#pragma once

#include <cstdint>

namespace virus_log {

/// What a cut has done, or would have had to do.
struct CutRecords {
    std::uint32_t removed = 0;
    std::uint32_t remaining = 0;
};

/// Merges what waits in the second file and removes the oldest records, so that at most the newest
/// `keep` stay. First sends records to the main file again, should a reset that was killed have
/// left them going to the second one.
///
/// Waits up to 10 seconds for each mutex of the log and then holds both for as long as it works,
/// which depends on the size of what stays: who adds a record meanwhile waits for that, but no
/// longer than 5 seconds. False when a mutex stays taken, the log has no counter or cannot be cut;
/// then no record is gone. Any thread.
bool KeepNewest(std::uint32_t keep, CutRecords& out);

}  // namespace virus_log
