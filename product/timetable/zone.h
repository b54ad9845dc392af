#pragma once

#include <chrono>
#include <optional>
#include <string_view>
#include <vector>

#include "product/timetable/zone_rule.h"

// Local time as the database of time zones has it. No I/O: whoever needs a zone reads its file.

namespace timetable {

/// A time zone. Immutable; any thread.
class Zone {
public:
    /// From `begin` on, and before `end`, local time is `offset` ahead of UTC.
    struct Piece {
        std::chrono::sys_seconds begin;
        std::chrono::sys_seconds end;
        std::chrono::seconds offset;
    };

    /// UTC.
    Zone();

    /// The zone that a file of the database describes, of version 1 to 4. `bytes` is the whole
    /// file; none when it is cut, or holds what no such file may. Leap seconds are passed over: the
    /// system's clock does not count them.
    static std::optional<Zone> FromFile(std::string_view bytes);

    /// The piece that `moment` lies in. Pieces next to each other may have one offset.
    [[nodiscard]] Piece PieceAt(std::chrono::sys_seconds moment) const;

    /// What a clock on the wall shows at `moment`.
    [[nodiscard]] std::chrono::local_seconds LocalOf(std::chrono::sys_seconds moment) const;

    /// When the clocks show `local` for the first time. When they jump over it, the moment of the
    /// jump: they then show the next time that there is.
    [[nodiscard]] std::chrono::sys_seconds FirstMomentOf(std::chrono::local_seconds local) const;

private:
    /// From `when` on; the first is from ever.
    struct Change {
        std::chrono::sys_seconds when;
        std::chrono::seconds offset;
    };

    std::vector<Change> m_changes;
    std::optional<ZoneRule> m_rule;  ///< of all that comes after the last change
};

}  // namespace timetable
