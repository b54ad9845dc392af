#include "product/schdlscn/list_file.h"

#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <optional>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "product/schdlscn/statement.h"

namespace schdlscn {

namespace {

// "CVTL" in the file's header, and the layout's version behind it.
constexpr char kHeader[] = "PRAGMA application_id = 1129731148; PRAGMA user_version = 1";
constexpr std::int64_t kApplicationId = 1129731148;
constexpr std::int64_t kLayoutVersion = 1;

constexpr mode_t kListMode = 0600;
constexpr int kTimeoutMs = 1000;  // who asks the service waits two seconds
constexpr int kMostBytesOfField = 64 * 1024;

// Names and paths are bytes. A number is never given to a second task: a run that ends late must
// not be noted at another's.
constexpr char kMakeTables[] =
    "CREATE TABLE task ("
    " id INTEGER PRIMARY KEY AUTOINCREMENT, name BLOB NOT NULL UNIQUE, owner INTEGER NOT NULL,"
    " owner_name BLOB NOT NULL, frequency INTEGER NOT NULL, start_mode INTEGER NOT NULL,"
    " hour INTEGER NOT NULL, minute INTEGER NOT NULL, second INTEGER NOT NULL,"
    " repeats INTEGER NOT NULL, repeat_interval INTEGER NOT NULL, repeat_value INTEGER NOT NULL,"
    " repeat_unit INTEGER NOT NULL, weekday INTEGER NOT NULL, found_action INTEGER NOT NULL,"
    " options INTEGER NOT NULL, made_day INTEGER NOT NULL, settled_until INTEGER NOT NULL,"
    " settled_day INTEGER, settled_boot BLOB NOT NULL, settled_in_boot INTEGER,"
    " last_start INTEGER NOT NULL DEFAULT 0, last_end INTEGER NOT NULL DEFAULT 0,"
    " last_result INTEGER NOT NULL DEFAULT 0, last_reason INTEGER NOT NULL DEFAULT 0,"
    " last_infected INTEGER NOT NULL DEFAULT 0, last_unread INTEGER NOT NULL DEFAULT 0,"
    " last_report BLOB NOT NULL DEFAULT x'', last_detail BLOB NOT NULL DEFAULT x'') STRICT;"
    "CREATE INDEX task_of_owner ON task (owner);"
    "CREATE TABLE folder ("
    " task INTEGER NOT NULL REFERENCES task ON DELETE CASCADE, position INTEGER NOT NULL,"
    " path BLOB NOT NULL, PRIMARY KEY (task, position)) STRICT, WITHOUT ROWID";

std::optional<std::int64_t> OneNumber(sqlite3* connection, const char* sql) {
    Statement statement(connection, sql);
    return statement.Step() ? std::optional(statement.Number()) : std::nullopt;
}

/// A new list is an empty file of its own: SQLite would make one that others may read.
ScheduleError MakeFile(const std::string& path) {
    const common::FileDescriptor file(
        ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, kListMode));
    return file || errno == EEXIST ? kScheduleOk : kScheduleListUnusable;
}

/// The file is judged by its name and never opened by us: closing a descriptor of it would drop
/// SQLite's locks. Whoever else could write it could choose what runs as root.
ScheduleError CheckFile(const std::string& path) {
    struct stat file {};
    if (::lstat(path.c_str(), &file) != 0) {
        return errno == ENOENT ? MakeFile(path) : kScheduleListUnusable;
    }
    const bool isOurs = S_ISREG(file.st_mode) && file.st_uid == ::geteuid() && file.st_nlink == 1 &&
                        (file.st_mode & (S_IWGRP | S_IWOTH)) == 0;
    return isOurs ? kScheduleOk : kScheduleListUnusable;
}

/// Fills an empty file; of another one, says whether it is a list.
ScheduleError MakeTables(sqlite3* connection) {
    const auto id = OneNumber(connection, "PRAGMA application_id");
    const auto version = OneNumber(connection, "PRAGMA user_version");
    const auto tables = OneNumber(connection, "SELECT count(*) FROM sqlite_schema");
    if (!id || !version || !tables) {
        return kScheduleListUnusable;
    }
    if (*id == 0 && *version == 0 && *tables == 0) {
        const ScheduleError error = Execute(connection, kMakeTables);
        return error == kScheduleOk ? Execute(connection, kHeader) : error;
    }
    return *id == kApplicationId && *version == kLayoutVersion ? kScheduleOk
                                                               : kScheduleListUnusable;
}

}  // namespace

void CloseList::operator()(sqlite3* connection) const {
    sqlite3_close_v2(connection);
}

ScheduleError ResultOf(int code) {
    return code == SQLITE_OK || code == SQLITE_DONE ? kScheduleOk : kScheduleListUnusable;
}

ScheduleError Execute(sqlite3* connection, const char* sql) {
    return ResultOf(sqlite3_exec(connection, sql, nullptr, nullptr, nullptr));
}

ScheduleError OpenList(const std::string& path, ListConnection& connection) {
    if (const ScheduleError error = CheckFile(path); error != kScheduleOk) {
        return error;
    }
    sqlite3* raw = nullptr;
    const int code = sqlite3_open_v2(path.c_str(), &raw,
                                     SQLITE_OPEN_READWRITE | SQLITE_OPEN_FULLMUTEX |
                                         SQLITE_OPEN_PRIVATECACHE | SQLITE_OPEN_EXRESCODE,
                                     "unix");
    connection.reset(raw);
    ScheduleError error = ResultOf(code);
    if (error == kScheduleOk) {
        sqlite3_busy_timeout(raw, kTimeoutMs);
        sqlite3_limit(raw, SQLITE_LIMIT_LENGTH, kMostBytesOfField);
        sqlite3_db_config(raw, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
        error = Execute(raw,
                        "PRAGMA trusted_schema = OFF; PRAGMA cell_size_check = ON;"
                        "PRAGMA foreign_keys = ON; PRAGMA synchronous = EXTRA; BEGIN IMMEDIATE");
    }
    if (error == kScheduleOk) {
        error = MakeTables(raw);
    }
    if (error == kScheduleOk) {
        error = Execute(raw, "COMMIT");
    }
    if (error != kScheduleOk) {
        connection.reset();
    }
    return error;
}

}  // namespace schdlscn
