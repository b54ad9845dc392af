#pragma once

#include <string>
#include <vector>

namespace definitions {

/// The names in an open folder, sorted, wherever its descriptor was last read to; empty when it
/// cannot be read. All of them at once: what is removed while a folder is read may hide the rest.
std::vector<std::string> NamesIn(int folder);

}  // namespace definitions
