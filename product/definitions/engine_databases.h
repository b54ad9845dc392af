#pragma once

#include <clamav.h>
#include <ctime>
#include <string>
#include <vector>

namespace definitions {

// What the scan engine loads, and how: for the engine itself, and for whoever tries a set out
// before the engine gets it.

/// Signatures of unwanted programs are always loaded and their hits dropped where nobody asked for
/// them: switching them on then needs no second load.
inline constexpr unsigned int kEngineLoadOptions = CL_DB_STDOPT | CL_DB_PUA;

/// One matcher for all patterns finds the same and is quicker than two.
inline constexpr bool kEngineHasOneMatcher = true;

inline constexpr char kSystemDatabaseDirectory[] = "/var/lib/clamav";

/// Whose a database is.
enum Place {
    kOwn,    ///< the package's
    kOfSet,  ///< of the set in use
    kOfSystem,
};

/// One signature database on disk.
struct Database {
    std::string path;
    Place place = kOwn;
    unsigned int version = 0;  ///< 0 for loose files, which carry none
    std::time_t built = 0;     ///< the date in its header, or that of the file
};

struct DatabaseList {
    std::vector<Database> usable;  ///< in the order they are to be loaded
    std::vector<std::string> damaged;

    /// False when `usable` holds nothing, or nothing but exceptions and settings.
    [[nodiscard]] bool HasSignatures() const;
};

/// The name of what is in use, "set-7" or before the first update "package"; empty without. A link
/// that leads out of the folder is none.
std::string CurrentSet(const std::string& engineDirectory);

/// Looks at the databases in "defs/" of `engineDirectory`, which ends in "/", in the folder `set`
/// in there, and in the system's own directory; one that lies there at several ages counts once,
/// with the newest. Reads the head of each, so it is quick however large they are; damage further
/// in shows at loading. The order does not depend on the name of the set.
DatabaseList FindDatabases(const std::string& engineDirectory, const std::string& set);

}  // namespace definitions
