#pragma once

#include <cstdint>
#include <string>

// The settings database: one SQLite file, "settings.db", in the product directory.
//
// It belongs to root with the mode 0644. The program runs as an ordinary user and the password is
// checked inside it, so every user can read the hash; a slow hash is what protects it. A helper
// with privileges of its own, or a daemon, could keep the hash from sight, but either is a new way
// to become root, and the password guards a page of the window, not the machine: the scanner's
// option file itself is open to every user. Hence also the advice of corvane-admin(8) not to use a
// password that opens anything else.
//
// The journal is SQLite's rollback journal: a write-ahead log would need every reader to write.
// When a writer was killed half-way, readers get kInterrupted, and the next writer rolls back.
//
// All functions may be called from any thread and process at the same time.

namespace dbmod {

inline constexpr char kSettingsDatabaseName[] = "settings.db";

/// How an operation on the database ended.
enum class DatabaseStatus {
    kOk,
    kMissing,
    kExists,       ///< CreateDatabase found something under the name
    kForbidden,    ///< the caller may not read or write it
    kUntrusted,    ///< a link or no plain file, a stranger's, or writable by others
    kLocked,       ///< another process holds it
    kInterrupted,  ///< a writer was killed half-way and a reader cannot roll back
    kDamaged,      ///< not a settings database, or not whole
    kDiskFull,
    kFailed,  ///< anything else: see systemError
};

struct DatabaseResult {
    DatabaseStatus status = DatabaseStatus::kOk;
    int systemError = 0;  ///< errno, or 0

    [[nodiscard]] bool IsOk() const { return status == DatabaseStatus::kOk; }
};

/// What is stored about the settings password.
struct PasswordState {
    std::string hash;            ///< empty when no password is set
    std::int64_t changedAt = 0;  ///< seconds since 1970, 0 when never set

    [[nodiscard]] bool IsSet() const { return !hash.empty(); }
};

enum class DatabaseAccess {
    kReadOnly,   ///< writes nothing, ever
    kReadWrite,  ///< first undoes what a killed writer left
};

/// Reads the password's state. kOk only when the whole file is sound and says outright that there
/// is a password or that there is none; `state` is untouched otherwise. Waits half a second for a
/// lock.
DatabaseResult ReadPasswordState(const std::string& path, DatabaseAccess access,
                                 PasswordState& state);

/// Stores `state` in one transaction: it is stored whole or the old one remains. The database must
/// be there and be sound. Waits five seconds for readers.
DatabaseResult WritePasswordState(const std::string& path, const PasswordState& state);

/// Makes a new database without a password, complete and with its mode from the moment its name
/// appears. Never replaces anything, but removes a journal that has lost its database.
DatabaseResult CreateDatabase(const std::string& path);

}  // namespace dbmod
