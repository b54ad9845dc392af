#include "product/scanning/container_kind.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <zlib.h>

#include "product/scanning/stored_numbers.h"

namespace scanning {

namespace {

using namespace std::string_view_literals;

struct Magic {
    std::size_t offset;
    std::string_view text;
    ContainerKind kind;
};

constexpr std::array kMagics{
    Magic{0, "\x1f\x8b\x08"sv, ContainerKind::Gzip},
    Magic{0, "BZh"sv, ContainerKind::Bzip2},
    Magic{0, "\xfd\x37zXZ\0"sv, ContainerKind::Xz},
    Magic{0, "LZIP\x01"sv, ContainerKind::Lzip},
    Magic{0, "\x28\xb5\x2f\xfd"sv, ContainerKind::Zstd},
    Magic{0, "\x04\x22\x4d\x18"sv, ContainerKind::Lz4},
    Magic{0, "\x02\x21\x4c\x18"sv, ContainerKind::Lz4},
    Magic{0, "\xed\xab\xee\xdb"sv, ContainerKind::Rpm},
    Magic{0, "!<arch>\n"sv, ContainerKind::Ar},
    Magic{0, "Rar!\x1a\x07"sv, ContainerKind::Rar},
    Magic{0, "7z\xbc\xaf\x27\x1c"sv, ContainerKind::SevenZip},
    Magic{0, "PK\x03\x04"sv, ContainerKind::Zip},
    Magic{0, "PK\x07\x08PK\x03\x04"sv, ContainerKind::Zip},
    Magic{0, "PK00PK\x03\x04"sv, ContainerKind::Zip},
    Magic{257, "ustar"sv, ContainerKind::Tar},
    Magic{0, "MSCF\0\0\0\0"sv, ContainerKind::Cab},
    Magic{0, "070701"sv, ContainerKind::Cpio},
    Magic{0, "070702"sv, ContainerKind::Cpio},
    Magic{0, "070707"sv, ContainerKind::Cpio},
    Magic{0, "\xc7\x71"sv, ContainerKind::Cpio},
    Magic{0, "\x71\xc7"sv, ContainerKind::Cpio},
    Magic{2, "-lh"sv, ContainerKind::Lha},
    Magic{2, "-lz"sv, ContainerKind::Lha},
    Magic{0, "xar!"sv, ContainerKind::Xar},
    Magic{0, "\x60\xea"sv, ContainerKind::Arj},
    Magic{0x8001, "CD001"sv, ContainerKind::Iso},
    Magic{0, "ITSF"sv, ContainerKind::Chm},
    Magic{0, "%PDF-"sv, ContainerKind::Pdf},
    // Images of disks and of file systems.
    Magic{0, "hsqs"sv, ContainerKind::NoReader},
    Magic{0, "sqsh"sv, ContainerKind::NoReader},
    Magic{0, "\x45\x3d\xcd\x28"sv, ContainerKind::NoReader},      // cramfs
    Magic{0x400, "\xe2\xe1\xf5\xe0"sv, ContainerKind::NoReader},  // EROFS
    Magic{0x438, "\x53\xef"sv, ContainerKind::NoReader},          // ext2, ext3, ext4
    Magic{0x10040, "_BHRfS_M"sv, ContainerKind::NoReader},        // Btrfs
    Magic{0, "XFSB\0\0"sv, ContainerKind::NoReader},
    Magic{0, "-rom1fs-"sv, ContainerKind::NoReader},
    Magic{3, "NTFS    "sv, ContainerKind::NoReader},
    Magic{3, "EXFAT   "sv, ContainerKind::NoReader},
    Magic{54, "FAT12   "sv, ContainerKind::NoReader},
    Magic{54, "FAT16   "sv, ContainerKind::NoReader},
    Magic{82, "FAT32   "sv, ContainerKind::NoReader},
    Magic{0, "MSWIM\0\0\0"sv, ContainerKind::NoReader},
    Magic{0, "QFI\xfb"sv, ContainerKind::NoReader},
    Magic{0, "KDMV"sv, ContainerKind::NoReader},
    Magic{0, "vhdxfile"sv, ContainerKind::NoReader},
    Magic{0, "conectix"sv, ContainerKind::NoReader},
    Magic{0x40, "\x7f\x10\xda\xbe"sv, ContainerKind::NoReader},  // VDI
    Magic{0, "LUKS\xba\xbe"sv, ContainerKind::NoReader},
    // Compressors and archivers.
    Magic{0, "\x89LZO\0\x0d\x0a\x1a\x0a"sv, ContainerKind::NoReader},
    Magic{0, "LRZI\0"sv, ContainerKind::NoReader},
    Magic{0, "7kSt\xa0\x31\x83\xd3\x8c\xb2"sv, ContainerKind::NoReader},  // zpaq
    Magic{0, "zPQ\x01\x01"sv, ContainerKind::NoReader},
    Magic{0, "zPQ\x02\x01"sv, ContainerKind::NoReader},
    Magic{7, "**ACE**"sv, ContainerKind::NoReader},
    Magic{20, "\xdc\xa7\xc4\xfd"sv, ContainerKind::NoReader},  // zoo
    Magic{0, "StuffIt (c)"sv, ContainerKind::NoReader},
};

// These have no magic number, so all that is fixed about their heads is looked at.
bool IsLzma(std::string_view text) {
    constexpr std::size_t kHead = 14;
    constexpr char kUsualModel = 0x5d;
    if (text.size() < kHead || text[0] != kUsualModel || text[13] != 0) {
        return false;
    }
    const std::uint64_t dictionary = LittleEndian(text, 1, 4);
    const std::uint64_t size = LittleEndian(text, 5, 8);
    return dictionary >= 4096 && std::popcount(dictionary) <= 2 &&
           (size == ~std::uint64_t{0} || size < (std::uint64_t{1} << 38U));
}

bool IsCompress(std::string_view text) {
    if (text.size() < 3 || !text.starts_with("\x1f\x9d")) {
        return false;
    }
    const auto flags = static_cast<unsigned char>(text[2]);
    const unsigned bits = flags & 0x1fU;
    return (flags & 0x60U) == 0 && bits >= 9 && bits <= 16;
}

// A frame that is to be skipped may come before the first one with contents.
bool IsSkippableFrame(std::string_view text) {
    return text.size() > 8 && (static_cast<unsigned char>(text[0]) & 0xf0U) == 0x50U &&
           text.substr(1).starts_with("\x2a\x4d\x18");
}

ContainerKind AfterSkippableFrames(std::string_view text) {
    while (IsSkippableFrame(text)) {
        text.remove_prefix(std::min<std::uint64_t>(text.size(), 8 + LittleEndian(text, 4, 4)));
    }
    if (text.starts_with("\x04\x22\x4d\x18")) {
        return ContainerKind::Lz4;
    }
    return text.starts_with("\x28\xb5\x2f\xfd") ? ContainerKind::Zstd : ContainerKind::None;
}

// A head of its own, with a check sum.
bool IsArj(std::string_view text) {
    const auto size = LittleEndian(text, 2, 2);
    return size >= 30 && text.size() > 8 + size &&
           crc32_z(0, reinterpret_cast<const Bytef*>(text.data()) + 4, size) ==
               LittleEndian(text, 4 + size, 4);
}

// The name of the first member ends where the head says.
bool IsOldCpio(std::string_view text) {
    constexpr std::size_t kHead = 26;
    constexpr std::size_t kSizeOfName = 20;
    constexpr std::size_t kLongestName = 4096;
    const bool lowFirst = text.starts_with("\xc7");
    const auto low = LittleEndian(text, kSizeOfName + (lowFirst ? 0 : 1), 1);
    const auto high = LittleEndian(text, kSizeOfName + (lowFirst ? 1 : 0), 1);
    const std::size_t size = (high << 8U) | low;
    return size > 1 && size <= kLongestName && text.size() > kHead + size &&
           text[kHead + size - 1] == 0 && text[kHead + size - 2] != 0;
}

// What names a file system there is the start of a disk, and ends as such.
bool IsBootSector(const Magic& magic) {
    return magic.text.ends_with("  ") && magic.offset != 0;
}

// Beside the few bytes that say so, the second of which may be anywhere.
bool IsPlausible(const Magic& magic, std::string_view text) {
    switch (magic.kind) {
        case ContainerKind::Bzip2:
            return text.size() > 10 && (text.substr(4).starts_with("1AY&SY") ||
                                        text.substr(4).starts_with("\x17\x72\x45\x38\x50\x90"));
        case ContainerKind::Lha:
            return text.size() > 21 && text[6] == '-' && text[20] <= 3;
        case ContainerKind::Arj:
            return IsArj(text);
        case ContainerKind::Cpio:
            return magic.text.size() > 2 || IsOldCpio(text);
        case ContainerKind::NoReader:
            return !IsBootSector(magic) ||
                   (text.size() > 512 && text.substr(510).starts_with("\x55\xaa"));
        default:
            return true;
    }
}

// The state and the error behaviour of a file system are small numbers, as is its revision.
bool IsExt(std::string_view text) {
    return text.size() > 0x450 && LittleEndian(text, 0x43a, 2) <= 7 &&
           LittleEndian(text, 0x43c, 2) <= 3 && LittleEndian(text, 0x44c, 4) <= 1 &&
           LittleEndian(text, 0x418, 4) <= 6;
}

}  // namespace

std::string_view TextOf(std::span<const std::byte> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

ContainerKind KindOfContainer(std::span<const std::byte> bytes) {
    const std::string_view text = TextOf(bytes);
    for (const Magic& magic : kMagics) {
        if (text.size() > magic.offset && text.substr(magic.offset).starts_with(magic.text) &&
            IsPlausible(magic, text) && (magic.text != "\x53\xef" || IsExt(text))) {
            return magic.kind;
        }
    }
    if (IsLzma(text)) {
        return ContainerKind::Lzma;
    }
    return IsCompress(text) ? ContainerKind::Compress : AfterSkippableFrames(text);
}

bool IsForeignStream(ContainerKind kind) {
    switch (kind) {
        case ContainerKind::Lzma:
        case ContainerKind::Lzip:
        case ContainerKind::Compress:
        case ContainerKind::Zstd:
        case ContainerKind::Lz4:
        case ContainerKind::Rpm:
            return true;
        default:
            return false;
    }
}

bool IsKnownStream(ContainerKind kind) {
    return kind == ContainerKind::Gzip || kind == ContainerKind::Bzip2 || kind == ContainerKind::Xz;
}

bool IsListedByBoth(ContainerKind kind) {
    switch (kind) {
        case ContainerKind::SevenZip:
        case ContainerKind::Tar:
        case ContainerKind::Cab:
        case ContainerKind::Cpio:
        case ContainerKind::Lha:
        case ContainerKind::Xar:
            return true;
        default:
            return false;
    }
}

}  // namespace scanning
