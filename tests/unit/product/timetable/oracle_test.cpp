#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <vector>

#include "product/timetable/next_run.h"
#include "tests/unit/product/timetable/system_zone.h"

// Every run of ten years, against somebody who looks at a clock on the wall once a minute (or every
// second), starts what is due, and knows nothing of zones.

namespace {

using namespace std::chrono_literals;
using timetable::NextRun;
using timetable::Past;
using timetable::Plan;

constexpr std::int64_t kDay = 86'400;  // seconds

std::int64_t Step() {
    return std::getenv("CORVANE_EVERY_POINT") != nullptr ? 1 : 60;
}

const std::int64_t kBegin = Utc("2006-06-01 00:00:00").time_since_epoch().count();
const std::int64_t kEnd = Utc("2016-06-01 00:00:00").time_since_epoch().count();

constexpr std::int64_t kBlock = 60;  // steps that are passed over together

// What the clock on the wall shows, as seconds since 1970: at each step, and at most in each block.
struct Wall {
    std::vector<std::int64_t> shown;
    std::vector<std::int64_t> most;
};

// The C library is asked at every quarter of an hour, and in between only where it is ahead of UTC
// by more or less at the end than at the beginning.
Wall WatchClock(const std::string& zone) {
    constexpr std::int64_t kQuarter = 900;  // seconds
    const LibraryZone library(zone);
    Wall wall;
    wall.shown.reserve(static_cast<std::size_t>((kEnd - kBegin) / Step()));
    for (std::int64_t begin = kBegin; begin < kEnd; begin += kQuarter) {
        const std::int64_t local = LibraryZone::LocalOf(begin);
        const std::int64_t end = begin + kQuarter;
        const bool isSteady = LibraryZone::LocalOf(end) - local == kQuarter;
        for (std::int64_t moment = begin; moment < end; moment += Step()) {
            wall.shown.push_back(isSteady ? local + (moment - begin)
                                          : LibraryZone::LocalOf(moment));
        }
    }
    for (std::size_t i = 0; i < wall.shown.size(); i += kBlock) {
        const auto block = wall.shown.begin() + static_cast<std::ptrdiff_t>(i);
        wall.most.push_back(*std::max_element(block, block + kBlock));
    }
    return wall;
}

bool IsDueDay(const Plan& plan, std::int64_t day) {
    const std::int64_t made = plan.made.time_since_epoch().count();
    if (plan.frequency == Plan::Frequency::kDaily) {
        return (day - made) % plan.interval == 0;
    }
    std::int64_t first = made;
    while ((first + 4) % 7 != plan.weekday.c_encoding()) {  // day 0 was a Thursday
        ++first;
    }
    return (day - first) % (7LL * plan.interval) == 0;
}

std::int64_t NextDueDay(const Plan& plan, std::int64_t day) {
    while (!IsDueDay(plan, day)) {
        ++day;
    }
    return day;
}

// Somebody with a calendar and a stop watch.
class Watcher {
public:
    explicit Watcher(const Plan& plan)
        : m_plan(plan),
          m_day(NextDueDay(plan, plan.made.time_since_epoch().count())),
          m_repeat(std::chrono::seconds(plan.repeat).count()) {}

    // Whether nothing can happen before `end` while the wall shows no more than `most`.
    [[nodiscard]] bool IsIdle(std::int64_t most, std::int64_t end) const {
        return most < Start() && (m_next == 0 || (end <= m_next && most < m_midnight));
    }

    void Look(std::int64_t moment, std::int64_t wall) {
        if (wall >= m_midnight) {
            m_next = 0;
        }
        while (wall >= Start()) {
            m_runs.push_back(moment);
            m_midnight = (m_day + 1) * kDay;
            m_next = m_repeat > 0 && wall < m_midnight ? moment + m_repeat : 0;
            m_day = NextDueDay(m_plan, m_day + 1);
        }
        if (m_next == moment) {
            m_runs.push_back(moment);
            m_next += m_repeat;
        }
    }

    // Two days may begin at one moment; that is one run.
    std::vector<std::int64_t> Runs() {
        m_runs.erase(std::unique(m_runs.begin(), m_runs.end()), m_runs.end());
        return m_runs;
    }

private:
    [[nodiscard]] std::int64_t Start() const { return m_day * kDay + m_plan.time.count(); }

    Plan m_plan;
    std::int64_t m_day;
    std::int64_t m_repeat;
    std::int64_t m_next = 0;      // of the repeats, by elapsed time; 0 for none
    std::int64_t m_midnight = 0;  // when those end, on the wall
    std::vector<std::int64_t> m_runs;
};

std::vector<std::int64_t> RunsSeen(const Plan& plan, const Wall& wall) {
    Watcher watcher(plan);
    std::int64_t moment = kBegin;
    for (std::size_t block = 0; block < wall.most.size(); ++block) {
        const std::int64_t end = moment + kBlock * Step();
        if (watcher.IsIdle(wall.most[block], end)) {
            moment = end;
            continue;
        }
        for (std::size_t i = block * kBlock; moment < end; ++i, moment += Step()) {
            watcher.Look(moment, wall.shown[i]);
        }
    }
    return watcher.Runs();
}

std::vector<std::int64_t> RunsTold(const Plan& plan, const timetable::Zone& zone) {
    std::vector<std::int64_t> runs;
    Past past{zone.FirstMomentOf(plan.made) - 1s, {}};
    for (;;) {
        const auto due = NextRun(plan, past, past.until, zone);
        if (!due || due->moment.time_since_epoch().count() >= kEnd) {
            return runs;
        }
        runs.push_back(due->moment.time_since_epoch().count());
        past = {due->moment, due->day};
    }
}

Plan MakePlan(Plan::Frequency frequency, int interval, std::chrono::seconds time,
              std::chrono::minutes repeat) {
    Plan plan;
    plan.frequency = frequency;
    plan.interval = interval;
    plan.weekday = std::chrono::Friday;  // the day that Apia lost
    plan.time = time;
    plan.repeat = repeat;
    plan.made = Day("2006-06-04");
    return plan;
}

class OracleTest : public testing::TestWithParam<const char*> {};

TEST_P(OracleTest, EveryRunOfTenYearsIsSeenAndNoOther) {
    using Frequency = Plan::Frequency;
    const timetable::Zone zone = ZoneNamed(GetParam());
    const Wall wall = WatchClock(GetParam());
    for (const Plan& plan : {
             MakePlan(Frequency::kDaily, 1, 2h + 30min, 0min),
             MakePlan(Frequency::kDaily, 1, 0h, 0min),
             MakePlan(Frequency::kDaily, 1, 0h + 1min, 7h),
             MakePlan(Frequency::kDaily, 1, 1h + 59min, 90min),
             MakePlan(Frequency::kDaily, 89, 23h + 1min, 1min),
             MakePlan(Frequency::kDaily, 2, 1h, 1439min),
             MakePlan(Frequency::kWeekly, 1, 2h + 15min, 0min),
             MakePlan(Frequency::kWeekly, 3, 12h, 61min),
             MakePlan(Frequency::kWeekly, 1, 0h, 23h),
         }) {
        const auto seen = RunsSeen(plan, wall);
        const auto told = RunsTold(plan, zone);
        EXPECT_GT(seen.size(), 100U);
        const auto [one, other] = std::mismatch(seen.begin(), seen.end(), told.begin(), told.end());
        EXPECT_TRUE(seen == told) << "at " << (one == seen.end() ? 0 : *one) << " and "
                                  << (other == told.end() ? 0 : *other) << ", time "
                                  << plan.time.count() << ", repeat " << plan.repeat.count();
    }
}

INSTANTIATE_TEST_SUITE_P(Zones, OracleTest,
                         testing::Values("Europe/Berlin", "Asia/Kolkata", "Pacific/Apia",
                                         "Australia/Lord_Howe", "America/St_Johns",
                                         "America/Sao_Paulo", "Africa/Cairo"));

}  // namespace
