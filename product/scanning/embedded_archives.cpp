#include "product/scanning/embedded_archives.h"

#include <array>
#include <bit>
#include <cstdint>
#include <span>
#include <zlib.h>

#include "product/scanning/stored_numbers.h"
#include "product/scanning/zip_directory.h"

namespace scanning {

namespace {

using namespace std::string_view_literals;

std::uint64_t Crc(std::string_view bytes) {
    return crc32_z(0, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size());
}

bool IsSevenZip(std::string_view bytes) {
    constexpr std::size_t kHead = 32;
    return bytes.size() > kHead && bytes[6] == 0 &&
           Crc(bytes.substr(12, 20)) == LittleEndian(bytes, 8, 4);
}

bool IsOldRar(std::string_view bytes) {
    constexpr std::size_t kMark = 7;
    constexpr std::uint64_t kArchiveHead = 0x73;
    const auto size = LittleEndian(bytes, kMark + 5, 2);
    return bytes.size() > kMark + size && size >= 13 && bytes[6] == 0 &&
           LittleEndian(bytes, 9, 1) == kArchiveHead &&
           (Crc(bytes.substr(9, size - 2)) & 0xffffU) == LittleEndian(bytes, kMark, 2);
}

bool IsNewRar(std::string_view bytes) {
    constexpr std::size_t kMark = 8;
    constexpr std::size_t kSizeAt = kMark + 4;
    // The size is written seven bits a byte; that of this head fits in one or two.
    const auto first = LittleEndian(bytes, kSizeAt, 1);
    const bool isLong = (first & 0x80U) != 0;
    const auto size =
        (first & 0x7fU) | (isLong ? (LittleEndian(bytes, kSizeAt + 1, 1) & 0x7fU) << 7U : 0U);
    const std::size_t width = isLong ? 2 : 1;
    return size > 0 && bytes.size() > kSizeAt + width + size &&
           Crc(bytes.substr(kSizeAt, width + size)) == LittleEndian(bytes, kMark, 4);
}

bool IsRar(std::string_view bytes) {
    return bytes.substr(6).starts_with("\x01\0"sv) ? IsNewRar(bytes) : IsOldRar(bytes);
}

bool IsCab(std::string_view bytes) {
    constexpr std::uint64_t kHead = 36;
    constexpr std::uint64_t kVersion = 0x0103;
    return bytes.size() > kHead && LittleEndian(bytes, 8, 4) > kHead &&
           LittleEndian(bytes, 12, 4) == 0 && LittleEndian(bytes, 16, 4) >= kHead &&
           LittleEndian(bytes, 20, 4) == 0 && LittleEndian(bytes, 24, 2) == kVersion &&
           LittleEndian(bytes, 26, 2) > 0 && LittleEndian(bytes, 28, 2) > 0;
}

// The heads of its members look the same but for what they say they are.
bool IsArj(std::string_view bytes) {
    constexpr std::uint64_t kOfTheArchive = 2;
    return LittleEndian(bytes, 10, 1) == kOfTheArchive &&
           KindOfContainer(std::as_bytes(std::span(bytes))) == ContainerKind::Arj;
}

// The size of its blocks stands there twice, once as a power of two.
bool IsSquashfs(std::string_view bytes) {
    constexpr std::uint64_t kHead = 96;
    const auto block = LittleEndian(bytes, 12, 4);
    return bytes.size() > kHead && LittleEndian(bytes, 28, 4) == 4 && std::has_single_bit(block) &&
           LittleEndian(bytes, 22, 2) == static_cast<std::uint64_t>(std::countr_zero(block));
}

bool IsZip(std::string_view bytes) {
    return IsZipMember(bytes, 0);
}

bool IsGzip(std::string_view bytes) {
    constexpr std::size_t kHead = 18;
    return bytes.size() > kHead && LittleEndian(bytes, 3, 1) < 0x20;
}

bool IsOtherStream(std::string_view bytes) {
    return IsKnownStream(KindOfContainer(std::as_bytes(std::span(bytes))));
}

struct Head {
    std::string_view magic;
    ContainerKind kind;
    bool (*isRight)(std::string_view bytes);
};

constexpr std::array kAnywhere{
    Head{"7z\xbc\xaf\x27\x1c"sv, ContainerKind::SevenZip, IsSevenZip},
    Head{"Rar!\x1a\x07"sv, ContainerKind::Rar, IsRar},
    Head{"MSCF\0\0\0\0"sv, ContainerKind::Cab, IsCab},
    Head{"\x60\xea"sv, ContainerKind::Arj, IsArj},
    // A program may come with a file system of its own.
    Head{"hsqs"sv, ContainerKind::NoReader, IsSquashfs},
};
constexpr Head kZip{"PK\x03\x04"sv, ContainerKind::Zip, IsZip};
constexpr std::array kInScripts{
    Head{"\x1f\x8b\x08"sv, ContainerKind::Gzip, IsGzip},
    Head{"BZh"sv, ContainerKind::Bzip2, IsOtherStream},
    Head{"\xfd\x37zXZ\0"sv, ContainerKind::Xz, IsOtherStream},
};

void Find(std::string_view bytes, const Head& head, std::size_t most,
          std::vector<EmbeddedArchive>& found) {
    for (auto at = FindBytes(bytes, head.magic, 1); at != std::string_view::npos && most > 0;
         at = FindBytes(bytes, head.magic, at + 1)) {
        if (head.isRight(bytes.substr(at))) {
            found.push_back({head.kind, at});
            --most;
        }
    }
}

}  // namespace

std::vector<EmbeddedArchive> FindEmbeddedArchives(std::string_view bytes, bool withZip) {
    const bool isScript = bytes.starts_with("#!");
    const bool isProgram = bytes.starts_with("MZ") || bytes.starts_with(
                                                          "\x7f"
                                                          "ELF");
    std::vector<EmbeddedArchive> found;
    for (const Head& head : kAnywhere) {
        Find(bytes, head, kMostEmbedded + 1 - found.size(), found);
    }
    // Every member of a zip file has a head that is like the first.
    if (isScript || isProgram || withZip) {
        Find(bytes, kZip, 1, found);
    }
    if (isScript) {
        for (const Head& head : kInScripts) {
            Find(bytes, head, 1, found);
        }
    }
    return found;
}

}  // namespace scanning
