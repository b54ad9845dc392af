#pragma once

#include <optional>

// The command line of corvane-admin.

namespace dbmod {

enum class AdminCommand {
    kSetPassword,
    kClearPassword,
    kStatus,
    kInit,
    kHelp,
    kVersion,
};

struct AdminArguments {
    AdminCommand command = AdminCommand::kHelp;
    bool fromStandardInput = false;  ///< of kSetPassword
};

/// None when the arguments are wrong. Nothing is said of what was given: it could be a password.
/// The arguments may be put in another order. Main thread, once.
std::optional<AdminArguments> ParseAdminArguments(int argc, char** argv);

}  // namespace dbmod
