#include "product/libdbmod/settings_database.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <sqlite3.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "product/libdbmod/password_hash.h"

namespace dbmod {

namespace {

// "CVSB" in the file's header, and the layout's version behind it.
constexpr int kApplicationId = 0x43565342;
constexpr int kLayoutVersion = 1;

// No password is a text of its own, not an absent row or an empty field: no damage that empties
// something can turn a set password into none.
constexpr std::string_view kNoPassword = "no password is set";

constexpr off_t kMaxDatabaseSize = off_t{1024} * 1024;
constexpr int kMaxFieldBytes = 64 * 1024;
constexpr int kReadTimeoutMs = 500;
constexpr int kWriteTimeoutMs = 5000;
constexpr mode_t kDatabaseMode = 0644;

constexpr char kMakeTable[] =
    "CREATE TABLE settings_password ("
    " id INTEGER PRIMARY KEY CHECK (id = 1),"
    " secret TEXT NOT NULL,"
    " changed_at INTEGER NOT NULL,"
    " checksum INTEGER NOT NULL"
    ") STRICT";

DatabaseStatus StatusOf(int code, int systemError) {
    if (code == SQLITE_READONLY_ROLLBACK || code == SQLITE_READONLY_RECOVERY) {
        return DatabaseStatus::kInterrupted;
    }
    switch (code & 0xff) {
        case SQLITE_OK:
        case SQLITE_DONE:
        case SQLITE_ROW:
            return DatabaseStatus::kOk;
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            return DatabaseStatus::kLocked;
        case SQLITE_FULL:
            return DatabaseStatus::kDiskFull;
        case SQLITE_READONLY:
        case SQLITE_PERM:
        case SQLITE_AUTH:
            return DatabaseStatus::kForbidden;
        case SQLITE_CANTOPEN:
        case SQLITE_IOERR:
            break;
        case SQLITE_NOMEM:
            return DatabaseStatus::kFailed;
        default:
            return DatabaseStatus::kDamaged;
    }
    switch (systemError) {
        case ENOENT:
            return DatabaseStatus::kMissing;
        case EACCES:
        case EPERM:
        case EROFS:
            return DatabaseStatus::kForbidden;
        case ELOOP:
            return DatabaseStatus::kUntrusted;
        case ENOSPC:
        case EDQUOT:
        case EFBIG:
            return DatabaseStatus::kDiskFull;
        default:
            return (code & 0xff) == SQLITE_CANTOPEN ? DatabaseStatus::kFailed
                                                    : DatabaseStatus::kDamaged;
    }
}

DatabaseResult FromErrno(int systemError) {
    return {StatusOf(SQLITE_CANTOPEN, systemError), systemError};
}

struct CloseConnection {
    void operator()(sqlite3* connection) const { sqlite3_close_v2(connection); }
};
using Connection = std::unique_ptr<sqlite3, CloseConnection>;

struct FinishStatement {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, FinishStatement>;

DatabaseResult ResultOf(sqlite3* connection, int code) {
    if ((code & 0xff) == SQLITE_NOMEM) {
        return {DatabaseStatus::kFailed, ENOMEM};
    }
    const int systemError = connection != nullptr ? sqlite3_system_errno(connection) : 0;
    const DatabaseStatus status = StatusOf(code, systemError);
    return {status, status == DatabaseStatus::kOk ? 0 : systemError};
}

DatabaseResult Damaged() {
    return {DatabaseStatus::kDamaged, 0};
}

DatabaseResult Run(sqlite3* connection, const char* sql) {
    return ResultOf(connection, sqlite3_exec(connection, sql, nullptr, nullptr, nullptr));
}

DatabaseResult Prepare(sqlite3* connection, const char* sql, Statement& statement) {
    sqlite3_stmt* raw = nullptr;
    const int code = sqlite3_prepare_v2(connection, sql, -1, &raw, nullptr);
    statement.reset(raw);
    return ResultOf(connection, code);
}

/// Runs a statement that must answer one value, and checks it.
DatabaseResult Expect(sqlite3* connection, const char* sql, std::string_view wanted) {
    Statement statement;
    if (const DatabaseResult result = Prepare(connection, sql, statement); !result.IsOk()) {
        return result;
    }
    const int code = sqlite3_step(statement.get());
    if (code != SQLITE_ROW) {
        return code == SQLITE_DONE ? Damaged() : ResultOf(connection, code);
    }
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement.get(), 0));
    return text != nullptr && text == wanted ? DatabaseResult{} : Damaged();
}

/// What is in the way is judged before it is opened, and never opened by us: closing a descriptor
/// of the file would drop the locks of every other reader in this process.
DatabaseResult CheckFile(const std::string& path) {
    struct stat file {};
    struct stat directory {};
    if (lstat(path.c_str(), &file) != 0 ||
        stat(std::filesystem::path(path).parent_path().c_str(), &directory) != 0) {
        return FromErrno(errno);
    }
    const bool trusted = S_ISREG(file.st_mode) && (file.st_mode & (S_IWGRP | S_IWOTH)) == 0 &&
                         (file.st_uid == 0 || file.st_uid == directory.st_uid);
    if (!trusted) {
        return {DatabaseStatus::kUntrusted, 0};
    }
    return file.st_size == 0 || file.st_size > kMaxDatabaseSize ? Damaged() : DatabaseResult{};
}

/// The path with its directory's links followed, as the open below takes no link anywhere.
std::string Canonical(const std::string& path) {
    const std::filesystem::path whole(path);
    std::error_code error;
    const auto directory = std::filesystem::canonical(whole.parent_path(), error);
    return error ? path : (directory / whole.filename()).string();
}

DatabaseResult OpenConnection(const std::string& path, DatabaseAccess access, int timeoutMs,
                              Connection& connection) {
    const int flags =
        (access == DatabaseAccess::kReadOnly ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE) |
        SQLITE_OPEN_NOFOLLOW | SQLITE_OPEN_FULLMUTEX | SQLITE_OPEN_PRIVATECACHE |
        SQLITE_OPEN_EXRESCODE;
    sqlite3* raw = nullptr;
    const int code = sqlite3_open_v2(Canonical(path).c_str(), &raw, flags, "unix");
    connection.reset(raw);
    if (code != SQLITE_OK) {
        return ResultOf(raw, code);
    }
    // SQLite falls back to reading alone where it may not write.
    if (access == DatabaseAccess::kReadWrite && sqlite3_db_readonly(raw, "main") == 1) {
        return {DatabaseStatus::kForbidden, EACCES};
    }
    sqlite3_busy_timeout(raw, timeoutMs);
    sqlite3_limit(raw, SQLITE_LIMIT_LENGTH, kMaxFieldBytes);
    sqlite3_db_config(raw, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    // EXTRA also syncs the directory, so that a stored password survives a power cut. What is
    // freed is overwritten: neither an old hash nor an old "no password" stays in the file.
    return Run(raw,
               "PRAGMA trusted_schema = OFF; PRAGMA cell_size_check = ON;"
               "PRAGMA secure_delete = ON; PRAGMA synchronous = EXTRA");
}

/// FNV-1a over the row. It finds damage; a forger could compute it, but would have to be root.
std::int64_t Checksum(std::string_view secret, std::int64_t changedAt) {
    std::uint64_t sum = 0xcbf29ce484222325;
    const auto add = [&sum](unsigned char byte) { sum = (sum ^ byte) * 0x100000001b3; };
    for (const char c : secret) {
        add(static_cast<unsigned char>(c));
    }
    add(0);
    for (unsigned int shift = 0; shift < 64; shift += 8) {
        add(static_cast<unsigned char>(static_cast<std::uint64_t>(changedAt) >> shift));
    }
    return static_cast<std::int64_t>(sum);
}

DatabaseResult ReadRow(sqlite3* connection, PasswordState& state) {
    Statement statement;
    if (const DatabaseResult result =
            Prepare(connection, "SELECT id, secret, changed_at, checksum FROM settings_password",
                    statement);
        !result.IsOk()) {
        return result;
    }
    sqlite3_stmt* row = statement.get();
    int code = sqlite3_step(row);
    if (code != SQLITE_ROW) {
        return code == SQLITE_DONE ? Damaged() : ResultOf(connection, code);
    }
    if (sqlite3_column_type(row, 0) != SQLITE_INTEGER || sqlite3_column_int64(row, 0) != 1 ||
        sqlite3_column_type(row, 1) != SQLITE_TEXT ||
        sqlite3_column_type(row, 2) != SQLITE_INTEGER ||
        sqlite3_column_type(row, 3) != SQLITE_INTEGER) {
        return Damaged();
    }
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(row, 1));
    if (text == nullptr) {
        return {DatabaseStatus::kFailed, ENOMEM};
    }
    const std::string secret(text, static_cast<std::size_t>(sqlite3_column_bytes(row, 1)));
    const std::int64_t changedAt = sqlite3_column_int64(row, 2);
    if (changedAt < 0 || sqlite3_column_int64(row, 3) != Checksum(secret, changedAt) ||
        (secret != kNoPassword && !IsUsableHash(secret))) {
        return Damaged();
    }
    code = sqlite3_step(row);
    if (code != SQLITE_DONE) {
        return code == SQLITE_ROW ? Damaged() : ResultOf(connection, code);
    }
    state.hash = secret == kNoPassword ? std::string() : secret;
    state.changedAt = changedAt;
    return {};
}

/// Reads the state inside the transaction that is open on `connection`.
DatabaseResult ReadChecked(sqlite3* connection, PasswordState& state) {
    const std::string applicationId = std::to_string(kApplicationId);
    const std::string layoutVersion = std::to_string(kLayoutVersion);
    DatabaseResult result = Expect(connection, "PRAGMA application_id", applicationId);
    if (result.IsOk()) {
        result = Expect(connection, "PRAGMA user_version", layoutVersion);
    }
    if (result.IsOk()) {
        result = Expect(connection, "PRAGMA quick_check(1)", "ok");
    }
    return result.IsOk() ? ReadRow(connection, state) : result;
}

DatabaseResult StoreRow(sqlite3* connection, const char* sql, const PasswordState& state) {
    Statement statement;
    if (const DatabaseResult result = Prepare(connection, sql, statement); !result.IsOk()) {
        return result;
    }
    const std::string_view secret = state.IsSet() ? std::string_view(state.hash) : kNoPassword;
    sqlite3_bind_text(statement.get(), 1, secret.data(), static_cast<int>(secret.size()),
                      SQLITE_TRANSIENT);
    sqlite3_bind_int64(statement.get(), 2, state.changedAt);
    sqlite3_bind_int64(statement.get(), 3, Checksum(secret, state.changedAt));
    const DatabaseResult result = ResultOf(connection, sqlite3_step(statement.get()));
    return result.IsOk() && sqlite3_changes(connection) != 1 ? Damaged() : result;
}

/// Fills the empty file `path`, which belongs to us alone.
DatabaseResult FillDatabase(const std::string& path) {
    Connection connection;
    DatabaseResult result =
        OpenConnection(path, DatabaseAccess::kReadWrite, kWriteTimeoutMs, connection);
    const std::string header = "PRAGMA application_id = " + std::to_string(kApplicationId) +
                               "; PRAGMA user_version = " + std::to_string(kLayoutVersion);
    for (const char* sql : {"BEGIN IMMEDIATE", header.c_str(), kMakeTable}) {
        if (result.IsOk()) {
            result = Run(connection.get(), sql);
        }
    }
    if (result.IsOk()) {
        result = StoreRow(connection.get(), "INSERT INTO settings_password VALUES (1, ?, ?, ?)",
                          PasswordState{});
    }
    return result.IsOk() ? Run(connection.get(), "COMMIT") : result;
}

}  // namespace

DatabaseResult ReadPasswordState(const std::string& path, DatabaseAccess access,
                                 PasswordState& state) {
    if (const DatabaseResult result = CheckFile(path); !result.IsOk()) {
        return result;
    }
    Connection connection;
    DatabaseResult result = OpenConnection(path, access, kReadTimeoutMs, connection);
    if (result.IsOk()) {
        result = Run(connection.get(), "BEGIN");  // One state of the file for check and read.
    }
    PasswordState found;
    if (result.IsOk()) {
        result = ReadChecked(connection.get(), found);
    }
    if (result.IsOk()) {
        state = std::move(found);
    }
    return result;
}

DatabaseResult WritePasswordState(const std::string& path, const PasswordState& state) {
    if (const DatabaseResult result = CheckFile(path); !result.IsOk()) {
        return result;
    }
    Connection connection;
    DatabaseResult result =
        OpenConnection(path, DatabaseAccess::kReadWrite, kWriteTimeoutMs, connection);
    if (result.IsOk()) {
        result = Run(connection.get(), "BEGIN IMMEDIATE");
    }
    PasswordState old;
    if (result.IsOk()) {
        result = ReadChecked(connection.get(), old);
    }
    if (result.IsOk()) {
        result = StoreRow(connection.get(),
                          "UPDATE settings_password SET secret = ?, changed_at = ?, checksum = ?",
                          state);
    }
    // Closing the connection rolls back whatever did not come this far.
    return result.IsOk() ? Run(connection.get(), "COMMIT") : result;
}

DatabaseResult CreateDatabase(const std::string& path) {
    // SQLite would undo a dead writer's changes in the new database, with pages of an old one that
    // has been moved away without its journal.
    const std::string journal = path + "-journal";
    if (access(path.c_str(), F_OK) != 0 && errno == ENOENT && unlink(journal.c_str()) != 0 &&
        errno != ENOENT) {
        return FromErrno(errno);
    }
    std::string temporary = path + ".XXXXXX";
    common::FileDescriptor file(mkostemp(temporary.data(), O_CLOEXEC));
    if (!file) {
        return FromErrno(errno);
    }
    DatabaseResult result;
    if (fchmod(file.Get(), kDatabaseMode) != 0) {
        result = FromErrno(errno);
    }
    file.Reset();
    if (result.IsOk()) {
        result = FillDatabase(temporary);
    }
    // A hard link, not a rename: it fails when the name is taken.
    if (result.IsOk() && link(temporary.c_str(), path.c_str()) != 0) {
        result =
            errno == EEXIST ? DatabaseResult{DatabaseStatus::kExists, EEXIST} : FromErrno(errno);
    }
    unlink(temporary.c_str());
    unlink((temporary + "-journal").c_str());
    return result;
}

}  // namespace dbmod
