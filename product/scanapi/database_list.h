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

/// Looks at the databases in `engineDirectory` + "defs/" and in the system's own directory. Reads
/// the head of each, so it is quick however large they are; damage further in shows at loading.
DatabaseList FindDatabases(const std::string& engineDirectory);

}  // namespace scanapi
