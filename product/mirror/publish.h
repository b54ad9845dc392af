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

/// Where an index waits for its signature, in the folder of the mirror.
inline constexpr char kUnsignedFolder[] = "unsigned";

/// Writes the databases, the index and its signature into the folder `mirror`, which is made when
/// it is missing. `key` null leaves the index in kUnsignedFolder and the mirror as it was.
///
/// Whoever reads the mirror meanwhile, or after this was killed, finds the old index or the new
/// one, each with its files and its signature: new files come first, under their digest, with the
/// signature under that of the index; those of the index before stay until the next time. One
/// rename of the index is the change. The serial is the time, or one more than before.
///
/// False, with a line that says why. One call at a time for a folder; another one is refused.
bool PublishMirror(const std::string& mirror, const std::vector<SourceDatabase>& databases,
                   const signed_index::SecretKey* key, std::time_t now, unsigned int days,
                   Published& published, std::string& problem);

/// Publishes the index that waits for its signature in `mirror`, which somebody else has made by
/// now. Whether it is that of a key that machines trust is theirs to say. What expires by `now`
/// (seconds since 1970), and what is not newer than what is published, is refused; a call that was
/// broken off is brought to its end by another one. Otherwise as above.
bool PublishSigned(const std::string& mirror, std::time_t now, Published& published,
                   std::string& problem);
