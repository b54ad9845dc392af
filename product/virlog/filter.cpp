#include "product/virlog/filter.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <compare>

#include "common/string_algorithms.h"

namespace {

// Exactly `digits` digits at the start of `text`, which are taken away.
std::optional<std::uint16_t> TakeNumber(std::string_view& text, std::size_t digits) {
    std::uint16_t number = 0;
    if (text.size() < digits) {
        return std::nullopt;
    }
    const char* const end = text.data() + digits;
    const auto [parsed, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || parsed != end) {
        return std::nullopt;
    }
    text.remove_prefix(digits);
    return number;
}

bool TakeOneOf(std::string_view& text, std::string_view characters) {
    if (text.empty() || characters.find(text.front()) == std::string_view::npos) {
        return false;
    }
    text.remove_prefix(1);
    return true;
}

bool Exists(const TimeBound& bound) {
    const auto [year, month, day, hour, minute, second] = bound.fields;
    const std::chrono::year_month_day date{std::chrono::year(year), std::chrono::month(month),
                                           std::chrono::day(day)};
    return date.ok() && hour < 24 && minute < 60 && second < 60;
}

// Compares as far as the bound is exact, so that what lies within the day that it names is equal.
std::strong_ordering Compare(const tagSYSTEMTIME& time, const TimeBound& bound) {
    const std::array fields = {time.year, time.month,  time.day,
                               time.hour, time.minute, time.second};
    const auto count = static_cast<std::ptrdiff_t>(bound.count);
    return std::lexicographical_compare_three_way(
        fields.begin(), fields.begin() + count, bound.fields.begin(), bound.fields.begin() + count);
}

}  // namespace

std::optional<TimeBound> ParseTimeBound(std::string_view text) {
    constexpr std::size_t kDigits[] = {4, 2, 2, 2, 2, 2};
    constexpr std::string_view kBefore[] = {"", "-", "-", " T", ":", ":"};
    TimeBound bound{};
    while (bound.count < bound.fields.size()) {
        if (bound.count > 0 && !TakeOneOf(text, kBefore[bound.count])) {
            return std::nullopt;
        }
        const auto number = TakeNumber(text, kDigits[bound.count]);
        if (!number) {
            return std::nullopt;
        }
        bound.fields[bound.count++] = *number;
        if (text.empty()) {
            break;
        }
    }
    const bool isWhole = bound.count == 3 || bound.count >= 5;
    return text.empty() && isWhole && Exists(bound) ? std::optional(bound) : std::nullopt;
}

bool Matches(const RecordFilter& filter, const virus_log::VirusLogEntry& entry) {
    if (filter.since && std::is_lt(Compare(entry.time, *filter.since))) {
        return false;
    }
    if (filter.until && std::is_gt(Compare(entry.time, *filter.until))) {
        return false;
    }
    return std::all_of(filter.texts.begin(), filter.texts.end(), [&](const std::string& part) {
        return text::ContainsIgnoringCase(entry.filePath, part) ||
               text::ContainsIgnoringCase(entry.virusName, part) ||
               text::ContainsIgnoringCase(entry.action, part) ||
               text::ContainsIgnoringCase(entry.userName, part) ||
               text::ContainsIgnoringCase(entry.domainName, part);
    });
}
