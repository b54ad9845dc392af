#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>

#include "product/definitions/limited_child.h"

// Databases that carry the signature of their publisher in themselves: ".cvd", and ".cld", which is
// what one becomes by differences.

namespace definitions {

/// True for the name of such a database. ".cud" is none: it is the same without a signature.
bool IsOfficialName(std::string_view name);

/// "daily" of "daily.cvd": a database at two ages has one stem.
std::string_view StemOf(std::string_view name);

struct DatabaseState {
    std::uint32_t version = 0;
    std::time_t built = 0;  ///< seconds since 1970
};

/// What the first 512 bytes of a database say. Nobody signed these: good for what was checked
/// before, and to pass over what cannot be of use. None when they are no such head.
std::optional<DatabaseState> ReadHead(int file);

/// What the signed list in the database says. None without such a list, when it belongs to another
/// database - its own name is in there, so that one is not taken for another under a changed name -
/// and when not every file that it names is in the database as it was signed. The signature of the
/// list is not looked at.
std::optional<DatabaseState> ReadSignedState(int file, std::string_view stem);

struct VerifiedDatabase {
    std::optional<DatabaseState> state;  ///< none when it is refused
    ChildEnd end = ChildEnd::kNotStarted;
    std::string why;  ///< of a refusal, in words
};

/// Checks the signature of the database at `path` in a limited child, and reads its state.
VerifiedDatabase VerifyOfficial(const std::string& path, const ChildLimits& limits,
                                const GoOn& goOn);

}  // namespace definitions
