#pragma once

#include <ctime>
#include <span>
#include <string>

#include "product/fetch/current_set.h"
#include "product/fetch/download_folder.h"
#include "product/fetch/fetch_state.h"
#include "product/fetch/http_client.h"
#include "product/signed_index/minisign.h"

namespace fetch {

/// How it went with one address.
enum class MirrorEnd {
    kCandidate,  ///< the download folder holds what is to be installed
    kUpToDate,
    kStopped,
    kFailed,      ///< logged; the next address may do
    kRefused,     ///< likewise; what it offered is not valid, which was told
    kDiskFailed,  ///< logged; no other address would do
};

/// What a download from a private mirror works with; all of it outlives the call.
struct MirrorJob {
    HttpClient& client;
    const Limits& limits;
    Progress& progress;
    const DownloadFolder& folder;
    const CurrentSet& current;
    std::span<const signed_index::PublicKey> keys;
    std::time_t now;  ///< seconds since 1970
};

/// Brings what the mirror at `address` has into the download folder: index and signature, then the
/// files that the current set has not. Nothing is kept that the index does not vouch for.
MirrorEnd FetchFromMirror(const MirrorJob& job, const std::string& address, MirrorState& state);

}  // namespace fetch
