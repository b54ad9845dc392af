#pragma once

#include <string>
#include <vector>

#include "abi/system_time.h"
#include "product/definitions/definition_folder.h"
#include "product/definitions/install.h"

namespace definitions {

/// Puts the set before the current one back into use and holds the current one back: only what is
/// newer than that is installed later. Asks nobody and loads nothing. Root does it as the owner of
/// the folder of definitions. The calling process has one thread. Outcome::kInstalled,
/// kNothingValid without a set before, kLocked or kFailed.
InstallResult RollBack(const std::string& productDirectory);

/// A set as a person sees it.
struct SetSummary {
    SetNumber number = 0;
    tagZQVERINFO version{};  ///< all zero when its record cannot be read
    bool isCurrent = false;
    bool isHeldBack = false;
};

/// The sets that are there, lowest number first. Any thread.
std::vector<SetSummary> ListSets(const DefinitionFolder& definitions);

}  // namespace definitions
