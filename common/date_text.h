#pragma once

#include <cstddef>

#include "abi/system_time.h"

// The date text of records: "2024-3-5 7:4:9". Any thread.

/// Clears `buffer` of `size` bytes, then writes year-month-day hour:minute:second without padding
/// into it, cut to its size. 0 only for a null buffer; a null record leaves it empty.
int GetStringFromDate(const tagZQSYSTEMTIME* time, char* buffer, std::size_t size);

/// Reads such a text into `time`. 0, with the record untouched, for a null argument or a text that
/// holds anything but digits, ":", "-" and blanks. Fields that the text does not supply, the day of
/// week and the milliseconds are 0.
int GetDateFromString(const char* text, tagZQSYSTEMTIME* time);
