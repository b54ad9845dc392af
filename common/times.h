#pragma once

#include <ctime>

#include "abi/system_time.h"

/// Now in UTC; day of week 0 = Sunday.
void GetUTCTime(tagSYSTEMTIME* time);

/// Now in local time; day of week 0 = Sunday.
void GetLocalTime(tagSYSTEMTIME* time);

/// Local time of an instant; milliseconds 0 and, unlike the other two, day of week 1 = Sunday.
void GetLocalTimeFromTM(std::time_t seconds, tagSYSTEMTIME* time);

/// Field by field: year to years since 1900, month 1-12 to 0-11.
void SystemTimeToTm(const tagSYSTEMTIME* time, std::tm* out);

/// The reverse; milliseconds become 0.
void TmToSystemTime(const std::tm* time, tagSYSTEMTIME* out);
