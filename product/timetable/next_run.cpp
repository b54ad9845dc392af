#include "product/timetable/next_run.h"

#include <algorithm>

namespace timetable {

using std::chrono::days;
using std::chrono::local_days;
using std::chrono::seconds;
using std::chrono::sys_seconds;

namespace {

constexpr int kMostDays = 90;
constexpr int kMostWeeks = 15;

// What was settled later than this after now was settled by a clock that was wrong.
constexpr days kBelievable(1);

/// The days of a plan: `first` and every `step` from there, to both sides.
class DueDays {
public:
    explicit DueDays(const Plan& plan) : m_first(plan.made), m_step(plan.interval) {
        if (plan.frequency == Plan::Frequency::kWeekly) {
            m_first += plan.weekday - std::chrono::weekday(plan.made);
            m_step = std::chrono::weeks(plan.interval);
        }
    }

    [[nodiscard]] days Step() const { return m_step; }

    [[nodiscard]] local_days OnOrBefore(local_days day) const {
        const days rest = (day - m_first) % m_step;
        return day - (rest < days(0) ? rest + m_step : rest);
    }

    [[nodiscard]] bool Holds(local_days day) const { return OnOrBefore(day) == day; }

private:
    local_days m_first;
    days m_step;
};

/// What is due from one start on until the midnight of its day.
class Series {
public:
    Series(local_days day, sys_seconds start, const Plan& plan, const Zone& zone)
        : m_day(day),
          m_start(start),
          m_repeat(plan.repeat),
          m_end(zone.FirstMomentOf(day + days(1))) {}

    [[nodiscard]] sys_seconds Start() const { return m_start; }

    [[nodiscard]] std::optional<Due> FirstAfter(sys_seconds moment) const {
        if (m_start > moment) {
            return Due{m_start, m_day};
        }
        if (m_repeat == seconds(0)) {
            return std::nullopt;
        }
        const sys_seconds next = m_start + ((moment - m_start) / m_repeat + 1) * m_repeat;
        return next < m_end ? std::optional(Due{next, m_day}) : std::nullopt;
    }

    /// For a moment that is not before the start.
    [[nodiscard]] Due LastUntil(sys_seconds moment) const {
        const sys_seconds last = std::max(m_start, std::min(moment, m_end - seconds(1)));
        const auto times = m_repeat == seconds(0) ? 0 : (last - m_start) / m_repeat;
        return {m_start + times * m_repeat, m_day};
    }

private:
    local_days m_day;
    sys_seconds m_start;
    seconds m_repeat;
    sys_seconds m_end;
};

Series SeriesOf(const Plan& plan, local_days day, const Zone& zone) {
    return {day, zone.FirstMomentOf(day + plan.time), plan, zone};
}

local_days DayOf(sys_seconds moment, const Zone& zone) {
    return std::chrono::floor<days>(zone.LocalOf(moment));
}

Due FirstAfter(const Plan& plan, const Past& past, const Zone& zone) {
    const DueDays dueDays(plan);
    local_days day = dueDays.OnOrBefore(DayOf(past.until, zone));
    const bool isDayDone = past.day.has_value() && plan.repeat == seconds(0);
    for (;; day += dueDays.Step()) {
        if (isDayDone && day <= *past.day) {
            continue;
        }
        if (const auto due = SeriesOf(plan, day, zone).FirstAfter(past.until)) {
            return *due;
        }
    }
}

Due LastUntil(const Plan& plan, sys_seconds moment, const Zone& zone) {
    const DueDays dueDays(plan);
    // The next day has begun already where the clocks went back over its midnight.
    for (local_days day = dueDays.OnOrBefore(DayOf(moment, zone) + days(1));;
         day -= dueDays.Step()) {
        const Series series = SeriesOf(plan, day, zone);
        if (series.Start() <= moment) {
            return series.LastUntil(moment);
        }
    }
}

Past Believable(const Past& past, sys_seconds now) {
    return past.until > now + kBelievable ? Past{now, std::nullopt} : past;
}

}  // namespace

bool IsValid(const Plan& plan) {
    const bool isWeekly = plan.frequency == Plan::Frequency::kWeekly;
    return plan.interval >= 1 && plan.interval <= (isWeekly ? kMostWeeks : kMostDays) &&
           plan.weekday.ok() && plan.time >= seconds(0) && plan.time < days(1) &&
           plan.repeat >= seconds(0) && plan.repeat < days(1);
}

std::optional<Due> NextRun(const Plan& plan, const Past& past, sys_seconds now, const Zone& zone) {
    if (!IsValid(plan)) {
        return std::nullopt;
    }
    const Due first = FirstAfter(plan, Believable(past, now), zone);
    return first.moment > now ? first : LastUntil(plan, now, zone);
}

std::optional<Due> NextRunOfBoot(const Plan& plan, const Boot& boot, sys_seconds now,
                                 const Zone& zone) {
    if (!IsValid(plan)) {
        return std::nullopt;
    }
    const local_days day = DayOf(boot.moment, zone);
    if (!DueDays(plan).Holds(day)) {
        return std::nullopt;
    }
    const Series series(day, boot.moment, plan, zone);
    const sys_seconds settled = boot.moment + boot.settled.value_or(seconds(-1));
    const auto first = series.FirstAfter(settled);
    return !first || first->moment > now ? first : series.LastUntil(now);
}

}  // namespace timetable
