#pragma once

#include <array>
#include <chrono>
#include <optional>
#include <string_view>

namespace timetable {

/// What a zone does every year, as in the last line of its file: "CET-1CEST,M3.5.0,M10.5.0/3". Any
/// thread.
class ZoneRule {
public:
    struct Change {
        std::chrono::sys_seconds when;
        std::chrono::seconds offset;  ///< from then on
    };

    /// None when it is no such rule, or an offset is over a day.
    static std::optional<ZoneRule> Parse(std::string_view text);

    /// The same all the year.
    [[nodiscard]] bool IsFixed() const { return !m_hasSummer; }
    [[nodiscard]] std::chrono::seconds Standard() const { return m_standard; }

    /// Both changes of a year, the earlier one first. Not for a fixed one.
    [[nodiscard]] std::array<Change, 2> ChangesOf(std::chrono::year year) const;

    /// A day of each year and the time on it.
    struct Yearly {
        enum class Kind {
            kMonth,      ///< the `week`th `weekday` of `month`; the fifth is the last
            kJulian,     ///< day 1 to 365; the 29th of February is never counted
            kDayOfYear,  ///< day 0 to 365, the 29th of February counted
        };
        Kind kind = Kind::kMonth;
        unsigned month = 1;
        unsigned week = 1;
        unsigned weekday = 0;
        int day = 0;
        std::chrono::seconds time = std::chrono::hours(2);  ///< may be before or after the day
    };

private:
    std::chrono::seconds m_standard{0};
    std::chrono::seconds m_summer{0};
    bool m_hasSummer = false;
    Yearly m_summerBegins;
    Yearly m_summerEnds;
};

}  // namespace timetable
