#pragma once

#include <string>

#include "product/vault/item_reader.h"

namespace vault {

/// What became of a file that was to be brought back.
struct Restored {
    bool isDone = false;
    std::string path;     ///< isDone: where it is
    std::string problem;  ///< in words: why not, or what is not as it was
};

/// Brings the file back to its path, or into `folder` unless that is empty: with its times, its
/// attributes and its mode, but without setuid, setgid and sticky bits and without what belongs to
/// the system's security. Never through a symbolic link and never over a file; whole or not at all.
///
/// Root does it with the rights of the recorded owner, in a process of its own; who is not root
/// with their own. For a program of one thread.
Restored Restore(const ItemReader& item, const std::string& folder);

/// Writes the contents to the new file `path`, for its maker alone, whole or not at all. Empty, or
/// why not.
std::string Export(const ItemReader& item, const std::string& path);

}  // namespace vault
