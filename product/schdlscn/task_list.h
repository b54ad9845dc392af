#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "product/schdlscn/list_file.h"
#include "product/schdlscn/task.h"

namespace schdlscn {

/// Up to where the runs of a task are settled.
struct Settled {
    std::int64_t until = 0;                   ///< seconds since 1970
    std::optional<std::int64_t> day = {};     ///< days since 1970: the last due day that had a run
    std::string boot = {};                    ///< the start of the machine that `inBoot` is about
    std::optional<std::int64_t> inBoot = {};  ///< seconds after it

    friend bool operator==(const Settled&, const Settled&) = default;
};

/// A task with what only the scheduler knows of it.
struct KeptTask {
    std::int64_t id = 0;  ///< never given to another task
    Task task;
    std::string ownerName;     ///< of its owner, when it was added
    std::int64_t madeDay = 0;  ///< days since 1970
    Settled settled;
    LastRun last;
};

/// The list of tasks, a SQLite file that nobody but its owner, root, reads. What is done to it is
/// on the disk when it returns, or not done: no killed process leaves half a change.
///
/// Everything answers with a ScheduleError; kScheduleListUnusable for a list that cannot be used.
/// `user` is who asks: root sees all tasks, everybody else their own. For one thread.
class TaskList {
public:
    /// A new task's owner and time.
    struct Origin {
        uid_t user = 0;
        std::string name;      ///< of the user
        std::int64_t day = 0;  ///< days since 1970, local
        Settled settled;       ///< nothing that was due up to then is the task's
    };

    explicit TaskList(std::string path);
    ~TaskList();
    TaskList(const TaskList&) = delete;
    TaskList& operator=(const TaskList&) = delete;

    /// Whether `user` may add a task of that name.
    ScheduleError CheckName(std::string_view name, uid_t user);

    /// Adds the task for its origin, whatever the owner in it.
    ScheduleError Add(const Task& task, const Origin& origin);

    /// Replaces what a person has chosen of the task of that name. It keeps its owner, its day and
    /// how its last run went. Nothing that was due up to `settled` is left to be run.
    ScheduleError Modify(const Task& task, uid_t user, const Settled& settled);

    ScheduleError Delete(std::string_view name, uid_t user);
    ScheduleError Get(std::string_view name, uid_t user, KeptTask& found);

    /// In the order in which they were added.
    ScheduleError List(uid_t user, std::vector<KeptTask>& found);

    /// Notes the course of a run. Nothing happens to a task that is gone.
    ScheduleError Note(std::int64_t id, const LastRun& last);
    /// The same, and up to where its runs are settled, both or none.
    ScheduleError Note(std::int64_t id, const LastRun& last, const Settled& settled);

private:
    template <typename Work>
    ScheduleError InTransaction(const char* begin, Work work);

    std::string m_path;
    ListConnection m_connection;
};

}  // namespace schdlscn
