#pragma once

#include <cstdint>

namespace vault {

inline constexpr unsigned int kYoungDays = 7;  ///< what is younger is never removed to make room

/// Whether, how long and how much is kept.
struct Settings {
    bool isOn = true;
    unsigned int days = 30;  ///< what is older goes when something new comes; at least kYoungDays
    std::uint64_t bytes = std::uint64_t{1} << 30U;  ///< on the disk, for each owner of files
};

}  // namespace vault
