#pragma once

#include <string>
#include <vector>

// The commands of corvane-admin about updates. Each says on standard output what it did, and gives
// in words what it could not do, or nothing.

namespace dbmod {

/// Lists the sets of virus definitions.
std::string ShowDefinitions();

/// Puts the set before the current one back into use.
std::string RollDefinitionsBack();

enum class SourceList {
    kInternet,  ///< "updlink.dat"
    kServer,    ///< "admnlink.dat"
};

/// Lists both lists of addresses.
std::string ShowSources();

/// Replaces one of them.
std::string WriteSources(SourceList list, const std::vector<std::string>& addresses);

}  // namespace dbmod
