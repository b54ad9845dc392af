#include "common/times.h"

#include <array>
#include <locale.h>

namespace {

std::uint16_t Field(int value) {
    return static_cast<std::uint16_t>(value);
}

timespec Now() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return now;
}

void Fill(const std::tm& parts, long nanoseconds, tagSYSTEMTIME* time) {
    TmToSystemTime(&parts, time);
    time->milliseconds = static_cast<std::uint16_t>(nanoseconds / 1'000'000);
}

}  // namespace

std::tm common::LocalTm(std::time_t seconds) {
    // Unlike localtime(), localtime_r() does not look for a change of the time zone by itself.
    tzset();
    std::tm parts{};
    localtime_r(&seconds, &parts);
    return parts;
}

std::string common::FormatTime(const char* format, const std::tm& time) {
    // Fixed English whatever the locale of the user: other readers of the files parse these texts.
    static const locale_t english = newlocale(LC_ALL_MASK, "C", nullptr);
    std::array<char, 1024> text{};
    const std::size_t length = strftime_l(text.data(), text.size(), format, &time, english);
    return {text.data(), length};
}

void GetUTCTime(tagSYSTEMTIME* time) {
    if (time == nullptr) {
        return;
    }
    const timespec now = Now();
    std::tm parts{};
    gmtime_r(&now.tv_sec, &parts);
    Fill(parts, now.tv_nsec, time);
}

void GetLocalTime(tagSYSTEMTIME* time) {
    if (time == nullptr) {
        return;
    }
    const timespec now = Now();
    Fill(common::LocalTm(now.tv_sec), now.tv_nsec, time);
}

void GetLocalTimeFromTM(std::time_t seconds, tagSYSTEMTIME* time) {
    if (time == nullptr) {
        return;
    }
    Fill(common::LocalTm(seconds), 0, time);
    // Sunday is 1 here and 0 in GetUTCTime and GetLocalTime: stored records rely on it.
    ++time->dayOfWeek;
}

void SystemTimeToTm(const tagSYSTEMTIME* time, std::tm* out) {
    if (time == nullptr || out == nullptr) {
        return;
    }
    *out = {};
    out->tm_year = time->year - 1900;
    out->tm_mon = time->month - 1;
    out->tm_wday = time->dayOfWeek;
    out->tm_mday = time->day;
    out->tm_hour = time->hour;
    out->tm_min = time->minute;
    out->tm_sec = time->second;
    out->tm_isdst = -1;  // not recorded; mktime() finds out
}

void TmToSystemTime(const std::tm* time, tagSYSTEMTIME* out) {
    if (time == nullptr || out == nullptr) {
        return;
    }
    *out = {Field(time->tm_year + 1900), Field(time->tm_mon + 1),
            Field(time->tm_wday),        Field(time->tm_mday),
            Field(time->tm_hour),        Field(time->tm_min),
            Field(time->tm_sec),         0};
}
