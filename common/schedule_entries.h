#pragma once

#include <span>
#include <string_view>

#include "abi/schdlscn.h"

// The growable arrays in the records of the scheduler. Their memory is that of ::operator new, as
// abi/schdlscn.h has it; what cannot be had is std::bad_alloc, with the array as it was. Any
// thread.

namespace common {

/// The folders of a scheduled scan. Gone when they are freed or one is added.
std::span<const tagSCAN_ITEM> FoldersOf(const tagSCHEDULE_SCAN_ENTRY& entry);

/// Adds a folder at the end. False, with nothing added, for a path that does not fit: a cut path
/// would be another path.
bool AddFolder(tagSCHEDULE_SCAN_ENTRY& entry, std::string_view path);

/// Frees the folders; the scan has none then.
void FreeFolders(tagSCHEDULE_SCAN_ENTRY& entry);

/// The scheduled scans in an array. Gone when they are freed or one is added.
std::span<const tagSCHEDULE_SCAN_ENTRY> EntriesOf(const tagSCHEDULE_SCAN_ARRAY& array);

/// Adds a scheduled scan at the end, which owns the folders of `entry` from then on.
void AddEntry(tagSCHEDULE_SCAN_ARRAY& array, const tagSCHEDULE_SCAN_ENTRY& entry);

/// Frees the scheduled scans with their folders; the array is empty then.
void FreeEntries(tagSCHEDULE_SCAN_ARRAY& array);

/// A scheduled scan, zero at first, that frees its folders at its end.
struct OwnedScheduleEntry {
    OwnedScheduleEntry() = default;
    ~OwnedScheduleEntry() { FreeFolders(record); }
    OwnedScheduleEntry(const OwnedScheduleEntry&) = delete;
    OwnedScheduleEntry& operator=(const OwnedScheduleEntry&) = delete;

    tagSCHEDULE_SCAN_ENTRY record{};
};

/// Scheduled scans, none at first, that are freed with their folders at its end.
struct OwnedScheduleEntries {
    OwnedScheduleEntries() = default;
    ~OwnedScheduleEntries() { FreeEntries(array); }
    OwnedScheduleEntries(const OwnedScheduleEntries&) = delete;
    OwnedScheduleEntries& operator=(const OwnedScheduleEntries&) = delete;

    tagSCHEDULE_SCAN_ARRAY array{};
};

}  // namespace common
