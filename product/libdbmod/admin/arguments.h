#pragma once

#include <optional>
#include <string>
#include <vector>

#include "product/libdbmod/admin/update_commands.h"

// The command line of corvane-admin.

namespace dbmod {

enum class AdminCommand {
    kSetPassword,
    kClearPassword,
    kStatus,
    kInit,
    kDefinitions,
    kSources,
    kHelp,
    kVersion,
};

struct AdminArguments {
    AdminCommand command = AdminCommand::kHelp;
    bool fromStandardInput = false;  ///< of kSetPassword
    bool rollsBack = false;          ///< of kDefinitions
    /// Of kSources: the list that is to be written; none when both are to be shown.
    std::optional<SourceList> list;
    std::vector<std::string> addresses;  ///< of the list; empty only when that was asked for
};

/// None when the arguments are wrong. Nothing is said of what was given: it could be a password.
/// The arguments may be put in another order. Main thread, once.
std::optional<AdminArguments> ParseAdminArguments(int argc, char** argv);

}  // namespace dbmod
