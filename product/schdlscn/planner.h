#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "product/schdlscn/moment.h"
#include "product/schdlscn/task_list.h"
#include "product/schdlscn/wire.h"

namespace schdlscn {

/// What became of a run.
struct Outcome {
    ScheduleResult result = kScheduleRunNotStarted;
    std::int64_t infected = 0;
    std::int64_t unread = 0;
    std::string report = {};  ///< a plain name, empty without one
    std::string detail = {};  ///< the system's words about a failure
};

/// A run under way.
class Run {
public:
    Run() = default;
    virtual ~Run() = default;
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

    /// Becomes readable when it has ended; -1 when it could not begin.
    [[nodiscard]] virtual int Descriptor() const = 0;
    /// The outcome, once it has ended; none before.
    virtual std::optional<Outcome> Ended() = 0;
    /// Asks it to end; asked again, makes it.
    virtual void Stop() = 0;
    /// Has it end within seconds. Not for one that has ended.
    virtual Outcome EndNow() = 0;
};

/// Somebody who is being told how a run ended. Ends by itself, and at once with this object.
class Notice {
public:
    Notice() = default;
    virtual ~Notice() = default;
    Notice(const Notice&) = delete;
    Notice& operator=(const Notice&) = delete;

    /// Becomes readable when it has ended.
    [[nodiscard]] virtual int Descriptor() const = 0;
    virtual bool HasEnded() = 0;
};

/// How runs are begun.
class Launcher {
public:
    Launcher() = default;
    virtual ~Launcher() = default;
    Launcher(const Launcher&) = delete;
    Launcher& operator=(const Launcher&) = delete;

    /// What the report of the next run is to be called; empty when there can be none.
    virtual std::string NameReport() = 0;
    /// Begins a run of the task for that reason, with a new report of that name; never null.
    virtual std::unique_ptr<Run> Start(const KeptTask& task, ScheduleReason reason,
                                       const std::string& report) = 0;
    /// Puts in order what the last run of the task has left, whose end nobody saw. Result: the name
    /// of its report; empty without one.
    virtual std::string Recover(const KeptTask& task) = 0;
    /// Lets the owner of the task know how its run ended, when that is worth it. Does not wait;
    /// null when there is nothing to be told, or nobody.
    virtual std::unique_ptr<Notice> Tell(const KeptTask& task, const LastRun& last) = 0;
    /// Deletes a report that a run has left, `user`'s own, and for root anybody's.
    virtual ScheduleError DeleteReport(const std::string& report, uid_t user) = 0;
};

/// Has tasks run when they are due: one at a time for a user, two at once, users in turn, each for
/// a day at most. What has become of them stands in the list. For one thread.
class Planner {
public:
    /// Both outlive it. Runs that the list calls unfinished were ended with the planner before.
    Planner(TaskList& list, Launcher& launcher, const Moment& moment);

    /// To be called when its time has come, when a run has ended, and after every change of the
    /// list or the clock. Does what is due. Result: when it is to be called next without any of
    /// that.
    std::optional<std::chrono::sys_seconds> Look(const Moment& moment);

    /// Has a task that `user` may see run when its turn comes, by the next Look(). When it is due
    /// next does not change. kScheduleAlreadyRunning for one that runs or waits already.
    ScheduleError RunSoon(const std::string& name, uid_t user, const Moment& moment);

    /// How a task that `user` may see stands; of an empty name, that there is a service.
    ScheduleError Tell(const std::string& name, uid_t user, const Moment& moment,
                       TaskState& state) const;

    /// The list has changed.
    void Reload() { m_isStale = true; }

    /// Readable when a run, or the telling of one, has ended.
    [[nodiscard]] std::vector<int> Descriptors() const;

    /// Ends all runs and notes that they were interrupted.
    void StopAll(const Moment& moment);

private:
    struct Running {
        KeptTask task;
        LastRun last;
        std::chrono::seconds begun;  ///< since the machine started
        bool isTooLong = false;
        std::unique_ptr<Run> run;
    };

    /// Something to be run.
    struct Turn {
        const KeptTask* task;
        std::chrono::sys_seconds from;  ///< not before that
        ScheduleReason reason;
        Settled settled;  ///< what is settled by it
    };

    void NoticeSleep(const Moment& moment);
    bool MarkInterrupted(const Moment& moment);
    bool ReadTasks();
    void Collect(const Moment& moment);
    LastRun Finish(Running& running, const Outcome& outcome, const Moment& moment);
    void Tell(const KeptTask& task, const LastRun& last);
    [[nodiscard]] std::optional<Turn> NextTurnOf(const KeptTask& task, const Moment& moment) const;
    [[nodiscard]] std::uint32_t FlagsOf(const KeptTask& task, const Moment& moment) const;
    [[nodiscard]] std::optional<Turn> TurnOf(const KeptTask& task, const Moment& moment);
    [[nodiscard]] bool IsFree(uid_t user) const;
    [[nodiscard]] bool IsRunning(std::int64_t id) const;
    bool Begin(const Turn& turn, const Moment& moment);
    void BeginAll(std::vector<Turn> turns, const Moment& moment);
    void WakeAt(std::chrono::sys_seconds moment);

    TaskList& m_list;
    Launcher& m_launcher;
    bool m_isSettled = false;  ///< what was broken off with the planner before
    bool m_isStale = true;
    std::vector<KeptTask> m_tasks;
    std::vector<Running> m_running;
    std::vector<std::unique_ptr<Notice>> m_notices;
    std::chrono::seconds m_back;  ///< since when the service is there, by the time since the start
    std::chrono::seconds m_asleep;  ///< how long the machine has slept up to now
    std::uint64_t m_turns = 0;
    /// What somebody wants to have run now, and since when; forgotten with this process.
    std::map<std::int64_t, std::chrono::sys_seconds> m_asked;
    std::map<uid_t, std::uint64_t> m_lastTurn;  ///< of each user; a lower one comes first
    std::optional<std::chrono::sys_seconds> m_wake;
};

}  // namespace schdlscn
