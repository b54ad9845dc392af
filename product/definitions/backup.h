#pragma once

#include <ctime>
#include <string>

#include "product/definitions/file_copy.h"

namespace definitions {

inline constexpr char kBackupMarker[] = ".corvane-backup";
inline constexpr std::size_t kBackupsKept = 5;

/// Copies the files of the open folder `set`, "defs/set-N" of a product, into a new folder below
/// `folder`, named after `now` (seconds since 1970) as "corvane-definitions-20261122-030405" in
/// local time, and removes all but the last kBackupsKept of such folders: those only that hold
/// kBackupMarker, and of them only files. `folder` is opened as by OpenTrustedFolder, and does not
/// lie in the product's own folder.
///
/// Empty, or in words why there is no backup; nothing of it is left then. Any thread.
std::string BackUp(int set, const std::string& folder, std::time_t now, const GoOn& goOn);

}  // namespace definitions
