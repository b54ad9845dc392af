#pragma once

#include <string_view>

namespace scanapi {

// File systems that this machine's kernel answers for by itself, from a disk or from memory. Any
// other (a network's, one that a program serves, an unknown one) may let whoever asks it for
// anything wait without end. Any thread.

/// By the number that statfs() tells.
bool IsLocalFileSystem(unsigned long magic);

/// The same of the file system on which the open file or folder `file` lies, which is asked
/// nothing.
bool IsOnLocalFileSystem(int file);

/// The same by a line of "/proc/self/mountinfo".
bool IsLocalMount(std::string_view line);

}  // namespace scanapi
