#pragma once

#include "product/scanapi/target_file.h"

namespace scanapi {

enum class RemovalResult {
    Removed,
    Changed,       ///< the file is no longer as it was scanned
    Gone,          ///< its name is no longer there
    Replaced,      ///< another file, or a link, now bears the name
    NotPermitted,  ///< the system refused
};

/// Removes the very file that was scanned, and nothing else: by name within the folder held open
/// since the file was opened, after the name was moved aside and found to be still that file.
RemovalResult RemoveScannedFile(const TargetFile& file);

const char* RemovalText(RemovalResult result);

}  // namespace scanapi
