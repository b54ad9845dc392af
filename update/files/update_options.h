#pragma once

#include <cstddef>
#include <cstdint>

/// Where updates come from and whether they run by themselves, as bits of tagUpdtOpts::flags.
enum UpdateFlag : std::uint32_t {
    kUpdateAutomatically = 0x1,
    kUpdateFromInternet = 0x2,
    kUpdateKeepBackup = 0x4,
    kUpdateFromServer = 0x8,  ///< with neither of the two sources: from a path
};

/// The update options, in memory and in "zqupdate.opt" alike: 520 bytes, little-endian.
struct tagUpdtOpts {
    std::uint32_t flags;     ///< UpdateFlag bits
    std::uint32_t reserved;  ///< 1
    char path[256];          ///< where updates are taken from, NUL-terminated
    char backupFolder[256];  ///< where update files are kept, NUL-terminated
};

using P_UPDTOPTS = tagUpdtOpts*;

static_assert(sizeof(tagUpdtOpts) == 520);
static_assert(offsetof(tagUpdtOpts, flags) == 0);
static_assert(offsetof(tagUpdtOpts, reserved) == 4);
static_assert(offsetof(tagUpdtOpts, path) == 8);
static_assert(offsetof(tagUpdtOpts, backupFolder) == 264);

/// What installation and start-up make: automatic updates from the server. (The update page makes
/// the file without automatic updates; the two differ on purpose.)
inline constexpr tagUpdtOpts kStartUpdateOptions{
    kUpdateAutomatically | kUpdateFromServer, 1, {}, {}};

/// Reads "zqupdate.opt" at start-up, making it when it is missing.
tagUpdtOpts LoadUpdateOptionsAtStart();
