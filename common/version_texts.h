#pragma once

#include <string>

#include "abi/system_time.h"

namespace common {

/// A version record as reports and pages show it, English whatever language the user speaks.
struct VersionTexts {
    std::string version;  ///< "  17.05"
    std::string date;     ///< "  02 November 2026", of the virus database
    std::string time;     ///< " [03:04:05]"
};

/// Any thread.
VersionTexts TextsOf(const tagZQVERINFO& version);

}  // namespace common
