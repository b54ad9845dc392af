#include "product/timetable/zone.h"

#include <algorithm>
#include <array>

namespace timetable {

using std::chrono::local_seconds;
using std::chrono::sys_seconds;

namespace {

// Further from UTC than any local time is.
constexpr std::chrono::hours kFurthest(48);

std::chrono::year YearOf(sys_seconds moment) {
    const auto day = std::chrono::floor<std::chrono::days>(moment);
    return std::chrono::year_month_day(day).year();
}

}  // namespace

Zone::Zone() : m_changes{{sys_seconds::min(), std::chrono::seconds(0)}} {}

Zone::Piece Zone::PieceAt(sys_seconds moment) const {
    const auto isAfter = [](sys_seconds when, const auto& change) { return when < change.when; };
    const auto next = std::upper_bound(m_changes.begin(), m_changes.end(), moment, isAfter);
    // The first is from ever, so there is one before.
    const Change& current = *std::prev(next);
    if (next != m_changes.end()) {
        return {current.when, next->when, current.offset};
    }
    if (!m_rule) {
        return {current.when, sys_seconds::max(), current.offset};
    }
    if (m_rule->IsFixed()) {
        return {current.when, sys_seconds::max(), m_rule->Standard()};
    }
    std::vector<ZoneRule::Change> yearly;
    const std::chrono::year year = YearOf(moment);
    for (const auto& each : {year - std::chrono::years(1), year, year + std::chrono::years(1)}) {
        for (const ZoneRule::Change& change : m_rule->ChangesOf(each)) {
            yearly.push_back(change);
        }
    }
    const auto then = std::upper_bound(yearly.begin(), yearly.end(), moment, isAfter);
    const ZoneRule::Change& before = *std::prev(then);
    return {std::max(before.when, current.when), then->when, before.offset};
}

local_seconds Zone::LocalOf(sys_seconds moment) const {
    return local_seconds(moment.time_since_epoch() + PieceAt(moment).offset);
}

sys_seconds Zone::FirstMomentOf(local_seconds local) const {
    const sys_seconds asUtc(local.time_since_epoch());
    for (Piece piece = PieceAt(asUtc - kFurthest);; piece = PieceAt(piece.end)) {
        // Before the piece when the clocks have jumped over it.
        const sys_seconds moment = std::max(piece.begin, asUtc - piece.offset);
        if (moment < piece.end) {
            return moment;
        }
    }
}

}  // namespace timetable
