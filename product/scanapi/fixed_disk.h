#pragma once

#include <string>
#include <sys/types.h>

namespace scanapi {

/// Whether the block device `device` is a disk that stays in the machine, by what the kernel tells
/// below `sys`, "/sys" as a rule. Of a mapped or composed one all parts have to be. False for what
/// is not known to be: a stick, a card, a file that is mounted, a disk on the network. Any thread.
bool IsFixedDisk(const std::string& sys, dev_t device);

/// The same of all disks of the mounted btrfs file system with this UUID, as text.
bool AreFixedDisksOfBtrfs(const std::string& sys, const std::string& uuid);

}  // namespace scanapi
