#pragma once

#include <optional>
#include <string>

#include "product/updturl/asker.h"
#include "product/updturl/child_process.h"
#include "product/updturl/request.h"

namespace updturl {

/// The service that downloads for an updater that may not become another user.
inline constexpr char kFetchSocket[] = "/run/corvane-fetch/fetch.sock";

inline constexpr char kFetchOption[] = "--fetch";
/// Lets root keep its rights, for a product of its own in another folder.
inline constexpr char kAsCallerOption[] = "--as-caller";

/// What the stage that downloads came to.
struct Fetched {
    int result = 0;         ///< UpdaterResult; kUpdaterUpdated only with a candidate
    std::string candidate;  ///< a folder right below the download folder
};

/// The stage that downloads, a process of its own. Nothing that it says is believed.
class FetchStage {
public:
    /// Starts it: as root `program`, which becomes the downloading user; for others the service
    /// where there is one, else `program`. `isAsCaller`: `program` stays who we are. False with the
    /// reason in `why`. Nothing is asked yet.
    bool Start(const std::string& program, bool isAsCaller, std::string& why);

    /// Asks it, and tells the asker what it says until it is done or they wish to stop. Once.
    Fetched Run(const Request& request, Asker& asker);

    /// Ends what is left of it.
    void End() { m_child.EndByForce(); }

private:
    common::FileDescriptor m_socket;
    ChildProcess m_child;
};

/// The folder as the stage named it, when it is a folder right below `downloadDirectory` and no
/// link; none else.
std::optional<std::string> CheckedCandidate(const std::string& candidate,
                                            const std::string& downloadDirectory);

}  // namespace updturl
