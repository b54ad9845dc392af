#pragma once

#include <optional>
#include <string>
#include <sys/stat.h>

#include "product/vault/settings.h"

namespace vault {

/// A file that is about to be deleted.
struct FileToKeep {
    int file = -1;           ///< open for reading
    struct stat scanned {};  ///< as it was when it was looked through
    std::string path;        ///< absolute
    std::string virusName;
    std::string database;  ///< version of the virus database
};

struct KeptItem {
    std::string name;    ///< of the item
    std::string sha256;  ///< of the contents, 64 digits in lower case
};

/// Keeps a copy of the file in the vault of the effective user: whole and on the disk when this
/// returns. Before, older items of the same owner's files may be removed.
///
/// None when it cannot be kept, with the reason, in words, in `why`: also when the file is no
/// longer as it was scanned, and when the vault is full of younger items. Any thread; other
/// processes are waited for, ten seconds at most.
std::optional<KeptItem> Keep(const FileToKeep& file, const Settings& settings, std::string& why);

/// Removes an item again whose file was not deleted after all; `owner` is the file's.
void Discard(const KeptItem& item, uid_t owner);

}  // namespace vault
