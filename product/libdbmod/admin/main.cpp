// corvane-admin: the settings password, the sources of updates and the sets of definitions.

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/paths.h"
#include "product/libdbmod/admin/arguments.h"
#include "product/libdbmod/admin/password_input.h"
#include "product/libdbmod/admin/update_commands.h"
#include "product/libdbmod/password_hash.h"
#include "product/libdbmod/settings_database.h"

namespace dbmod {
namespace {

enum ExitStatus { kExitOk = 0, kExitFailed = 1, kExitUsage = 2 };

constexpr char kUsage[] =
    "Usage: corvane-admin set-password [--stdin]\n"
    "       corvane-admin clear-password\n"
    "       corvane-admin status\n"
    "       corvane-admin init\n"
    "       corvane-admin definitions [--rollback]\n"
    "       corvane-admin sources [internet|server ADDRESS...|--none]\n"
    "       corvane-admin --help | --version\n"
    "\n"
    "Sets, changes and clears the password that guards the settings page of\n"
    "Corvane Endpoint Protection. The password is asked for twice on a terminal;\n"
    "one line is read when standard input is no terminal or --stdin is given.\n"
    "Shows the virus definitions, goes back to those before, and shows and writes\n"
    "the addresses that updates are loaded from.\n";

std::string DatabasePath() {
    return common::InProductDirectory(kSettingsDatabaseName);
}

ExitStatus Complain(const std::string& message) {
    std::fprintf(stderr, "corvane-admin: %s\n", message.c_str());
    return kExitFailed;
}

/// What went wrong with the database and what to do about it.
std::string Explain(const DatabaseResult& result) {
    const std::string path = DatabasePath();
    switch (result.status) {
        case DatabaseStatus::kMissing:
            return "there is no settings database; \"corvane-admin init\" makes one: " + path;
        case DatabaseStatus::kExists:
            return "the settings database was made by someone else at the same time: " + path;
        case DatabaseStatus::kForbidden:
            return "the settings database may not be written: " + path;
        case DatabaseStatus::kUntrusted:
            return "the settings database is a link, no plain file, a stranger's or writable by "
                   "others; it is left alone: " +
                   path;
        case DatabaseStatus::kLocked:
            return "the settings database is in use by another process; try again: " + path;
        case DatabaseStatus::kDiskFull:
            return "there is no room left on the disk for the settings database: " + path;
        case DatabaseStatus::kDamaged:
            return "the settings database is damaged, and the settings page stays closed; to "
                   "repair "
                   "it, move it away, run \"corvane-admin init\" and set the password again: " +
                   path;
        case DatabaseStatus::kOk:
        case DatabaseStatus::kInterrupted:
        case DatabaseStatus::kFailed:
            break;
    }
    const std::string reason =
        result.systemError != 0 ? std::strerror(result.systemError) : "unknown error";
    return "the settings database cannot be used: " + path + ": " + reason;
}

/// The message for a password that cannot be taken, or null.
const char* Objection(InputStatus status, const SecretText& password) {
    switch (status) {
        case InputStatus::kOk:
            return password.Length() == 0
                       ? "the password is empty; to remove it use \"corvane-admin clear-password\""
                       : nullptr;
        case InputStatus::kEnded:
            return "no password was given";
        case InputStatus::kTooLong:
            return "the password is longer than 511 bytes";
        case InputStatus::kZeroByte:
            return "the password holds a zero byte";
        case InputStatus::kFailed:
            break;
    }
    return "the password could not be read";
}

/// Reads the new password: twice from a terminal, once with --stdin and from anything else.
bool ReadNewPassword(bool fromStandardInput, SecretText& password) {
    const bool isTyped = isatty(STDIN_FILENO) == 1;
    const bool isAsked = isTyped && !fromStandardInput;
    const std::string_view prompt = isAsked ? "New settings password: " : "";
    const InputStatus status = isTyped ? AskPassword(STDIN_FILENO, prompt, password)
                                       : ReadPasswordLine(STDIN_FILENO, password);
    if (const char* objection = Objection(status, password)) {
        Complain(objection);
        return false;
    }
    if (isAsked) {
        SecretText repeated;
        if (AskPassword(STDIN_FILENO, "The same again: ", repeated) != InputStatus::kOk ||
            !(repeated == password)) {
            Complain("the two passwords are not the same");
            return false;
        }
    }
    return true;
}

ExitStatus SetPassword(bool fromStandardInput) {
    // Before the question: nobody should think of a password for a database that is not there.
    PasswordState old;
    DatabaseResult result = ReadPasswordState(DatabasePath(), DatabaseAccess::kReadWrite, old);
    if (!result.IsOk()) {
        return Complain(Explain(result));
    }
    PasswordState state;
    {
        SecretText password;
        if (!ReadNewPassword(fromStandardInput, password)) {
            return kExitFailed;
        }
        state.hash = HashPassword(password.Text());
    }
    if (!state.IsSet()) {
        return Complain(std::string("the password could not be hashed: ") + std::strerror(errno));
    }
    state.changedAt = std::time(nullptr);
    result = WritePasswordState(DatabasePath(), state);
    if (!result.IsOk()) {
        return Complain(Explain(result) + "\nThe settings password is unchanged.");
    }
    std::puts(old.IsSet() ? "The settings password has been changed."
                          : "The settings password has been set.");
    return kExitOk;
}

ExitStatus ClearPassword() {
    PasswordState state;
    state.changedAt = std::time(nullptr);
    const DatabaseResult result = WritePasswordState(DatabasePath(), state);
    if (!result.IsOk()) {
        return Complain(Explain(result) + "\nThe settings password is unchanged.");
    }
    std::puts("The settings password has been cleared.");
    return kExitOk;
}

ExitStatus ShowStatus() {
    PasswordState state;
    const DatabaseResult result =
        ReadPasswordState(DatabasePath(), DatabaseAccess::kReadWrite, state);
    if (!result.IsOk()) {
        return Complain(Explain(result));
    }
    std::fputs(state.IsSet() ? "A settings password is set" : "No settings password is set",
               stdout);
    const std::time_t changedAt = state.changedAt;
    std::tm local{};
    char text[64];
    if (changedAt != 0 && localtime_r(&changedAt, &local) != nullptr &&
        std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S %z", &local) != 0) {
        std::printf(" (last changed %s)", text);
    }
    std::puts(".");
    return kExitOk;
}

/// Safe to run again, as a package does at every upgrade: a sound database stays as it is.
ExitStatus Init() {
    PasswordState state;
    DatabaseResult result = ReadPasswordState(DatabasePath(), DatabaseAccess::kReadWrite, state);
    if (result.IsOk()) {
        std::puts("The settings database is already there.");
        return kExitOk;
    }
    if (result.status == DatabaseStatus::kMissing) {
        result = CreateDatabase(DatabasePath());
        if (result.IsOk()) {
            std::puts("The settings database has been made; no password is set.");
            return kExitOk;
        }
        if (result.status == DatabaseStatus::kMissing) {
            return Complain(std::string("there is no product directory: ") + kProductDirectory);
        }
    }
    return Complain(Explain(result));
}

ExitStatus Conclude(const std::string& why) {
    return why.empty() ? kExitOk : Complain(why);
}

/// Why a user other than root may not do it.
const char* RootsAlone(AdminCommand command) {
    switch (command) {
        case AdminCommand::kDefinitions:
            return "only root can manage the virus definitions";
        case AdminCommand::kSources:
            return "only root can manage the sources of updates";
        default:
            return "only root can manage the settings password";
    }
}

ExitStatus RunCommand(const AdminArguments& arguments) {
    switch (arguments.command) {
        case AdminCommand::kSetPassword:
            return SetPassword(arguments.fromStandardInput);
        case AdminCommand::kClearPassword:
            return ClearPassword();
        case AdminCommand::kStatus:
            return ShowStatus();
        case AdminCommand::kInit:
            return Init();
        case AdminCommand::kDefinitions:
            return Conclude(arguments.rollsBack ? RollDefinitionsBack() : ShowDefinitions());
        case AdminCommand::kSources:
            return Conclude(arguments.list ? WriteSources(*arguments.list, arguments.addresses)
                                           : ShowSources());
        case AdminCommand::kHelp:
        case AdminCommand::kVersion:
            break;
    }
    return kExitUsage;
}

/// No core file with a password in it, and no file of ours that others may write.
void ProtectSecrets() {
    constexpr rlimit kNoCore{0, 0};
    setrlimit(RLIMIT_CORE, &kNoCore);
    prctl(PR_SET_DUMPABLE, 0);  // The limit does not count for a program that takes the cores.
    umask(022);
    std::signal(SIGXFSZ, SIG_IGN);  // A file-size limit is answered like a full disk.
}

}  // namespace
}  // namespace dbmod

int main(int argc, char** argv) {
    const std::optional<dbmod::AdminArguments> arguments = dbmod::ParseAdminArguments(argc, argv);
    if (!arguments) {
        std::fputs(dbmod::kUsage, stderr);
        return dbmod::kExitUsage;
    }
    if (arguments->command == dbmod::AdminCommand::kHelp) {
        std::fputs(dbmod::kUsage, stdout);
        return dbmod::kExitOk;
    }
    if (arguments->command == dbmod::AdminCommand::kVersion) {
        std::puts("corvane-admin " CORVANE_VERSION);
        return dbmod::kExitOk;
    }
    if (geteuid() != 0) {
        return dbmod::Complain(dbmod::RootsAlone(arguments->command));
    }
    dbmod::ProtectSecrets();
    try {
        return dbmod::RunCommand(*arguments);
    } catch (const std::exception& error) {
        return dbmod::Complain(error.what());
    }
}
