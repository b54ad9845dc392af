#pragma once

#include <string>
#include <vector>

#include "product/definitions/limited_child.h"

namespace definitions {

struct TestLoadResult {
    bool isLoaded = false;
    ChildEnd end = ChildEnd::kNotStarted;
    std::string why;  ///< of a failure, in words
};

/// Loads the files `names` of the folder at `path`, which ends in "/", all into one engine as the
/// scan engine does, in a limited child: databases that would be left out there, crash the library
/// or take too much memory or time are found out before they are used.
TestLoadResult TestLoad(const std::string& path, const std::vector<std::string>& names,
                        const ChildLimits& limits, const GoOn& goOn);

}  // namespace definitions
