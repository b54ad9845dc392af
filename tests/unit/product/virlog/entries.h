#pragma once

#include <cstdint>
#include <string>

#include "reports/virus_log/log_reader.h"

// Records for tests.

inline tagSYSTEMTIME Time(std::uint16_t year, std::uint16_t month, std::uint16_t day,
                          std::uint16_t hour, std::uint16_t minute, std::uint16_t second) {
    return {year, month, 0, day, hour, minute, second, 0};
}

inline virus_log::VirusLogEntry Entry(std::string path) {
    return {8000,    "Eicar-Signature", "File is skipped", Time(2026, 3, 5, 7, 4, 9),
            "alice", std::move(path),   "(none)"};
}
