// On which file systems verdicts are remembered.

#include "product/scanapi/kept_file_systems.h"

#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/sysmacros.h>
#include <sys/vfs.h>

#include "common/file_descriptor.h"
#include "product/scanapi/fixed_disk.h"
#include "tests/support/scratch.h"

namespace {

namespace fs = std::filesystem;

constexpr char kMounts[] =
    "27 1 254:0 / / rw,relatime - ext4 /dev/vda rw,discard\n"
    "127 1 8:1 / /home rw,relatime shared:1 - ext4 /dev/sda1 rw,lazytime\n"
    "28 27 0:25 / /tmp rw - tmpfs tmpfs rw";

TEST(KeepsTimes, LazyOnesDoNot) {
    EXPECT_TRUE(scanapi::KeepsTimes(kMounts, "27"));
    EXPECT_FALSE(scanapi::KeepsTimes(kMounts, "127"));
    EXPECT_TRUE(scanapi::KeepsTimes(kMounts, "28"));
    EXPECT_FALSE(scanapi::KeepsTimes(kMounts, "7"));
    EXPECT_FALSE(scanapi::KeepsTimes(kMounts, ""));
    EXPECT_FALSE(scanapi::KeepsTimes("", "27"));
}

// What the kernel would tell of disks, made up.
class FixedDiskTest : public testing::Test {
protected:
    // A disk below "devices" with one partition, and the numbers of both.
    std::string Disk(const std::string& place, unsigned int number) {
        std::string disk = "devices/" + place;
        Write(disk + "/removable", "0\n");
        const std::string name = fs::path(place).filename();
        Write(disk + "/" + name + "1/partition", "1\n");
        Link(8, number, disk);
        Link(8, number + 1, disk + "/" + name + "1");
        return disk;
    }
    void Write(const std::string& file, const std::string& text) {
        fs::create_directories(fs::path(m_sys / file).parent_path());
        WriteFile(m_sys / file, text);
    }
    void Link(unsigned int group, unsigned int number, const std::string& target) {
        fs::create_directories(m_sys / "dev/block");
        fs::create_symlink("../../" + target, m_sys / ("dev/block/" + std::to_string(group) + ":" +
                                                       std::to_string(number)));
    }
    // A disk made of others.
    void Compose(const std::string& name, unsigned int number,
                 const std::vector<std::string>& parts) {
        const std::string disk = "devices/virtual/block/" + name;
        fs::create_directories(m_sys / (disk + "/slaves"));
        for (const std::string& part : parts) {
            fs::create_symlink(
                "../../../../../" + part,
                m_sys / (disk + "/slaves/" + std::string(fs::path(part).filename())));
        }
        Link(253, number, disk);
    }
    [[nodiscard]] bool IsFixed(unsigned int group, unsigned int number) const {
        return scanapi::IsFixedDisk(m_sys.Path(), makedev(group, number));
    }
    ScratchFolder m_sys;
};

TEST_F(FixedDiskTest, ADiskInTheMachineIs) {
    unsigned int number = 0;
    for (const char* place :
         {"pci0000:00/0000:00:02.0/virtio1/block/vda", "pci0000:00/0000:00:17.0/ata1/block/sda",
          "pci0000:00/0000:01:00.0/nvme/nvme0/nvme0n1", "vbd-51712/block/xvda"}) {
        Disk(place, number);
        EXPECT_TRUE(IsFixed(8, number)) << place;
        EXPECT_TRUE(IsFixed(8, number + 1)) << place << ", its partition";
        number += 2;
    }
    EXPECT_FALSE(IsFixed(8, number)) << "no such disk";
}

TEST_F(FixedDiskTest, WhatCanBePulledOutIsNot) {
    Disk("pci0000:00/0000:00:14.0/usb2/2-1/host6/block/sdb", 0);
    EXPECT_FALSE(IsFixed(8, 0));
    EXPECT_FALSE(IsFixed(8, 1));
    Disk("pci0000:00/0000:00:15.0/fw1/host7/block/sdc", 2);
    EXPECT_FALSE(IsFixed(8, 3));
    Write(Disk("pci0000:00/0000:00:17.0/ata2/block/sdd", 4) + "/removable", "1\n");
    EXPECT_FALSE(IsFixed(8, 5));
    Disk("pci0000:00/0000:03:00.0/nvme/nvme1/nvme1n1", 6);
    Write("devices/pci0000:00/0000:03:00.0/removable", "fixed\n");
    EXPECT_TRUE(IsFixed(8, 7));
    Write("devices/pci0000:00/0000:03:00.0/removable", "removable\n");
    EXPECT_FALSE(IsFixed(8, 7));
}

TEST_F(FixedDiskTest, ACardIsNotAndWhatIsSolderedInIs) {
    const std::string disk = Disk("platform/soc/mmc_host/mmc0/mmc0:0001/block/mmcblk0", 0);
    EXPECT_FALSE(IsFixed(8, 0));
    Write(disk + "/device/type", "SD\n");
    EXPECT_FALSE(IsFixed(8, 1));
    Write(disk + "/device/type", "MMC\n");
    EXPECT_TRUE(IsFixed(8, 1));
}

TEST_F(FixedDiskTest, WhatIsNotKnownIsNot) {
    unsigned int number = 0;
    for (const char* name : {"loop0", "nbd0", "zram0", "ram1", "sr0", "fd0", "rbd0", "sd", "sd0",
                             "vd1", "nvme", "mdx", "dm-", "unheard"}) {
        Disk(std::string("virtual/block/") + name, number);
        EXPECT_FALSE(IsFixed(8, number)) << name;
        number += 2;
    }
}

TEST_F(FixedDiskTest, OfAComposedOneAllPartsHaveToBe) {
    const std::string first = Disk("pci0000:00/ata1/block/sda", 0);
    const std::string stick = Disk("pci0000:00/usb1/block/sdb", 2);
    Compose("dm-0", 0, {first + "/sda1"});
    EXPECT_TRUE(IsFixed(253, 0));
    Compose("md127", 1, {first, "devices/virtual/block/dm-0"});
    EXPECT_TRUE(IsFixed(253, 1));
    Compose("dm-1", 2, {first + "/sda1", stick + "/sdb1"});
    EXPECT_FALSE(IsFixed(253, 2));
    Compose("dm-2", 3, {});
    EXPECT_FALSE(IsFixed(253, 3));
    Compose("dm-3", 4, {"devices/virtual/block/dm-3"});
    EXPECT_FALSE(IsFixed(253, 4)) << "of itself";
}

TEST_F(FixedDiskTest, OfBtrfsAllDisksHaveToBe) {
    const std::string uuid = "0f1e2d3c-4b5a-6978-8796-a5b4c3d2e1f0";
    const std::string first = Disk("pci0000:00/ata1/block/sda", 0);
    const std::string stick = Disk("pci0000:00/usb1/block/sdb", 2);
    EXPECT_FALSE(scanapi::AreFixedDisksOfBtrfs(m_sys.Path(), uuid));
    const std::string devices = "fs/btrfs/" + uuid + "/devices";
    fs::create_directories(m_sys / devices);
    fs::create_symlink("../../../../" + first + "/sda1", m_sys / (devices + "/sda1"));
    EXPECT_TRUE(scanapi::AreFixedDisksOfBtrfs(m_sys.Path(), uuid));
    fs::create_symlink("../../../../" + stick, m_sys / (devices + "/sdb"));
    EXPECT_FALSE(scanapi::AreFixedDisksOfBtrfs(m_sys.Path(), uuid));
}

std::optional<scanapi::FileSystemId> IdOf(const std::string& path) {
    const common::FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat status {};
    EXPECT_EQ(fstat(file.Get(), &status), 0) << path;
    scanapi::KeptFileSystems fileSystems;
    const auto id = fileSystems.Of(file.Get(), status.st_dev);
    EXPECT_EQ(fileSystems.Of(file.Get(), status.st_dev), id) << "asked again";
    return id;
}

TEST(KeptFileSystems, MemoryAndTheKernelsOwnAreNot) {
    EXPECT_FALSE(IdOf("/proc/self/status"));
    EXPECT_FALSE(IdOf("/dev/shm"));
    const common::FileDescriptor file(::memfd_create("test", MFD_CLOEXEC));
    EXPECT_FALSE(IdOf("/proc/self/fd/" + std::to_string(file.Get())));
}

TEST(KeptFileSystems, ADiskOfThisMachineIs) {
    struct statfs status {};
    struct stat folder {};
    ASSERT_EQ(statfs(BUILD_FOLDER, &status), 0);
    ASSERT_EQ(stat(BUILD_FOLDER, &folder), 0);
    constexpr long kExt4 = 0xEF53;
    if (status.f_type != kExt4 || !scanapi::IsFixedDisk("/sys", folder.st_dev)) {
        GTEST_SKIP() << "the build folder is not on an ext4 file system of a fixed disk";
    }
    const auto id = IdOf(BUILD_FOLDER);
    ASSERT_TRUE(id);
    EXPECT_NE(id->uuid, scanapi::FileSystemId{}.uuid);
    EXPECT_EQ(id->part, 0U);
    // The file system folds its UUID into this number.
    std::array<std::uint64_t, 2> halves{};
    std::memcpy(halves.data(), id->uuid.data(), sizeof(halves));
    std::uint64_t folded = 0;
    std::memcpy(&folded, &status.f_fsid, sizeof(folded));
    EXPECT_EQ(halves[0] ^ halves[1], folded);
}

}  // namespace
