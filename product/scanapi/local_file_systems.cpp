#include "product/scanapi/local_file_systems.h"

#include <algorithm>
#include <array>
#include <linux/magic.h>

#include "product/scanapi/mounts.h"

namespace scanapi {

namespace {

struct FileSystem {
    unsigned long magic;
    std::string_view name;
};

// By number where <linux/magic.h> does not name them.
constexpr std::array kLocal{
    FileSystem{EXT4_SUPER_MAGIC, "ext4"},
    FileSystem{EXT4_SUPER_MAGIC, "ext3"},
    FileSystem{EXT4_SUPER_MAGIC, "ext2"},
    FileSystem{0x58465342, "xfs"},
    FileSystem{BTRFS_SUPER_MAGIC, "btrfs"},
    FileSystem{F2FS_SUPER_MAGIC, "f2fs"},
    FileSystem{TMPFS_MAGIC, "tmpfs"},
    FileSystem{TMPFS_MAGIC, "devtmpfs"},
    FileSystem{RAMFS_MAGIC, "ramfs"},
    FileSystem{HUGETLBFS_MAGIC, "hugetlbfs"},
    FileSystem{OVERLAYFS_SUPER_MAGIC, "overlay"},
    FileSystem{SQUASHFS_MAGIC, "squashfs"},
    FileSystem{EROFS_SUPER_MAGIC_V1, "erofs"},
    FileSystem{ISOFS_SUPER_MAGIC, "iso9660"},
    FileSystem{UDF_SUPER_MAGIC, "udf"},
    FileSystem{MSDOS_SUPER_MAGIC, "vfat"},
    FileSystem{MSDOS_SUPER_MAGIC, "msdos"},
    FileSystem{EXFAT_SUPER_MAGIC, "exfat"},
    FileSystem{0x7366746e, "ntfs3"},
    FileSystem{NILFS_SUPER_MAGIC, "nilfs2"},
    FileSystem{REISERFS_SUPER_MAGIC, "reiserfs"},
    FileSystem{0x3153464a, "jfs"},
    FileSystem{0x2fc12fc1, "zfs"},
    FileSystem{0xca451a4e, "bcachefs"},
    FileSystem{0x482b, "hfsplus"},
};

}  // namespace

bool IsLocalFileSystem(unsigned long magic) {
    return std::any_of(kLocal.begin(), kLocal.end(),
                       [magic](const FileSystem& each) { return each.magic == magic; });
}

bool IsLocalMount(std::string_view line) {
    // The kind stands behind a dash that ends the fields whose number varies.
    constexpr std::string_view kDash = " - ";
    const auto dash = line.find(kDash);
    if (dash == std::string_view::npos) {
        return false;
    }
    const std::string_view rest = line.substr(dash + kDash.size());
    const std::string_view name = rest.substr(0, rest.find(' '));
    return std::any_of(kLocal.begin(), kLocal.end(),
                       [name](const FileSystem& each) { return each.name == name; });
}

bool IsOnLocalFileSystem(int file) {
    return IsLocalMount(LineOfMount(MountTable(), MountOf(file)));
}

}  // namespace scanapi
