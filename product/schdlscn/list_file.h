#pragma once

#include <memory>
#include <string>

#include "abi/schdlscn.h"

struct sqlite3;

// The file of the list of tasks. For one thread.

namespace schdlscn {

struct CloseList {
    void operator()(sqlite3* connection) const;
};
using ListConnection = std::unique_ptr<sqlite3, CloseList>;

/// Opens the list at `path`, which is made where it is missing and the caller's alone. Refused,
/// with kScheduleListUnusable and without a connection: a link, what belongs to another or what
/// others may write, and what is no list of this layout.
ScheduleError OpenList(const std::string& path, ListConnection& connection);

/// What a result of SQLite means to who asks.
ScheduleError ResultOf(int code);

/// Runs statements that have no values and no rows.
ScheduleError Execute(sqlite3* connection, const char* sql);

}  // namespace schdlscn
