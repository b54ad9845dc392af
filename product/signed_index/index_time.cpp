#include <array>
#include <chrono>
#include <cstdio>

#include "product/signed_index/index.h"

namespace signed_index {

namespace {

constexpr std::string_view kPattern = "dddd-dd-ddTdd:dd:ddZ";
constexpr int kFirstYear = 1970;

int NumberAt(std::string_view text, std::size_t from, std::size_t digits) {
    int number = 0;
    for (const char digit : text.substr(from, digits)) {
        number = number * 10 + (digit - '0');
    }
    return number;
}

bool HasPattern(std::string_view text) {
    if (text.size() != kPattern.size()) {
        return false;
    }
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isDigit = text[i] >= '0' && text[i] <= '9';
        if (kPattern[i] == 'd' ? !isDigit : text[i] != kPattern[i]) {
            return false;
        }
    }
    return true;
}

}  // namespace

bool ParseTime(std::string_view text, std::time_t& time) {
    if (!HasPattern(text)) {
        return false;
    }
    const std::chrono::year_month_day day(
        std::chrono::year(NumberAt(text, 0, 4)),
        std::chrono::month(static_cast<unsigned int>(NumberAt(text, 5, 2))),
        std::chrono::day(static_cast<unsigned int>(NumberAt(text, 8, 2))));
    const int hour = NumberAt(text, 11, 2);
    const int minute = NumberAt(text, 14, 2);
    const int second = NumberAt(text, 17, 2);
    if (!day.ok() || day.year() < std::chrono::year(kFirstYear) || hour > 23 || minute > 59 ||
        second > 59) {
        return false;
    }
    const std::chrono::sys_seconds moment = std::chrono::sys_days(day) + std::chrono::hours(hour) +
                                            std::chrono::minutes(minute) +
                                            std::chrono::seconds(second);
    time = static_cast<std::time_t>(moment.time_since_epoch().count());
    return true;
}

std::string FormatUtcTime(std::time_t time) {
    std::tm fields{};
    gmtime_r(&time, &fields);
    std::array<char, 32> text{};
    std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &fields);
    return text.data();
}

}  // namespace signed_index
