#pragma once

#include "common/file_descriptor.h"

// The option files: small files in the application directory that every user of the machine may
// change. They are made private and widened at once. A link in their place is the administrator's
// where only root can write to the folder, and followed; elsewhere it is refused. A link that leads
// nowhere fails both functions: there is no file to open, and none is made through it.

namespace common {

/// Opens an existing file for reading and writing.
FileDescriptor OpenOptionFile(const char* path);

/// Makes a file that is not there yet, with mode 0600, for reading and writing.
FileDescriptor CreateOptionFile(const char* path);

/// Sets the mode of a file to 0666, whether or not it could be opened. A file of another user keeps
/// its mode.
void ShareWithEveryone(const char* path);

/// What became of reading or writing an option file.
enum class FileOutcome { kDone, kNotOpened, kFailed };

}  // namespace common
