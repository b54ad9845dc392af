#pragma once

#include <ctime>
#include <string>
#include <vector>

#include "product/mirror/sources.h"
#include "product/signed_index/secret_key.h"

/// What was published.
struct Published {
    std::uint64_t serial = 0;
    std::time_t expires = 0;
    std::size_t files = 0;
};

/// Writes the databases, the index and its signature into the folder `mirror`, which is made when
/// it is missing. `key` null leaves the index unsigned and removes the signature that no longer
/// belongs to it.
///
/// Whoever reads the mirror meanwhile, or after this was killed, finds the files of the old index:
/// new ones come first, under their digest, and those of the index before stay until the next time.
/// Index and signature follow by renames. The serial is the time, or one more than before.
///
/// False, with a line that says why. One call at a time for a folder; another one is refused.
bool PublishMirror(const std::string& mirror, const std::vector<SourceDatabase>& databases,
                   const signed_index::SecretKey* key, std::time_t now, unsigned int days,
                   Published& published, std::string& problem);
