#pragma once

#include <cstddef>
#include <cstdint>

/// What to do when a virus is found; also the order of the settings page's combo box.
enum ScanAction : std::uint16_t {
    kActionRepairOnly = 0,
    kActionRepairOrDelete = 1,
    kActionDelete = 2,
    kActionReportOnly = 3,
    kActionPrompt = 4,
};

/// Kinds of file to look into, as bits of tagSCNOPTS::flags.
enum ScanFlag : std::uint8_t {
    kScanArchives = 1,
    kScanAdware = 2,
    kScanDumb = 4,
    kScanPacked = 8,
};

#pragma pack(push, 1)
/// The scanner settings, in memory and in "zqscn.opt" alike.
struct tagSCNOPTS {
    std::uint16_t action;  ///< ScanAction; other values are kept as they were read
    std::uint8_t flags;    ///< ScanFlag bits
};

/// The user's answer to the virus prompt.
struct tagMYSCNOPTS {
    std::uint16_t choice;     ///< 0 repair only, 1 repair or delete, 2 delete, 3 skip
    std::uint8_t applyToAll;  ///< 1: do not ask again in this run
};
#pragma pack(pop)

using PSCNOPTS = tagSCNOPTS*;

static_assert(sizeof(tagSCNOPTS) == 3);
static_assert(offsetof(tagSCNOPTS, action) == 0);
static_assert(offsetof(tagSCNOPTS, flags) == 2);
static_assert(sizeof(tagMYSCNOPTS) == 3);
static_assert(offsetof(tagMYSCNOPTS, choice) == 0);
static_assert(offsetof(tagMYSCNOPTS, applyToAll) == 2);

namespace common {

inline constexpr tagSCNOPTS kDefaultScanSettings{kActionRepairOrDelete,
                                                 kScanArchives | kScanAdware | kScanPacked};

}  // namespace common
