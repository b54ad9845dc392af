#pragma once

#include <cstdint>
#include <ctime>
#include <map>
#include <string>

namespace fetch {

/// What is remembered of a private mirror.
struct MirrorState {
    std::string etag;           ///< of the index
    std::string modified;       ///< of the index
    std::string indexSha256;    ///< of the index that these belong to
    std::time_t notBefore = 0;  ///< "try again at", in seconds since 1970
    std::uint64_t serial = 0;   ///< the highest of an index from there, whatever became of it
};

/// What is remembered of the official mirrors, all of them together.
struct OfficialState {
    std::time_t notBefore = 0;  ///< "try again at"
};

/// What one run leaves to the next, in a file of the download folder.
struct FetchState {
    std::map<std::string, MirrorState> mirrors;  ///< by address
    OfficialState official;
};

/// Whether a server that wishes to be left alone till `notBefore` is to be left alone at `now`. No
/// such wish is longer than a day; one that is comes from a clock that was wrong.
bool IsToBeLeftAlone(std::time_t notBefore, std::time_t now);

/// Reads what WriteState wrote into the open folder. Empty when there is nothing to be read, and
/// what is damaged counts as nothing: at worst a file is asked for once more.
FetchState ReadState(int folder);

/// False when it could not be written; the file is then as it was.
bool WriteState(int folder, const FetchState& state);

}  // namespace fetch
