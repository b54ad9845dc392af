#include "product/scanapi/fixed_disk.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <sys/sysmacros.h>
#include <system_error>

namespace scanapi {

namespace {

namespace fs = std::filesystem;

constexpr int kMostLayers = 8;

std::string FirstWord(const fs::path& file) {
    std::ifstream stream(file);
    std::string word;
    stream >> word;
    return word;
}

// "sda", "sdaa", "nvme0n1", "dm-3": the kind, and then what tells the disks of it apart.
bool IsKind(const std::string& name, std::string_view kind, std::string_view others) {
    return name.size() > kind.size() && name.starts_with(kind) &&
           others.find(name[kind.size()]) != std::string_view::npos;
}

constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyz";
constexpr std::string_view kDigits = "0123456789";

bool IsComposed(const std::string& name) {
    return IsKind(name, "dm-", kDigits) || IsKind(name, "md", kDigits);
}

bool IsDiskByItself(const fs::path& disk) {
    const std::string name = disk.filename();
    if (IsKind(name, "mmcblk", kDigits)) {
        // The same name for what is soldered in and for what lies in the slot.
        return FirstWord(disk / "device/type") == "MMC";
    }
    return IsKind(name, "sd", kLetters) || IsKind(name, "vd", kLetters) ||
           IsKind(name, "xvd", kLetters) || IsKind(name, "nvme", kDigits);
}

// Nothing on the way from the disk to the processor can be pulled out: neither by what it is
// connected with nor by what the kernel says of the port.
bool IsBuiltIn(const fs::path& disk) {
    for (fs::path part = disk; part.has_relative_path(); part = part.parent_path()) {
        const std::string name = part.filename();
        const std::string removable = FirstWord(part / "removable");
        if (name.starts_with("usb") || name.starts_with("fw") || removable == "1" ||
            removable == "removable") {
            return false;
        }
    }
    return true;
}

bool AreFixed(const fs::path& folder, int layers);

bool IsFixed(const fs::path& device, int layers) {
    std::error_code error;
    fs::path disk = fs::canonical(device, error);
    if (error || layers == 0) {
        return false;
    }
    if (fs::exists(disk / "partition", error)) {
        disk = disk.parent_path();
    }
    return IsComposed(disk.filename()) ? AreFixed(disk / "slaves", layers - 1)
                                       : IsDiskByItself(disk) && IsBuiltIn(disk);
}

// What is in the folder, and there is something.
bool AreFixed(const fs::path& folder, int layers) {
    std::error_code error;
    fs::directory_iterator each(folder, error);
    const bool isAny = !error && each != fs::directory_iterator();
    while (!error && each != fs::directory_iterator()) {
        if (!IsFixed(each->path(), layers)) {
            return false;
        }
        each.increment(error);
    }
    return isAny && !error;
}

}  // namespace

bool IsFixedDisk(const std::string& sys, dev_t device) {
    return IsFixed(fs::path(sys) / "dev/block" /
                       (std::to_string(major(device)) + ":" + std::to_string(minor(device))),
                   kMostLayers);
}

bool AreFixedDisksOfBtrfs(const std::string& sys, const std::string& uuid) {
    return AreFixed(fs::path(sys) / "fs/btrfs" / uuid / "devices", kMostLayers);
}

}  // namespace scanapi
