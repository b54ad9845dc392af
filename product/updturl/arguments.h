#pragma once

#include <cstdint>
#include <optional>

#include "abi/updturl.h"
#include "product/updturl/request.h"

// From what the program hands the updater to a request. Every pointer may be null. Any thread.

namespace updturl {

/// What ZQUpdateFromSite is given, without the callback.
struct SiteArguments {
    const char* applicationDirectory = nullptr;
    const char* downloadDirectory = nullptr;
    int fromAdministrator = 0;
    int keepBackup = 0;
    const char* backupFolder = nullptr;
    const tagZQINETCONFIG* settings = nullptr;  ///< kUpdaterSettingsSize bytes of it
    char** addresses = nullptr;
    std::int32_t count = 0;
};

/// None, with the reason in the log, without one of the directories or without a list. An address
/// that does not fit into a line is left out, and so are those past what fits into a request.
std::optional<Request> SiteRequest(const SiteArguments& arguments);

/// None, with the reason in the log, without one of the directories.
std::optional<Request> IndexRequest(const char* applicationDirectory, const char* folder);

}  // namespace updturl
