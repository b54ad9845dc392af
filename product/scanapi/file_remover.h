#pragma once

#include "product/scanapi/target_file.h"

namespace scanapi {

enum class RemovalResult {
    Removed,
    Changed,       ///< the file's contents are no longer those that were scanned
    Replaced,      ///< another file, or a link, now bears the name
    NotPermitted,  ///< the system refused
};

/// Removes the very file that was scanned, and nothing else: by name within the folder held open
/// since the file was opened, after the name was moved aside and found to be still that file.
RemovalResult RemoveScannedFile(const TargetFile& file);

const char* RemovalText(RemovalResult result);

}  // namespace scanapi
