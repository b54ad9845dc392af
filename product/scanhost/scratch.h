#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <sys/types.h>

#include "product/confining/scratch_directory.h"

namespace scanhost {

/// The most that one worker may unpack at a time, in MiB. More than the library reads of one file,
/// so that its own limit is met first, and told.
inline constexpr std::uint64_t kScratchMiB = 1024;
inline constexpr std::uint64_t kLeastScratchMiB = 512;

/// What one of `workers` gets with so much memory to be had: as much as it may, down to the least.
std::uint64_t ScratchSizeMiB(std::uint64_t availableMiB, unsigned int workers);

/// The memory that programs can have without swapping, in MiB; 0 when the kernel does not say.
std::uint64_t AvailableMemoryMiB();

/// Makes a memory file system of this process's own, mode 0700 and `owner`'s, its working folder
/// and its root: no other file has a name any more. Gone with the process. An ordinary user gets
/// the right to do so from a user namespace, in which they are themselves. Returns 0, or the error.
/// For a process of one thread.
int EnterMemoryScratch(std::uint64_t sizeMiB, uid_t owner, gid_t group);

/// Where workers unpack that can have no memory file system: a folder each. The whole is removed
/// with the object, and what a killed host left when the next one makes its own.
class ScratchFolders {
public:
    /// In `base`, or where that is empty or will not do in "/dev/shm" or "/tmp". Null: nowhere.
    static std::unique_ptr<ScratchFolders> Make(const std::string& base);

    /// Makes a folder of `worker`, `owner`'s, this process's working folder. 0, or the error.
    [[nodiscard]] int Enter(unsigned int worker, uid_t owner, gid_t group) const;

    /// Removes what `worker`, which is no more, left. In the host.
    void Clear(unsigned int worker) const;

    /// The room where the folders are, in MiB.
    [[nodiscard]] std::uint64_t RoomMiB() const;

private:
    explicit ScratchFolders(std::unique_ptr<confining::ScratchDirectory> parent)
        : m_parent(std::move(parent)) {}
    static std::string PrefixOf(unsigned int worker);

    std::unique_ptr<confining::ScratchDirectory> m_parent;
};

}  // namespace scanhost
