#include "product/schdlscn/task_list.h"

#include <sqlite3.h>

#include "product/schdlscn/list_file.h"
#include "product/schdlscn/statement.h"

namespace schdlscn {

namespace {

#define SCHDLSCN_TASK_COLUMNS                                                                \
    "id, name, owner, owner_name, frequency, start_mode, hour, minute, second, repeats,"     \
    " repeat_interval, repeat_value, repeat_unit, weekday, found_action, options, made_day," \
    " settled_until, settled_day, settled_boot, settled_in_boot, last_start, last_end,"      \
    " last_result, last_reason, last_infected, last_unread, last_report, last_detail"

KeptTask TakeTask(Statement& row) {
    KeptTask kept;
    kept.id = row.Number();
    kept.task.name = row.Bytes();
    kept.task.owner = static_cast<uid_t>(row.Number());
    kept.ownerName = row.Bytes();
    for (int Task::*field : {&Task::frequency, &Task::startMode, &Task::hour, &Task::minute,
                             &Task::second, &Task::repeats, &Task::interval, &Task::repeatValue,
                             &Task::repeatUnit, &Task::weekday, &Task::action, &Task::options}) {
        kept.task.*field = row.Small();
    }
    kept.madeDay = row.Number();
    kept.settled.until = row.Number();
    kept.settled.day = row.MaybeNumber();
    kept.settled.boot = row.Bytes();
    kept.settled.inBoot = row.MaybeNumber();
    kept.last.start = row.Number();
    kept.last.end = row.Number();
    kept.last.result = row.Small();
    kept.last.reason = row.Small();
    kept.last.infected = row.Number();
    kept.last.unread = row.Number();
    kept.last.report = row.Bytes();
    kept.last.detail = row.Bytes();
    return kept;
}

/// In the order of kMakeTables, from "frequency" to "options".
void BindChoices(Statement& statement, const Task& task) {
    for (const int number : {task.frequency, task.startMode, task.hour, task.minute, task.second,
                             task.repeats, task.interval, task.repeatValue, task.repeatUnit,
                             task.weekday, task.action, task.options}) {
        statement.Bind(std::int64_t{number});
    }
}

void BindSettled(Statement& statement, const Settled& settled) {
    statement.Bind(settled.until).Bind(settled.day).Bind(settled.boot).Bind(settled.inBoot);
}

struct Found {
    std::int64_t id;
    uid_t owner;
};

/// The task of that name, whosever. The error is one of the list; none found is no error.
ScheduleError Find(sqlite3* connection, std::string_view name, std::optional<Found>& found) {
    Statement statement(connection, "SELECT id, owner FROM task WHERE name = ?");
    if (statement.Bind(name).Step()) {
        const std::int64_t id = statement.Number();
        found = Found{id, static_cast<uid_t>(statement.Number())};
        return kScheduleOk;
    }
    return ResultOf(statement.Code());
}

/// The task of that name that `user` may see.
ScheduleError FindVisible(sqlite3* connection, std::string_view name, uid_t user, Found& visible) {
    std::optional<Found> found;
    if (const ScheduleError error = Find(connection, name, found); error != kScheduleOk) {
        return error;
    }
    if (!found || (user != 0 && found->owner != user)) {
        return kScheduleNoSuchTask;
    }
    visible = *found;
    return kScheduleOk;
}

ScheduleError CheckFree(sqlite3* connection, std::string_view name, uid_t user) {
    std::optional<Found> found;
    if (const ScheduleError error = Find(connection, name, found); error != kScheduleOk) {
        return error;
    }
    if (!found) {
        return kScheduleOk;
    }
    return found->owner == user ? kScheduleNameTaken : kScheduleNameTakenByOther;
}

ScheduleError CheckRoom(sqlite3* connection, uid_t user) {
    Statement statement(connection, "SELECT count(*) FROM task WHERE owner = ?");
    if (!statement.Bind(std::int64_t{user}).Step()) {
        return kScheduleListUnusable;
    }
    const bool isFull = statement.Number() >= static_cast<std::int64_t>(kMostTasksOfUser);
    return isFull ? kScheduleTooManyTasks : kScheduleOk;
}

ScheduleError StoreFolders(sqlite3* connection, std::int64_t id, const Task& task) {
    Statement remove(connection, "DELETE FROM folder WHERE task = ?");
    ScheduleError error = ResultOf(remove.Bind(id).Run());
    std::int64_t position = 0;
    for (const std::string& folder : task.folders) {
        Statement add(connection, "INSERT INTO folder VALUES (?, ?, ?)");
        if (error == kScheduleOk) {
            error = ResultOf(add.Bind(id).Bind(position++).Bind(folder).Run());
        }
    }
    return error;
}

/// Takes the tasks that one statement finds, and their folders, which another one does. Both go by
/// the numbers of the tasks: a statement for each task would take ten times as long.
ScheduleError TakeTasks(Statement& tasks, Statement& folders, std::vector<KeptTask>& found) {
    while (tasks.Step()) {
        found.push_back(TakeTask(tasks));
    }
    auto kept = found.begin();
    while (folders.Step()) {
        const std::int64_t id = folders.Number();
        while (kept != found.end() && kept->id < id) {
            ++kept;
        }
        if (kept == found.end() || kept->id != id) {
            return kScheduleListUnusable;
        }
        kept->task.folders.push_back(folders.Bytes());
    }
    const ScheduleError error = ResultOf(tasks.Code());
    return error == kScheduleOk ? ResultOf(folders.Code()) : error;
}

ScheduleError NoteLast(sqlite3* connection, std::int64_t id, const LastRun& last) {
    Statement statement(connection,
                        "UPDATE task SET last_start = ?, last_end = ?, last_result = ?,"
                        " last_reason = ?, last_infected = ?, last_unread = ?, last_report = ?,"
                        " last_detail = ? WHERE id = ?");
    statement.Bind(last.start).Bind(last.end).Bind(std::int64_t{last.result});
    statement.Bind(std::int64_t{last.reason}).Bind(last.infected).Bind(last.unread);
    return ResultOf(statement.Bind(last.report).Bind(last.detail).Bind(id).Run());
}

ScheduleError NoteSettled(sqlite3* connection, std::int64_t id, const Settled& settled) {
    Statement statement(connection,
                        "UPDATE task SET settled_until = ?, settled_day = ?, settled_boot = ?,"
                        " settled_in_boot = ? WHERE id = ?");
    BindSettled(statement, settled);
    return ResultOf(statement.Bind(id).Run());
}

constexpr char kReading[] = "BEGIN";
constexpr char kWriting[] = "BEGIN IMMEDIATE";

}  // namespace

TaskList::TaskList(std::string path) : m_path(std::move(path)) {}

TaskList::~TaskList() = default;

template <typename Work>
ScheduleError TaskList::InTransaction(const char* begin, Work work) {
    ScheduleError error = m_connection ? kScheduleOk : OpenList(m_path, m_connection);
    if (error != kScheduleOk) {
        return error;
    }
    sqlite3* const connection = m_connection.get();
    error = Execute(connection, begin);
    if (error == kScheduleOk) {
        error = work(connection);
    }
    if (error == kScheduleOk) {
        error = Execute(connection, "COMMIT");
    }
    if (error != kScheduleOk && sqlite3_get_autocommit(connection) == 0) {
        Execute(connection, "ROLLBACK");
    }
    return error;
}

ScheduleError TaskList::CheckName(std::string_view name, uid_t user) {
    if (const ScheduleError error = WrongInName(name); error != kScheduleOk) {
        return error;
    }
    return InTransaction(kReading,
                         [&](sqlite3* connection) { return CheckFree(connection, name, user); });
}

ScheduleError TaskList::Add(const Task& task, const Origin& origin) {
    if (const ScheduleError error = WrongInTask(task); error != kScheduleOk) {
        return error;
    }
    return InTransaction(kWriting, [&](sqlite3* connection) {
        ScheduleError error = CheckFree(connection, task.name, origin.user);
        if (error == kScheduleOk) {
            error = CheckRoom(connection, origin.user);
        }
        if (error != kScheduleOk) {
            return error;
        }
        Statement add(connection,
                      "INSERT INTO task (name, owner, owner_name, frequency, start_mode, hour,"
                      " minute, second, repeats, repeat_interval, repeat_value, repeat_unit,"
                      " weekday, found_action, options, made_day, settled_until, settled_day,"
                      " settled_boot, settled_in_boot) VALUES"
                      " (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
        add.Bind(task.name).Bind(std::int64_t{origin.user}).Bind(origin.name);
        BindChoices(add, task);
        add.Bind(origin.day);
        BindSettled(add, origin.settled);
        error = ResultOf(add.Run());
        return error == kScheduleOk
                   ? StoreFolders(connection, sqlite3_last_insert_rowid(connection), task)
                   : error;
    });
}

ScheduleError TaskList::Modify(const Task& task, uid_t user, const Settled& settled) {
    if (const ScheduleError error = WrongInTask(task); error != kScheduleOk) {
        return error;
    }
    return InTransaction(kWriting, [&](sqlite3* connection) {
        Found found{};
        if (const ScheduleError error = FindVisible(connection, task.name, user, found);
            error != kScheduleOk) {
            return error;
        }
        Statement change(connection,
                         "UPDATE task SET frequency = ?, start_mode = ?, hour = ?, minute = ?,"
                         " second = ?, repeats = ?, repeat_interval = ?, repeat_value = ?,"
                         " repeat_unit = ?, weekday = ?, found_action = ?, options = ?"
                         " WHERE id = ?");
        BindChoices(change, task);
        ScheduleError error = ResultOf(change.Bind(found.id).Run());
        if (error == kScheduleOk) {
            error = NoteSettled(connection, found.id, settled);
        }
        return error == kScheduleOk ? StoreFolders(connection, found.id, task) : error;
    });
}

ScheduleError TaskList::Delete(std::string_view name, uid_t user) {
    return InTransaction(kWriting, [&](sqlite3* connection) {
        Found found{};
        if (const ScheduleError error = FindVisible(connection, name, user, found);
            error != kScheduleOk) {
            return error;
        }
        Statement remove(connection, "DELETE FROM task WHERE id = ?");
        return ResultOf(remove.Bind(found.id).Run());
    });
}

ScheduleError TaskList::Get(std::string_view name, uid_t user, KeptTask& found) {
    return InTransaction(kReading, [&](sqlite3* connection) {
        Found visible{};
        ScheduleError error = FindVisible(connection, name, user, visible);
        std::vector<KeptTask> all;
        if (error == kScheduleOk) {
            Statement tasks(connection, "SELECT " SCHDLSCN_TASK_COLUMNS " FROM task WHERE id = ?");
            Statement folders(connection,
                              "SELECT task, path FROM folder WHERE task = ? ORDER BY position");
            error = TakeTasks(tasks.Bind(visible.id), folders.Bind(visible.id), all);
        }
        if (error == kScheduleOk) {
            found = std::move(all.at(0));
        }
        return error;
    });
}

ScheduleError TaskList::List(uid_t user, std::vector<KeptTask>& found) {
    return InTransaction(kReading, [&](sqlite3* connection) {
        const std::int64_t owner = user;
        Statement tasks(connection, "SELECT " SCHDLSCN_TASK_COLUMNS
                                    " FROM task WHERE ?1 = 0 OR owner = ?1 ORDER BY id");
        Statement folders(connection,
                          "SELECT task, path FROM folder"
                          " WHERE ?1 = 0 OR task IN (SELECT id FROM task WHERE owner = ?1)"
                          " ORDER BY task, position");
        std::vector<KeptTask> all;
        const ScheduleError error = TakeTasks(tasks.Bind(owner), folders.Bind(owner), all);
        if (error == kScheduleOk) {
            found = std::move(all);
        }
        return error;
    });
}

ScheduleError TaskList::Note(std::int64_t id, const LastRun& last) {
    return InTransaction(kWriting,
                         [&](sqlite3* connection) { return NoteLast(connection, id, last); });
}

ScheduleError TaskList::Note(std::int64_t id, const LastRun& last, const Settled& settled) {
    return InTransaction(kWriting, [&](sqlite3* connection) {
        const ScheduleError error = NoteLast(connection, id, last);
        return error == kScheduleOk ? NoteSettled(connection, id, settled) : error;
    });
}

}  // namespace schdlscn
