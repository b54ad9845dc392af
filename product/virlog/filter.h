#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "reports/virus_log/log_reader.h"

/// One end of a span of time, as exact as it was given: a date, or to the minute, or to the second.
struct TimeBound {
    std::array<std::uint16_t, 6> fields;  ///< year, month, day, hour, minute, second
    std::size_t count;                    ///< how many of them count: 3, 5 or 6
};

/// Reads "YYYY-MM-DD", "YYYY-MM-DD HH:MM" or "YYYY-MM-DD HH:MM:SS", with "T" for the blank if you
/// like. None for anything else, and for a day or a time of day that does not exist.
std::optional<TimeBound> ParseTimeBound(std::string_view text);

/// Which records are wanted. Local time as recorded.
struct RecordFilter {
    std::optional<TimeBound> since;  ///< the whole day or minute that it names included
    std::optional<TimeBound> until;  ///< likewise
    std::vector<std::string> texts;  ///< each must occur in the virus name, action, user, path or
                                     ///< domain; ASCII letters match without regard to case
};

bool Matches(const RecordFilter& filter, const virus_log::VirusLogEntry& entry);
