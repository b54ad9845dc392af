#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <sys/types.h>
#include <vector>

#include "common/file_descriptor.h"
#include "product/vault/place.h"

// A vault has one folder for each owner of files, named by their number, and in it one file for
// each item:
//
//   20261122-074512-9f3a1c02   when it was kept, in UTC, and a random number
//   .unfinished                one that is being written
//
// The folder itself is locked by whoever changes what is in it.

namespace vault {

/// When an item of this name was kept, in seconds since 1970; none for what is no item's name.
std::optional<std::int64_t> TimeOfItem(std::string_view name);

/// What a file takes on the disk, in bytes: small ones share blocks on some file systems.
std::uint64_t RoomOf(const struct stat& status);

/// What the folder tells of an item.
struct ItemEntry {
    std::string name;
    std::int64_t kept;    ///< seconds since 1970
    std::uint64_t bytes;  ///< that it takes on the disk
};

/// The open folder of one owner. Functions that can fail leave the reason in errno. An object is
/// for one thread.
class OwnerFolder {
public:
    /// In the open vault `vault`. None on failure, with the reason in `why` and errno as
    /// OpenPrivateFolderAt leaves them.
    static std::optional<OwnerFolder> Open(int vault, uid_t owner, Missing missing,
                                           std::string& why);

    [[nodiscard]] int Descriptor() const { return m_folder.Get(); }

    /// Locks it until the object is gone; waits ten seconds for another process. False when that
    /// was not enough.
    [[nodiscard]] bool Lock() const;

    /// What is kept, the oldest first.
    [[nodiscard]] std::vector<ItemEntry> Items() const;

    [[nodiscard]] common::FileDescriptor OpenItem(const std::string& name) const;

    /// A new empty file; one that a killed writer has left is removed. Needs the lock, as what
    /// follows does.
    [[nodiscard]] common::FileDescriptor MakeUnfinished() const;
    void RemoveUnfinished() const;

    /// Gives the file its name, one of the moment `now`: on the disk afterwards. Empty on failure.
    [[nodiscard]] std::string Finish(std::int64_t now) const;

    /// False when it could not be removed.
    [[nodiscard]] bool Remove(const std::string& name) const;

private:
    explicit OwnerFolder(common::FileDescriptor folder) : m_folder(std::move(folder)) {}
    common::FileDescriptor m_folder;
};

/// The owners that have a folder in the open vault, in order.
std::vector<uid_t> OwnersIn(int vault);

}  // namespace vault
