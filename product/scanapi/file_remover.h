#pragma once

#include <string>

#include "product/scanapi/target_file.h"
#include "product/vault/settings.h"

namespace scanapi {

enum class RemovalResult {
    Removed,
    Changed,       ///< the file is no longer as it was scanned
    Gone,          ///< its name is no longer there
    Replaced,      ///< another file, or a link, now bears the name
    BeingWritten,  ///< somebody has it open for writing, or wants to
    NotKept,       ///< there was to be a copy in the vault, and there is none
    NotPermitted,  ///< the system refused
};

struct Removal {
    RemovalResult result;
    std::string item{};    ///< Removed: the name of the copy in the vault, empty without one
    std::string detail{};  ///< NotKept: why, in words
};

/// How a file is removed, and what is noted of it in the vault.
struct Disposal {
    vault::Settings vault;
    std::string virusName;
    std::string database;  ///< version of the virus database
};

/// Removes the very file that was scanned, and nothing else: by name within the folder held open
/// since the file was opened, after the name was moved aside and found to be still that file.
/// Before, a copy of it is kept in the vault, unless that is off. It is removed only while nobody
/// can have changed it since it was scanned, as far as the system tells (read_lease.h).
///
/// Killed at any moment, the file is under a name in its folder or whole in the vault.
Removal RemoveScannedFile(const TargetFile& file, const Disposal& disposal);

/// Why the file was not removed, in words.
std::string RemovalText(const Removal& removal);

}  // namespace scanapi
