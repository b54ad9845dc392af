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

/// Loads the files `names` of the folder `set` in "defs/" of `productDirectory`, which ends in "/",
/// into one engine together with all that the scan engine would load beside them, in a limited
/// child: databases that would be left out there or push others out, crash the library or take too
/// much memory or time are found out before they are used. What lies beside them and cannot be
/// loaded without them either is left out, as the scan engine does. Where that is very much, or the
/// limits do not do for what lies beside them alone, the files are judged by themselves; a third of
/// the time until the end of the limits, where there is one, is kept for that.
TestLoadResult TestLoad(const std::string& productDirectory, const std::string& set,
                        const std::vector<std::string>& names, const ChildLimits& limits,
                        const GoOn& goOn);

}  // namespace definitions
