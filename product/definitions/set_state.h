#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "abi/system_time.h"
#include "product/definitions/official_database.h"
#include "product/signed_index/index.h"

namespace definitions {

/// One database of a set.
struct SetDatabase {
    std::string name;
    DatabaseState state;   ///< of a loose file what the set's index says of it; zeros without
    bool hasHead = false;  ///< it says its version itself, and is not a loose file
};

/// What a set is made of.
struct SetState {
    signed_index::Index index;  ///< serial 0 without one
    std::vector<SetDatabase> databases;
    std::vector<std::string> files;  ///< the names of these, of the index and of its signature

    /// The version of the database `stem` at whatever age; 0 without it.
    [[nodiscard]] std::uint32_t VersionOfStem(std::string_view stem) const;

    /// The version of the file `name`, of one with a head by its stem; 0 without it.
    [[nodiscard]] std::uint32_t VersionOf(std::string_view name) const;

    /// Makes this stand for both: the highest serial and versions, and all that either index names.
    void Add(const SetState& other);

    /// Whether the set's index names it.
    [[nodiscard]] bool IsIndexed(std::string_view name) const;
};

/// Whether a database of this name has a head with its version: ".cvd", ".cld", ".cud".
bool HasHead(std::string_view name);

/// Reads the open folder of a set that was checked before; an empty state for one that is not open.
/// Any thread.
SetState ReadSetState(int folder);

/// The version of a whole set as "scanver.cnf" has it: of its newest database with a head its
/// number, as major * 100 + minor, and its date; without such a one the highest version and the
/// date of the index. All zero for a set without databases.
tagZQVERINFO VersionOfSet(const SetState& state);

/// Reads a whole file of at most `limit` bytes in an open folder; no link is followed. False, with
/// the reason in errno (EFBIG for a larger one), when it cannot.
bool ReadSmallFile(int folder, const char* name, std::size_t limit, std::string& content);

}  // namespace definitions
