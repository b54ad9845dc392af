#include "product/scanning/self_extractor.h"

#include <array>
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
    return bytes.size() > kMark + size && size >= 13 && LittleEndian(bytes, 9, 1) == kArchiveHead &&
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
    return bytes.substr(6).starts_with("\x01\0"sv) ? IsNewRar(bytes)
                                                   : bytes[6] == 0 && IsOldRar(bytes);
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

void FindFirst(std::string_view bytes, const Head& head, std::vector<EmbeddedArchive>& found) {
    for (auto at = FindBytes(bytes, head.magic, 1); at != std::string_view::npos;
         at = FindBytes(bytes, head.magic, at + 1)) {
        if (head.isRight(bytes.substr(at))) {
            found.push_back({head.kind, at});
            return;
        }
    }
}

}  // namespace

std::vector<EmbeddedArchive> FindEmbeddedArchives(std::string_view bytes) {
    static constexpr std::array kInPrograms{
        Head{"7z\xbc\xaf\x27\x1c"sv, ContainerKind::SevenZip, IsSevenZip},
        Head{"Rar!\x1a\x07"sv, ContainerKind::Rar, IsRar},
        Head{"PK\x03\x04"sv, ContainerKind::Zip, IsZip},
    };
    static constexpr std::array kInScripts{
        Head{"\x1f\x8b\x08"sv, ContainerKind::Gzip, IsGzip},
        Head{"BZh"sv, ContainerKind::Bzip2, IsOtherStream},
        Head{"\xfd\x37zXZ\0"sv, ContainerKind::Xz, IsOtherStream},
    };
    std::vector<EmbeddedArchive> found;
    const bool isScript = bytes.starts_with("#!");
    if (isScript || bytes.starts_with("MZ") ||
        bytes.starts_with("\x7f"
                          "ELF")) {
        for (const Head& head : kInPrograms) {
            FindFirst(bytes, head, found);
        }
    }
    if (isScript) {
        for (const Head& head : kInScripts) {
            FindFirst(bytes, head, found);
        }
    }
    return found;
}

}  // namespace scanning
