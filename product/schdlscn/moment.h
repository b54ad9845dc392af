#pragma once

#include <chrono>
#include <string>

#include "product/schdlscn/task_list.h"
#include "product/timetable/zone.h"

namespace schdlscn {

/// What the clocks of the machine say.
struct Moment {
    std::chrono::sys_seconds now;
    std::chrono::seconds sinceBoot{0};  ///< sleep counted
    std::chrono::seconds asleep{0};     ///< of that, how long the machine slept
    std::string boot;                   ///< which start of the machine it is
    timetable::Zone zone;

    [[nodiscard]] std::chrono::local_days Day() const;
    /// Nothing that was due up to now is left to be run.
    [[nodiscard]] Settled AllSettled() const;
};

/// The zone of a file; UTC when it cannot be read.
timetable::Zone ReadZone(const std::string& path);

/// The machine's, with the zone of "/etc/localtime". Any thread.
Moment ReadMoment();

}  // namespace schdlscn
