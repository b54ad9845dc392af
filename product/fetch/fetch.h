#pragma once

#include <string>
#include <vector>

#include "abi/updturl.h"
#include "product/fetch/address.h"
#include "product/fetch/http_client.h"
#include "product/fetch/listener.h"

namespace fetch {

/// The official mirrors, which answer no other client than libfreshclam.
struct OfficialMirrors {
    std::string domain = kOfficialDomain;  ///< hosts under it are official
    std::vector<std::string> databases{"main", "daily", "bytecode"};
    std::string dnsServer = "current.cvd.clamav.net";  ///< names the versions; empty: is not asked
};

/// What is to be fetched, and from where.
struct Request {
    std::vector<std::string> addresses;  ///< in the order they are tried
    bool hasAddresses = true;            ///< false when there was no list at all
    bool fromAdministrator = false;
    Proxy proxy;
    std::string productDirectory;   ///< holds the folder of trusted keys
    std::string downloadDirectory;  ///< exists and belongs to the caller
    std::string currentSet;         ///< folder of the installed set, which need not exist
    OfficialMirrors official;
    Limits limits;
};

struct Outcome {
    UpdaterResult result = kUpdaterFailed;
    std::string candidate;  ///< the folder of what is to be installed, with kUpdaterUpdated
};

/// Fetches what is newer than the current set into a folder below the download folder. Addresses
/// are tried in order until one answers with what can be used.
///
/// kUpdaterUpdated: there is a candidate; kUpdaterUpToDate; kUpdaterInterrupted: the listener asked
/// for it; kUpdaterInvalidFiles: no address had anything that can be used, and one at least had
/// what is refused; kUpdaterFailed: no address had anything. The log says why of each. Takes as
/// long as it takes; one call at a time, in a process that may be lost and that has no other
/// threads.
Outcome Fetch(const Request& request, Listener& listener);

}  // namespace fetch
