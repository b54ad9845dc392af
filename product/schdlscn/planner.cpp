#include "product/schdlscn/planner.h"

#include <algorithm>
#include <syslog.h>

namespace schdlscn {

namespace {

using namespace std::chrono_literals;
using std::chrono::seconds;
using std::chrono::sys_seconds;
using timetable::Due;

constexpr std::size_t kMostAtOnce = 2;
constexpr seconds kLongest = 24h;
/// What is due longer than this was missed.
constexpr seconds kLate = 60s;
/// How long the machine and its user have for themselves before what was missed is made up for.
constexpr seconds kQuiet = 120s;
/// When the list cannot be used, or a run does not end.
constexpr seconds kTryAgain = 60s;
constexpr seconds kTimeToEnd = 10s;

std::int64_t CountOf(sys_seconds moment) {
    return moment.time_since_epoch().count();
}

std::chrono::local_days DayOf(std::int64_t day) {
    return std::chrono::local_days(std::chrono::days(day));
}

/// What is due next of a task, and why when it is due now.
struct Next {
    Due due;
    ScheduleReason reason;
};

std::optional<Next> NextOf(const KeptTask& kept, const Moment& moment) {
    const timetable::Plan plan = PlanOf(kept.task, DayOf(kept.madeDay));
    const bool isAtBoot = plan.start == timetable::Plan::Start::kAtBoot;
    std::optional<Due> due;
    sys_seconds first;
    if (isAtBoot) {
        timetable::Boot boot{moment.now - moment.sinceBoot, std::nullopt};
        if (kept.settled.boot == moment.boot && kept.settled.inBoot) {
            boot.settled = seconds(*kept.settled.inBoot);
        }
        due = NextRunOfBoot(plan, boot, moment.now, moment.zone);
        first = boot.moment;
    } else {
        timetable::Past past{sys_seconds(seconds(kept.settled.until)), std::nullopt};
        if (kept.settled.day) {
            past.day = DayOf(*kept.settled.day);
        }
        due = NextRun(plan, past, moment.now, moment.zone);
        first = due ? moment.zone.FirstMomentOf(due->day + plan.time) : sys_seconds();
    }
    if (!due) {
        return std::nullopt;
    }
    ScheduleReason reason = isAtBoot ? kScheduleReasonBoot : kScheduleReasonDue;
    if (due->moment != first) {
        reason = kScheduleReasonRepeat;
    }
    if (reason != kScheduleReasonBoot && moment.now - due->moment > kLate) {
        reason = kScheduleReasonMissed;
    }
    return Next{*due, reason};
}

Settled SettledBy(const Due& due, const Moment& moment) {
    Settled settled = moment.AllSettled();
    settled.until = CountOf(due.moment);
    settled.day = due.day.time_since_epoch().count();
    settled.inBoot = (due.moment - (moment.now - moment.sinceBoot)).count();
    return settled;
}

}  // namespace

Planner::Planner(TaskList& list, Launcher& launcher, const Moment& moment)
    : m_list(list), m_launcher(launcher), m_back(moment.sinceBoot), m_asleep(moment.asleep) {
    MarkInterrupted(moment);
}

/// Nobody is left who could say how they ended.
void Planner::MarkInterrupted(const Moment& moment) {
    if (!ReadTasks()) {
        return;
    }
    for (const KeptTask& kept : m_tasks) {
        if (kept.last.start == 0 || kept.last.end != 0) {
            continue;
        }
        LastRun last = kept.last;
        last.end = CountOf(moment.now);
        last.result = kScheduleRunInterrupted;
        last.detail = "the scheduler was ended during the scan";
        if (m_list.Note(kept.id, last) != kScheduleOk) {
            ::syslog(LOG_ERR, "the list of tasks cannot be written");
        }
    }
    m_isStale = true;
}

bool Planner::ReadTasks() {
    if (m_isStale) {
        if (m_list.List(0, m_tasks) != kScheduleOk) {
            ::syslog(LOG_ERR, "the list of tasks cannot be read");
            return false;
        }
        m_isStale = false;
    }
    return true;
}

void Planner::NoticeSleep(const Moment& moment) {
    if (moment.asleep - m_asleep > 1s) {
        m_back = moment.sinceBoot;
    }
    m_asleep = moment.asleep;
}

void Planner::WakeAt(sys_seconds moment) {
    m_wake = m_wake ? std::min(*m_wake, moment) : moment;
}

std::vector<int> Planner::Descriptors() const {
    std::vector<int> descriptors;
    for (const Running& running : m_running) {
        descriptors.push_back(running.run->Descriptor());
    }
    return descriptors;
}

bool Planner::IsRunning(std::int64_t id) const {
    return std::any_of(m_running.begin(), m_running.end(),
                       [&](const Running& running) { return running.task.id == id; });
}

bool Planner::IsFree(uid_t user) const {
    return m_running.size() < kMostAtOnce &&
           std::none_of(m_running.begin(), m_running.end(),
                        [&](const Running& running) { return running.task.task.owner == user; });
}

std::optional<sys_seconds> Planner::Look(const Moment& moment) {
    m_wake.reset();
    NoticeSleep(moment);
    Collect(moment);
    if (!ReadTasks()) {
        WakeAt(moment.now + kTryAgain);
        return m_wake;
    }
    std::vector<Turn> turns;
    for (const KeptTask& kept : m_tasks) {
        if (const auto turn = TurnOf(kept, moment)) {
            turns.push_back(*turn);
        }
    }
    BeginAll(std::move(turns), moment);
    return m_wake;
}

/// What is to be run of a task now. For what has to wait for its time, that is noted.
std::optional<Planner::Turn> Planner::TurnOf(const KeptTask& task, const Moment& moment) {
    if (IsRunning(task.id)) {
        return std::nullopt;
    }
    const auto next = NextOf(task, moment);
    if (!next) {
        return std::nullopt;
    }
    if (next->due.moment > moment.now) {
        WakeAt(next->due.moment);
        return std::nullopt;
    }
    const seconds quiet = m_back + kQuiet - moment.sinceBoot;
    if (next->reason == kScheduleReasonMissed && quiet > 0s) {
        WakeAt(moment.now + quiet);
        return std::nullopt;
    }
    return Turn{&task, next->due, next->reason};
}

/// Users whose last turn is longest ago come first; of one user, what was due first.
void Planner::BeginAll(std::vector<Turn> turns, const Moment& moment) {
    while (!turns.empty()) {
        const auto isBefore = [&](const Turn& one, const Turn& other) {
            const auto oneTurn = m_lastTurn[one.task->task.owner];
            const auto otherTurn = m_lastTurn[other.task->task.owner];
            return oneTurn != otherTurn ? oneTurn < otherTurn : one.due.moment < other.due.moment;
        };
        std::erase_if(turns, [&](const Turn& turn) { return !IsFree(turn.task->task.owner); });
        const auto next = std::min_element(turns.begin(), turns.end(), isBefore);
        if (next == turns.end()) {
            return;
        }
        if (!Begin(*next, moment)) {
            WakeAt(moment.now + kTryAgain);
            return;
        }
        turns.erase(next);
    }
}

/// That it has begun is on the disk before it begins: killed in between, it is told as interrupted,
/// and is not run twice.
bool Planner::Begin(const Turn& turn, const Moment& moment) {
    Running running;
    running.task = *turn.task;
    running.last.start = CountOf(moment.now);
    running.last.reason = static_cast<int>(turn.reason);
    running.begun = moment.sinceBoot;
    if (m_list.Note(running.task.id, running.last, SettledBy(turn.due, moment)) != kScheduleOk) {
        ::syslog(LOG_ERR, "the list of tasks cannot be written: no scan is begun");
        return false;
    }
    m_isStale = true;
    m_lastTurn[running.task.task.owner] = ++m_turns;
    running.run = m_launcher.Start(running.task, turn.reason);
    if (const auto outcome = running.run->Ended()) {
        Finish(running, *outcome, moment);
        WakeAt(moment.now);
        return true;
    }
    WakeAt(moment.now + kLongest);
    m_running.push_back(std::move(running));
    return true;
}

/// Takes what has ended, and ends what takes too long.
void Planner::Collect(const Moment& moment) {
    for (Running& running : m_running) {
        if (const auto outcome = running.run->Ended()) {
            Finish(running, *outcome, moment);
            running.run.reset();
            continue;
        }
        const seconds left = running.begun + kLongest - moment.sinceBoot;
        if (left <= 0s) {
            running.isTooLong = true;
            running.run->Stop();
        }
        WakeAt(moment.now + (left > 0s ? left : kTimeToEnd));
    }
    std::erase_if(m_running, [](const Running& running) { return running.run == nullptr; });
}

void Planner::Finish(Running& running, const Outcome& outcome, const Moment& moment) {
    LastRun last = running.last;
    last.end = CountOf(moment.now);
    last.result = static_cast<int>(running.isTooLong ? kScheduleRunTookTooLong : outcome.result);
    last.infected = outcome.infected;
    last.unread = outcome.unread;
    last.report = outcome.report;
    last.detail = outcome.detail;
    if (m_list.Note(running.task.id, last) != kScheduleOk) {
        ::syslog(LOG_ERR, "the list of tasks cannot be written: how a scan ended is not kept");
    }
    m_isStale = true;
}

void Planner::StopAll(const Moment& moment) {
    for (const Running& running : m_running) {
        running.run->Stop();
    }
    for (Running& running : m_running) {
        Outcome outcome = running.run->EndNow();
        outcome.result = kScheduleRunInterrupted;
        outcome.detail = "the scheduler was stopped";
        Finish(running, outcome, moment);
    }
    m_running.clear();
}

}  // namespace schdlscn
