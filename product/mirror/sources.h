#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// A database that a mirror is to hold.
struct SourceDatabase {
    std::string name;
    std::string path;
    std::uint32_t version = 0;  ///< 0 for one that has none
};

/// The databases that this machine uses: those of the installed set, and beside them "*.cvd" and
/// "*.cld" of the system. Of "daily.cvd" and "daily.cld" the newer one is taken.
std::vector<SourceDatabase> DatabasesOfThisMachine();

/// All databases in these folders; of two of one name that of the earlier folder. False, with a
/// line that says why, when a folder cannot be read.
bool DatabasesIn(const std::vector<std::string>& folders, std::vector<SourceDatabase>& databases,
                 std::string& problem);
