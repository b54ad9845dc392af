#pragma once

#include "update/files/address_list.h"
#include "update/files/admin_record.h"

// The administrator's link file: where this machine gets its updates from when a server of the
// organisation hands them out. A tagADMNURLRECORD and the addresses, kAdminEntrySize bytes each,
// all scrambled by Encrypt of common/nibble_swap.h.
//
// 1 for success and 0 for failure. Nothing locks the file. Any thread.

namespace update {

inline constexpr char kAdminLinkFileName[] = "admnlink.dat";
inline constexpr std::size_t kAdminEntrySize = 256;

}  // namespace update

/// Reads the file at `path`: its record, and its addresses as an array in `list` with their number
/// in `count`, to be freed with FreeMemory. Without addresses `list` is null and `count` 0.
///
/// 0 for a null pointer, a file that cannot be opened for reading and writing, one with fewer
/// addresses than its record says and when memory is short; `list` and `count` are then as they
/// were, and `record` is too unless it could be read whole. `error` becomes 0, whatever happens,
/// but stays as it was for a null pointer.
int ReadUpdateInfo(const char* path, tagADMNURLRECORD* record, unsigned short* count, char*** list,
                   unsigned int& error);

/// Writes `record` and `count` addresses to the file at `path`; the count in `record` is written as
/// it stands. Each address, and each folder text of `record` that is not empty and has it nowhere,
/// gets the folder of the virus database's release at its end ("/update/0512" for 5.12), as much of
/// it as fits into 255 bytes. What a longer old file holds behind the new list stays.
///
/// `record` keeps the folder texts as extended, and is left scrambled once the file was open.
///
/// 0 for a null pointer, also among the addresses, without a version record (GetVDBInfo), when the
/// file cannot be opened and when not all could be written, which leaves it half new. `error`
/// becomes 0, but stays as it was when it fails before the file is opened.
int WriteUpdateInfo(const char* path, tagADMNURLRECORD* record, unsigned short count, char** list,
                    unsigned int& error);

/// Replaces the addresses of the link file in the product directory; its record is kept, or made
/// anew when the file cannot be read.
///
/// 0 when `list` is null and without the product directory; otherwise 1, whether or not the file
/// could be written.
int SetUpdateUrl(char** list, unsigned short count);
