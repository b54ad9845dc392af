// What a scan of the whole computer leaves out.

#include "scan/run/foreign_mounts.h"

#include <gtest/gtest.h>
#include <string>

namespace {

constexpr char kKinds[] =
    "nodev\tsysfs\nnodev\ttmpfs\nnodev\tproc\nnodev\tdevtmpfs\n\text4\n\tsquashfs\nnodev\tnfs4\n"
    "nodev\tcifs\nnodev\tfuse\n\tfuseblk\nnodev\toverlay\nnodev\tzfs\nnodev\t9p\n";

std::string Mount(const std::string& device, const std::string& folder, const std::string& kind,
                  const std::string& root = "/") {
    return "22 28 " + device + " " + root + " " + folder + " rw,relatime shared:7 master:2 - " +
           kind + " source rw\n";
}

TEST(ForeignMounts, WhatIsNoFileOfThisComputerIsLeftOut) {
    const scan::ForeignMounts foreign(
        Mount("8:1", "/", "ext4") + Mount("0:21", "/proc", "proc") +
            Mount("0:22", "/sys", "sysfs") + Mount("0:5", "/dev", "devtmpfs") +
            Mount("0:40", "/net/share", "nfs4") + Mount("0:41", "/mnt/cifs", "cifs") +
            Mount("0:42", "/run/user/1000/gvfs", "fuse.gvfsd-fuse") + Mount("0:43", "/host", "9p"),
        kKinds);
    for (const char* folder :
         {"/proc", "/sys", "/dev", "/net/share", "/mnt/cifs", "/run/user/1000/gvfs", "/host"}) {
        EXPECT_TRUE(foreign.LeavesOut(folder)) << folder;
    }
    for (const char* path : {"/", "/home", "/net", "/proc2", "/run/user/1000", ""}) {
        EXPECT_FALSE(foreign.LeavesOut(path)) << path;
    }
}

TEST(ForeignMounts, OwnFilesAreScannedWhereverTheyLie) {
    const scan::ForeignMounts foreign(
        Mount("0:30", "/", "overlay") + Mount("0:31", "/tmp", "tmpfs") +
            Mount("8:17", "/media/stick", "fuseblk") + Mount("7:0", "/snap/core/1", "squashfs") +
            Mount("0:33", "/tank", "zfs"),
        kKinds);
    for (const char* folder : {"/", "/tmp", "/media/stick", "/snap/core/1", "/tank"}) {
        EXPECT_FALSE(foreign.LeavesOut(folder)) << folder;
    }
}

TEST(ForeignMounts, ATreeThatIsMountedAgainIsScannedOnce) {
    const scan::ForeignMounts foreign(Mount("8:1", "/", "ext4") + Mount("8:2", "/home", "ext4") +
                                          Mount("8:2", "/srv/home", "ext4") +
                                          Mount("8:2", "/jail", "ext4", "/jail"),
                                      kKinds);
    EXPECT_FALSE(foreign.LeavesOut("/home"));
    EXPECT_TRUE(foreign.LeavesOut("/srv/home"));
    EXPECT_FALSE(foreign.LeavesOut("/jail")) << "another part of the disk";
}

TEST(ForeignMounts, TheLastOneAtAPlaceCounts) {
    const scan::ForeignMounts foreign(
        Mount("8:1", "/", "ext4") + Mount("0:40", "/data", "nfs4") + Mount("8:3", "/data", "ext4"),
        kKinds);
    EXPECT_FALSE(foreign.LeavesOut("/data"));
    const scan::ForeignMounts covered(
        Mount("8:3", "/data", "ext4") + Mount("0:40", "/data", "nfs4"), kKinds);
    EXPECT_TRUE(covered.LeavesOut("/data"));
}

TEST(ForeignMounts, NamesWithBlanksAndBackslashesAreUnderstood) {
    const scan::ForeignMounts foreign(
        Mount("0:40", "/net/a\\040b\\134c\\011d", "nfs4") + Mount("0:41", "/net/x\\04", "nfs4"),
        kKinds);
    EXPECT_TRUE(foreign.LeavesOut("/net/a b\\c\td"));
    EXPECT_TRUE(foreign.LeavesOut("/net/x\\04"));
}

TEST(ForeignMounts, LinesThatSayNothingAreNotBelieved) {
    const scan::ForeignMounts foreign("\n - \n22 28 0:40 /\n22 28 0:40 / /net rw nfs4 x rw\n",
                                      kKinds);
    EXPECT_FALSE(foreign.LeavesOut("/net"));
    EXPECT_FALSE(foreign.LeavesOut("/"));
}

TEST(ForeignMounts, OfThisComputerTheKernelsOwnAreLeftOut) {
    const scan::ForeignMounts foreign;
    EXPECT_TRUE(foreign.LeavesOut("/proc"));
    EXPECT_FALSE(foreign.LeavesOut("/"));
    EXPECT_FALSE(foreign.LeavesOut("/usr"));
}

}  // namespace
