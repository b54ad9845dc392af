#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

namespace scanapi {

inline constexpr char kSystemDatabaseDirectory[] = "/var/lib/clamav";

/// One signature database on disk.
struct Database {
    std::string path;
    unsigned int version = 0;  ///< 0 for loose files, which carry none
    std::time_t built = 0;     ///< the date in its header, or that of the file
};

struct DatabaseList {
    std::vector<Database> usable;  ///< in the order they are to be loaded
    std::vector<std::string> damaged;

    /// False when `usable` holds nothing, or nothing but exceptions and settings.
    [[nodiscard]] bool HasSignatures() const;
};

/// The folder of definitions in the engine directory, and the link in it to the set in use.
inline constexpr char kDefinitionFolder[] = "defs";
inline constexpr char kCurrentSetLink[] = "current";

/// The name of the set that is in use, "set-7"; empty without one. A link that leads out of the
/// folder is none.
std::string CurrentSet(const std::string& engineDirectory);

/// Looks at the databases in `engineDirectory` + "defs/", in the set that is in use there, and in
/// the system's own directory; one that lies there at several ages counts once, with the newest.
/// Reads the head of each, so it is quick however large they are; damage further in shows at
/// loading.
DatabaseList FindDatabases(const std::string& engineDirectory);

}  // namespace scanapi
