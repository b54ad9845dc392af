#pragma once

#include <ctime>
#include <string>

#include "product/fetch/fetch.h"
#include "product/fetch/private_mirror.h"

namespace fetch {

/// What a download from the official mirrors works with; all of it outlives the call.
struct OfficialJob {
    const OfficialMirrors& mirrors;
    const Proxy& proxy;
    const Limits& limits;
    Progress& progress;
    const DownloadFolder& folder;
    const CurrentSet& current;
    std::time_t now;  ///< seconds since 1970
};

/// Brings what the official mirror at `address` has into the download folder, by libfreshclam in a
/// process of its own: it changes the working directory, sleeps and cannot be cancelled otherwise.
/// What is offered has been verified whole; what is damaged is removed and loaded once more,
/// and kFailed is told where that is damaged here, too.
/// Does not ask before the mirrors wish to be asked again, as `state` has it.
MirrorEnd FetchFromOfficial(const OfficialJob& job, const std::string& address,
                            OfficialState& state);

}  // namespace fetch
