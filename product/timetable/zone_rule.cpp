#include "product/timetable/zone_rule.h"

#include <algorithm>
#include <cctype>

namespace timetable {

namespace {

using std::chrono::days;
using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::seconds;

constexpr long kMostHours = 24;        // of an offset
constexpr long kMostHoursOfDay = 167;  // of a change, to either side of its day
constexpr long kMostDigits = 4;

/// Takes one part after the other from the front of a text.
class Parts {
public:
    explicit Parts(std::string_view text) : m_rest(text) {}

    [[nodiscard]] bool IsEmpty() const { return m_rest.empty(); }

    bool Skip(char letter) {
        if (m_rest.empty() || m_rest.front() != letter) {
            return false;
        }
        m_rest.remove_prefix(1);
        return true;
    }

    /// An abbreviation of at least three letters, or anything of use between < and >.
    bool SkipName() {
        const bool isQuoted = Skip('<');
        const auto isOfName = [&](char letter) {
            const auto byte = static_cast<unsigned char>(letter);
            return std::isalpha(byte) != 0 ||
                   (isQuoted && (std::isdigit(byte) != 0 || letter == '+' || letter == '-'));
        };
        const auto end = std::find_if_not(m_rest.begin(), m_rest.end(), isOfName);
        const auto length = static_cast<std::size_t>(end - m_rest.begin());
        m_rest.remove_prefix(length);
        return length >= 3 && (!isQuoted || Skip('>'));
    }

    std::optional<long> Number(long least, long most) {
        long number = 0;
        long digits = 0;
        while (!m_rest.empty() && m_rest.front() >= '0' && m_rest.front() <= '9') {
            number = number * 10 + (m_rest.front() - '0');
            m_rest.remove_prefix(1);
            if (++digits > kMostDigits) {
                return std::nullopt;
            }
        }
        return digits > 0 && number >= least && number <= most ? std::optional(number)
                                                               : std::nullopt;
    }

    /// hh[:mm[:ss]], perhaps with a sign.
    std::optional<seconds> Time(long mostHours) {
        const bool isNegative = Skip('-');
        if (!isNegative) {
            Skip('+');
        }
        const auto hour = Number(0, mostHours);
        const auto minute = !hour || !Skip(':') ? std::optional(0L) : Number(0, 59);
        const auto second = !hour || !minute || !Skip(':') ? std::optional(0L) : Number(0, 59);
        if (!hour || !minute || !second) {
            return std::nullopt;
        }
        const seconds time = hours(*hour) + minutes(*minute) + seconds(*second);
        return isNegative ? -time : time;
    }

private:
    std::string_view m_rest;
};

using Yearly = ZoneRule::Yearly;

std::optional<Yearly> ParseMonth(Parts& parts) {
    const auto month = parts.Number(1, 12);
    const auto week = month && parts.Skip('.') ? parts.Number(1, 5) : std::nullopt;
    const auto weekday = week && parts.Skip('.') ? parts.Number(0, 6) : std::nullopt;
    if (!weekday) {
        return std::nullopt;
    }
    Yearly day;
    day.month = static_cast<unsigned>(*month);
    day.week = static_cast<unsigned>(*week);
    day.weekday = static_cast<unsigned>(*weekday);
    return day;
}

std::optional<Yearly> ParseCounted(Parts& parts, Yearly::Kind kind, long least) {
    const auto number = parts.Number(least, 365);
    if (!number) {
        return std::nullopt;
    }
    Yearly day;
    day.kind = kind;
    day.day = static_cast<int>(*number);
    return day;
}

std::optional<Yearly> ParseYearly(Parts& parts) {
    if (!parts.Skip(',')) {
        return std::nullopt;
    }
    std::optional<Yearly> day;
    if (parts.Skip('M')) {
        day = ParseMonth(parts);
    } else if (parts.Skip('J')) {
        day = ParseCounted(parts, Yearly::Kind::kJulian, 1);
    } else {
        day = ParseCounted(parts, Yearly::Kind::kDayOfYear, 0);
    }
    if (day && parts.Skip('/')) {
        const auto time = parts.Time(kMostHoursOfDay);
        if (!time) {
            return std::nullopt;
        }
        day->time = *time;
    }
    return day;
}

std::chrono::local_days DayIn(const Yearly& yearly, std::chrono::year year) {
    using std::chrono::local_days;
    const local_days newYear{year / std::chrono::January / 1};
    constexpr int kDaysToMarch = 59;
    if (yearly.kind == Yearly::Kind::kDayOfYear) {
        return newYear + days(yearly.day);
    }
    if (yearly.kind == Yearly::Kind::kJulian) {
        const bool isPastLeapDay = year.is_leap() && yearly.day > kDaysToMarch;
        return newYear + days(yearly.day - (isPastLeapDay ? 0 : 1));
    }
    const std::chrono::year_month month = year / std::chrono::month(yearly.month);
    const std::chrono::weekday weekday(yearly.weekday);
    constexpr unsigned kLast = 5;
    return yearly.week == kLast ? local_days(month / weekday[std::chrono::last])
                                : local_days(month / weekday[yearly.week]);
}

std::chrono::sys_seconds MomentIn(const Yearly& yearly, std::chrono::year year,
                                  seconds offsetBefore) {
    const std::chrono::local_seconds local = DayIn(yearly, year) + yearly.time;
    return std::chrono::sys_seconds(local.time_since_epoch() - offsetBefore);
}

}  // namespace

// The text counts hours to the west of Greenwich.
std::optional<ZoneRule> ZoneRule::Parse(std::string_view text) {
    Parts parts(text);
    const auto west = parts.SkipName() ? parts.Time(kMostHours) : std::nullopt;
    if (!west) {
        return std::nullopt;
    }
    ZoneRule rule;
    rule.m_standard = -*west;
    if (parts.IsEmpty()) {
        return rule;
    }
    rule.m_hasSummer = parts.SkipName();
    if (!rule.m_hasSummer) {
        return std::nullopt;
    }
    rule.m_summer = rule.m_standard + hours(1);
    if (const auto summerWest = parts.Time(kMostHours)) {
        rule.m_summer = -*summerWest;
    }
    const auto begins = ParseYearly(parts);
    const auto ends = begins ? ParseYearly(parts) : std::nullopt;
    if (!ends || !parts.IsEmpty()) {
        return std::nullopt;
    }
    rule.m_summerBegins = *begins;
    rule.m_summerEnds = *ends;
    return rule;
}

std::array<ZoneRule::Change, 2> ZoneRule::ChangesOf(std::chrono::year year) const {
    const Change begin{MomentIn(m_summerBegins, year, m_standard), m_summer};
    const Change end{MomentIn(m_summerEnds, year, m_summer), m_standard};
    if (begin.when <= end.when) {
        return {begin, end};
    }
    return {end, begin};
}

}  // namespace timetable
