#include "product/schdlscn/planner.h"

#include <algorithm>
#include <syslog.h>

#include "product/schdlscn/next_turn.h"

namespace schdlscn {

namespace {

using namespace std::chrono_literals;
using std::chrono::seconds;
using std::chrono::sys_seconds;

constexpr std::size_t kMostAtOnce = 2;
constexpr seconds kLongest = 24h;
/// How long the machine and its user have for themselves before what was missed is made up for.
constexpr seconds kQuiet = 120s;
/// When the list cannot be used, or a run does not end.
constexpr seconds kTryAgain = 60s;
constexpr seconds kTimeToEnd = 10s;

}  // namespace

Planner::Planner(TaskList& list, Launcher& launcher, const Moment& moment)
    : m_list(list), m_launcher(launcher), m_back(moment.sinceBoot), m_asleep(moment.asleep) {
    m_isSettled = MarkInterrupted(moment);
}

/// Nobody is left who could say how they ended. False when the list could not be read or written:
/// before all of it is noted nothing is run.
bool Planner::MarkInterrupted(const Moment& moment) {
    if (!ReadTasks()) {
        return false;
    }
    m_isStale = true;
    for (const KeptTask& kept : m_tasks) {
        if (kept.last.start == 0 || kept.last.end != 0) {
            continue;
        }
        LastRun last = kept.last;
        last.end = SecondsOf(moment.now);
        last.result = kScheduleRunInterrupted;
        last.report = m_launcher.Recover(kept);
        last.detail = "the scheduler was ended during the scan";
        if (m_list.Note(kept.id, last) != kScheduleOk) {
            ::syslog(LOG_ERR, "the list of tasks cannot be written");
            return false;
        }
        Tell(kept, last);
    }
    return true;
}

bool Planner::ReadTasks() {
    if (m_isStale) {
        if (m_list.List(0, m_tasks) != kScheduleOk) {
            ::syslog(LOG_ERR, "the list of tasks cannot be read");
            return false;
        }
        m_isStale = false;
        std::erase_if(m_asked, [&](const auto& asked) {
            return std::none_of(m_tasks.begin(), m_tasks.end(),
                                [&](const KeptTask& kept) { return kept.id == asked.first; });
        });
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
    for (const auto& notice : m_notices) {
        descriptors.push_back(notice->Descriptor());
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
    m_isSettled = m_isSettled || MarkInterrupted(moment);
    if (!m_isSettled || !ReadTasks()) {
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

/// What is to be run of a task now, or later: when it may be and why.
std::optional<Planner::Turn> Planner::NextTurnOf(const KeptTask& task, const Moment& moment) const {
    const auto next = NextOf(task, moment);
    if (!next) {
        return std::nullopt;
    }
    Turn turn{&task, next->due.moment, next->reason, SettledBy(next->due, moment)};
    const seconds quiet = m_back + kQuiet - moment.sinceBoot;
    if (next->reason == kScheduleReasonMissed && quiet > 0s) {
        turn.from = moment.now + quiet;
    }
    return turn;
}

/// What is to be run of a task now. For what has to wait for its time, that is noted. What is due
/// comes before what was asked for, and does for both.
std::optional<Planner::Turn> Planner::TurnOf(const KeptTask& task, const Moment& moment) {
    if (IsRunning(task.id)) {
        return std::nullopt;
    }
    auto next = NextTurnOf(task, moment);
    if (next && next->from <= moment.now) {
        return next;
    }
    if (next) {
        WakeAt(next->from);
    }
    const auto asked = m_asked.find(task.id);
    return asked == m_asked.end()
               ? std::nullopt
               : std::optional(Turn{&task, asked->second, kScheduleReasonAsked, task.settled});
}

ScheduleError Planner::RunSoon(const std::string& name, uid_t user, const Moment& moment) {
    KeptTask kept;
    if (const ScheduleError error = m_list.Get(name, user, kept); error != kScheduleOk) {
        return error;
    }
    if ((FlagsOf(kept, moment) & (kScheduleTaskRuns | kScheduleTaskWaits)) != 0) {
        return kScheduleAlreadyRunning;
    }
    m_asked[kept.id] = moment.now;
    return kScheduleOk;
}

std::uint32_t Planner::FlagsOf(const KeptTask& task, const Moment& moment) const {
    std::uint32_t flags = kScheduleServiceRuns;
    if (IsRunning(task.id)) {
        flags |= kScheduleTaskRuns;
    }
    const auto next = NextTurnOf(task, moment);
    if ((next && next->from <= moment.now) || m_asked.count(task.id) != 0) {
        flags |= kScheduleTaskWaits;
    }
    return flags;
}

ScheduleError Planner::Tell(const std::string& name, uid_t user, const Moment& moment,
                            TaskState& state) const {
    state = {.flags = kScheduleServiceRuns};
    if (name.empty()) {
        return kScheduleOk;
    }
    KeptTask kept;
    if (const ScheduleError error = m_list.Get(name, user, kept); error != kScheduleOk) {
        return error;
    }
    state.flags = FlagsOf(kept, moment);
    state.last = kept.last;
    if (kept.last.end == 0) {
        state.last.report.clear();  // it is not written yet
    }
    if (const auto next = NextTurnOf(kept, moment); next && next->from > moment.now) {
        state.nextRun = SecondsOf(next->from);
    }
    return kScheduleOk;
}

/// Users whose last turn is longest ago come first; of one user, what was due first.
void Planner::BeginAll(std::vector<Turn> turns, const Moment& moment) {
    while (!turns.empty()) {
        const auto isBefore = [&](const Turn& one, const Turn& other) {
            const auto oneTurn = m_lastTurn[one.task->task.owner];
            const auto otherTurn = m_lastTurn[other.task->task.owner];
            return oneTurn != otherTurn ? oneTurn < otherTurn : one.from < other.from;
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

/// That it has begun, and with which report, is on the disk before it begins: killed in between, it
/// is told as interrupted, is not run twice, and its report is found.
bool Planner::Begin(const Turn& turn, const Moment& moment) {
    Running running;
    running.task = *turn.task;
    running.last.start = SecondsOf(moment.now);
    running.last.reason = static_cast<int>(turn.reason);
    running.last.report = m_launcher.NameReport();
    running.begun = moment.sinceBoot;
    if (m_list.Note(running.task.id, running.last, turn.settled) != kScheduleOk) {
        ::syslog(LOG_ERR, "the list of tasks cannot be written: no scan is begun");
        return false;
    }
    m_isStale = true;
    m_asked.erase(running.task.id);
    m_lastTurn[running.task.task.owner] = ++m_turns;
    running.run = m_launcher.Start(running.task, turn.reason, running.last.report);
    if (const auto outcome = running.run->Ended()) {
        Tell(running.task, Finish(running, *outcome, moment));
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
            Tell(running.task, Finish(running, *outcome, moment));
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
    std::erase_if(m_notices, [](const auto& notice) { return notice->HasEnded(); });
}

void Planner::Tell(const KeptTask& task, const LastRun& last) {
    if (auto notice = m_launcher.Tell(task, last)) {
        m_notices.push_back(std::move(notice));
    }
}

LastRun Planner::Finish(Running& running, const Outcome& outcome, const Moment& moment) {
    LastRun last = running.last;
    last.end = SecondsOf(moment.now);
    last.result = static_cast<int>(running.isTooLong ? kScheduleRunTookTooLong : outcome.result);
    last.infected = outcome.infected;
    last.unread = outcome.unread;
    last.report = outcome.report;
    last.detail = outcome.detail;
    if (m_list.Note(running.task.id, last) != kScheduleOk) {
        ::syslog(LOG_ERR, "the list of tasks cannot be written: how a scan ended is not kept");
    }
    m_isStale = true;
    return last;
}

void Planner::StopAll(const Moment& moment) {
    for (const Running& running : m_running) {
        running.run->Stop();
    }
    for (Running& running : m_running) {
        Outcome outcome = running.run->EndNow();
        outcome.result = kScheduleRunInterrupted;
        outcome.detail = "the scheduler was stopped";
        // Nobody is told: the machine is shut down, or whoever stops the service knows.
        (void)Finish(running, outcome, moment);
    }
    m_running.clear();
    m_notices.clear();
}

}  // namespace schdlscn
