#include "common/date_text.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <string_view>

int GetStringFromDate(const tagZQSYSTEMTIME* time, char* buffer, std::size_t size) {
    if (buffer == nullptr) {
        return 0;
    }
    std::fill_n(buffer, size, '\0');
    if (time != nullptr) {
        std::snprintf(buffer, size, "%u-%u-%u %u:%u:%u", time->year, time->month, time->day,
                      time->hour, time->minute, time->second);
    }
    return 1;
}

int GetDateFromString(const char* text, tagZQSYSTEMTIME* time) {
    if (text == nullptr || time == nullptr ||
        std::string_view(text).find_first_not_of("0123456789:- ") != std::string_view::npos) {
        return 0;
    }
    *time = {};
    // A text that ends early supplies fewer fields; the rest stay 0.
    static_cast<void>(std::sscanf(
        text, "%" SCNu16 "-%" SCNu16 "-%" SCNu16 " %" SCNu16 ":%" SCNu16 ":%" SCNu16, &time->year,
        &time->month, &time->day, &time->hour, &time->minute, &time->second));
    return 1;
}
