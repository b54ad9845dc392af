#include "product/scanapi/kept_file_systems.h"

#include <cstdio>
#include <cstring>
#include <ctime>
#include <linux/btrfs.h>
#include <linux/magic.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/vfs.h>

#include "product/scanapi/fixed_disk.h"
#include "product/scanapi/mounts.h"

namespace scanapi {

namespace {

constexpr std::int64_t kSecondsKnown = 5;
constexpr char kSys[] = "/sys";

// What Debian's headers do not name, or not yet.
constexpr unsigned long kXfsMagic = 0x58465342;

struct AnyUuid {  // FS_IOC_GETFSUUID, since Linux 6.9
    std::uint8_t size;
    std::uint8_t uuid[16];
};
struct Ext4Uuid {  // EXT4_IOC_GETFSUUID, since Linux 6.0
    std::uint32_t size;
    std::uint32_t flags;
    std::uint8_t uuid[16];
};
struct XfsGeometry {  // XFS_IOC_FSGEOMETRY_V1
    std::uint32_t sizes[8];
    std::uint64_t blocks[4];
    std::uint8_t uuid[16];
    std::uint32_t rest[8];
};
static_assert(sizeof(AnyUuid) == 17 && sizeof(Ext4Uuid) == 24 && sizeof(XfsGeometry) == 112);
constexpr unsigned long kAskAny = _IOR(0x15, 0, AnyUuid);
constexpr unsigned long kAskExt4 = _IOR('f', 44, std::uint64_t);
constexpr unsigned long kAskXfs = _IOR('X', 100, XfsGeometry);

using Uuid = std::array<std::byte, 16>;

// None for the one of zeros, which kernels give where they do not know.
std::optional<Uuid> Believed(const std::uint8_t (&bytes)[16]) {
    Uuid uuid{};
    std::memcpy(uuid.data(), bytes, uuid.size());
    return uuid == Uuid{} ? std::nullopt : std::optional(uuid);
}

std::optional<Uuid> UuidOfAny(int file) {
    AnyUuid any{};
    return ioctl(file, kAskAny, &any) == 0 && any.size == sizeof(any.uuid) ? Believed(any.uuid)
                                                                           : std::nullopt;
}

std::optional<Uuid> UuidOfExt4(int file) {
    Ext4Uuid ext4{sizeof(ext4.uuid), 0, {}};
    return ioctl(file, kAskExt4, &ext4) == 0 && ext4.size == sizeof(ext4.uuid) ? Believed(ext4.uuid)
                                                                               : std::nullopt;
}

std::optional<Uuid> UuidOfBtrfs(int file) {
    btrfs_ioctl_fs_info_args btrfs{};
    return ioctl(file, BTRFS_IOC_FS_INFO, &btrfs) == 0 ? Believed(btrfs.fsid) : std::nullopt;
}

std::optional<Uuid> UuidOfXfs(int file) {
    XfsGeometry xfs{};
    return ioctl(file, kAskXfs, &xfs) == 0 ? Believed(xfs.uuid) : std::nullopt;
}

// Each file system has a way of its own, older than the common one.
std::optional<Uuid> UuidOf(int file, unsigned long magic) {
    switch (magic) {
        case EXT4_SUPER_MAGIC:
            return UuidOfExt4(file);
        case BTRFS_SUPER_MAGIC:
            return UuidOfBtrfs(file);
        case kXfsMagic:
            return UuidOfXfs(file);
        case F2FS_SUPER_MAGIC:
            return UuidOfAny(file);
        default:
            return std::nullopt;
    }
}

std::string TextOf(const Uuid& uuid) {
    std::string text;
    for (std::size_t i = 0; i < uuid.size(); ++i) {
        char digits[4];
        std::snprintf(digits, sizeof(digits), "%s%02x",
                      i == 4 || i == 6 || i == 8 || i == 10 ? "-" : "",
                      std::to_integer<unsigned int>(uuid[i]));
        text += digits;
    }
    return text;
}

std::optional<FileSystemId> LookAt(int file, dev_t device) {
    struct statfs status {};
    if (fstatfs(file, &status) != 0) {
        return std::nullopt;
    }
    const auto magic = static_cast<unsigned long>(status.f_type);
    const auto uuid = UuidOf(file, magic);
    if (!uuid || !KeepsTimes(MountTable(), MountOf(file))) {
        return std::nullopt;
    }
    FileSystemId id{*uuid, 0};
    if (magic != BTRFS_SUPER_MAGIC) {
        return IsFixedDisk(kSys, device) ? std::optional(id) : std::nullopt;
    }
    // Each of its subvolumes counts inodes for itself, and tells itself apart here.
    static_assert(sizeof(status.f_fsid) == sizeof(id.part));
    std::memcpy(&id.part, &status.f_fsid, sizeof(id.part));
    return AreFixedDisksOfBtrfs(kSys, TextOf(*uuid)) ? std::optional(id) : std::nullopt;
}

}  // namespace

bool KeepsTimes(std::string_view table, std::string_view mount) {
    const std::string_view line = LineOfMount(table, mount);
    return !line.empty() && line.find("lazytime") == std::string_view::npos;
}

std::optional<FileSystemId> KeptFileSystems::Of(int file, dev_t device) {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    const std::lock_guard lock(m_mutex);
    const auto known = m_known.find(device);
    if (known != m_known.end() && now.tv_sec < known->second.until) {
        return known->second.id;
    }
    const auto id = LookAt(file, device);
    m_known[device] = {now.tv_sec + kSecondsKnown, id};
    return id;
}

}  // namespace scanapi
