#pragma once

#include <string>

#include "common/file_descriptor.h"

namespace vault {

inline constexpr char kVaultOfRoot[] = "/var/lib/corvane/vault";

/// Where the vault of the effective user is: kVaultOfRoot for root, whatever the environment says;
/// for others "corvane/vault" in XDG_DATA_HOME, or in ".local/share" of the home folder. Empty
/// where no home folder is known. Reads the environment: see getenv() about threads.
std::string PathOfVault();

enum class Missing { kMake, kFail };

/// Opens the folder `path`, from the root on and one component after the other: none is a link,
/// each belongs to root or to the effective user and can be written by nobody else, unless it is
/// sticky or for the user's own group. What is missing is made, synced, for the user alone. The
/// folder itself becomes the user's alone.
///
/// Not open on failure, with the reason, in words, in `why`; errno is ENOENT where nothing speaks
/// against the folder but that it is missing. Any thread.
common::FileDescriptor OpenPrivateFolder(const std::string& path, Missing missing,
                                         std::string& why);

/// The same of the folder `name` in the open folder `parent`.
common::FileDescriptor OpenPrivateFolderAt(int parent, const std::string& name, Missing missing,
                                           std::string& why);

}  // namespace vault
