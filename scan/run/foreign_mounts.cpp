#include "scan/run/foreign_mounts.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <map>
#include <vector>

namespace scan {

namespace {

// Without a device, and all the same files of this computer.
constexpr std::array<std::string_view, 6> kOwnWithoutDevice{"tmpfs",    "ramfs", "overlay",
                                                            "ecryptfs", "zfs",   "bcachefs"};

// Empty when it cannot be read.
std::string ReadKernelFile(const char* path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

struct Mount {
    std::string tree;    // the device and the part of it that is seen here
    std::string folder;  // where
    std::string kind;
};

std::vector<std::string_view> Split(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    while (!text.empty()) {
        const auto end = std::min(text.find(separator), text.size());
        parts.push_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return parts;
}

bool IsOctal(std::string_view text) {
    return text.size() == 3 &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '7'; });
}

// Blanks and the like stand as a backslash and three octal digits.
std::string Unescaped(std::string_view text) {
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::string_view digits = text.substr(i + 1, 3);
        if (text[i] == '\\' && IsOctal(digits)) {
            bytes += static_cast<char>((digits[0] - '0') * 64 + (digits[1] - '0') * 8 +
                                       (digits[2] - '0'));
            i += digits.size();
        } else {
            bytes += text[i];
        }
    }
    return bytes;
}

// "36 35 98:0 /mnt1 /mnt2 rw,noatime master:1 - ext3 /dev/root rw"
std::vector<Mount> ReadMounts(std::string_view text) {
    std::vector<Mount> mounts;
    for (const std::string_view line : Split(text, '\n')) {
        constexpr std::string_view kDash = " - ";
        const auto dash = line.find(kDash);
        const std::vector<std::string_view> fields = Split(line.substr(0, dash), ' ');
        if (dash == std::string_view::npos || fields.size() < 5) {
            continue;
        }
        const std::string_view rest = line.substr(dash + kDash.size());
        mounts.push_back({std::string(fields[2]).append(" ").append(fields[3]),
                          Unescaped(fields[4]), std::string(rest.substr(0, rest.find(' ')))});
    }
    return mounts;
}

// "nodev<TAB>proc" for a kind that needs no device.
std::set<std::string, std::less<>> KindsWithoutDevice(std::string_view text) {
    std::set<std::string, std::less<>> kinds;
    for (const std::string_view line : Split(text, '\n')) {
        constexpr std::string_view kMark = "nodev\t";
        if (line.starts_with(kMark)) {
            kinds.emplace(line.substr(kMark.size()));
        }
    }
    for (const std::string_view own : kOwnWithoutDevice) {
        kinds.erase(std::string(own));
    }
    return kinds;
}

// A kind may say who serves it: "fuse.sshfs".
std::string_view MainKind(std::string_view kind) {
    return kind.substr(0, kind.find('.'));
}

}  // namespace

ForeignMounts::ForeignMounts()
    : ForeignMounts(ReadKernelFile("/proc/self/mountinfo"), ReadKernelFile("/proc/filesystems")) {
    if (m_folders.empty()) {
        m_folders = {"/dev", "/proc", "/sys"};
    }
}

ForeignMounts::ForeignMounts(std::string_view mounts, std::string_view kinds) {
    const auto foreign = KindsWithoutDevice(kinds);
    std::map<std::string, std::string> seen;  // where a tree is scanned
    for (const Mount& mount : ReadMounts(mounts)) {
        m_folders.erase(mount.folder);  // this one covers what was mounted there before
        const bool isForeign = foreign.contains(MainKind(mount.kind));
        const auto place = seen.try_emplace(mount.tree, mount.folder).first;
        if (isForeign || place->second != mount.folder) {
            m_folders.insert(mount.folder);
        }
    }
}

bool ForeignMounts::LeavesOut(const char* path) const {
    return m_folders.contains(std::string_view(path));
}

}  // namespace scan
