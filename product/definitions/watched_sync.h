#pragma once

#include "product/definitions/file_copy.h"

namespace definitions {

/// Puts the open file or folder on the disk, as fsync does. While that lasts `goOn` is asked at
/// least ten times a second; empty: nobody is asked. False with the reason in errno, ECANCELED when
/// `goOn` stopped it: then nothing is known of the disk. Any thread.
bool SyncWatched(int file, const GoOn& goOn);

}  // namespace definitions
