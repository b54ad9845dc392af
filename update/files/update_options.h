#pragma once

#include <cstddef>
#include <cstdint>

#include "common/option_file.h"

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

// Three defaults that differ on purpose: a machine that nobody has set up updates itself from the
// Internet; start-up without a file updates from the server; and who opens the page without one is
// shown nothing that is not so.

namespace update {

/// What installation makes.
inline constexpr tagUpdtOpts kInstalledUpdateOptions{
    kUpdateAutomatically | kUpdateFromInternet, 1, {}, {}};

/// What start-up makes: automatic updates from the server.
inline constexpr tagUpdtOpts kStartUpdateOptions{
    kUpdateAutomatically | kUpdateFromServer, 1, {}, {}};

/// What the update page makes: updates from the server, when somebody asks for them.
inline constexpr tagUpdtOpts kPageUpdateOptions{kUpdateFromServer, 1, {}, {}};

/// Reads "zqupdate.opt" at start-up, making it when it is missing. A short file leaves zeros in
/// what it does not hold; a file that can neither be read nor made gives the default. GUI thread.
tagUpdtOpts LoadUpdateOptionsAtStart();

/// The same for the update page, with its own default. GUI thread.
tagUpdtOpts LoadUpdateOptions();

/// What the file holds or, when it cannot be read, what the update page would make of it. Neither
/// makes the file nor changes its mode. Any thread.
tagUpdtOpts StoredUpdateOptions();

/// Writes the record over the start of "zqupdate.opt", which is never made here. GUI thread.
common::FileOutcome WriteUpdateOptions(const tagUpdtOpts& options);

}  // namespace update
