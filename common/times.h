#pragma once

#include <ctime>
#include <string>

#include "abi/system_time.h"

// All functions may be called from any thread. A null argument makes them do nothing.

/// Now in UTC, all eight fields; day of week 0 = Sunday.
void GetUTCTime(tagSYSTEMTIME* time);

/// Now in local time, all eight fields; day of week 0 = Sunday.
void GetLocalTime(tagSYSTEMTIME* time);

/// Local time of an instant, in seconds since 1970; milliseconds 0 and, unlike the other two, day
/// of week 1 = Sunday.
void GetLocalTimeFromTM(std::time_t seconds, tagSYSTEMTIME* time);

/// Field by field: year to years since 1900, month 1-12 to 0-11. Nothing is checked; the rest of
/// `out` is zero and its daylight-saving flag says unknown.
void SystemTimeToTm(const tagSYSTEMTIME* time, std::tm* out);

/// The reverse; milliseconds become 0.
void TmToSystemTime(const std::tm* time, tagSYSTEMTIME* out);

namespace common {

/// Local time of an instant, in seconds since 1970, in the time zone of this moment.
std::tm LocalTm(std::time_t seconds);

/// `time` as strftime writes it in the C locale: English whatever language the user speaks. Empty
/// when it would be longer than 1,023 bytes.
std::string FormatTime(const char* format, const std::tm& time);

}  // namespace common
