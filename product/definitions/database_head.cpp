#include "product/definitions/database_head.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <memory>
#include <unistd.h>
#include <zlib.h>

#include "common/io.h"

namespace definitions {

namespace {

constexpr std::string_view kMark = "ClamAV-VDB";
constexpr std::size_t kHeadSize = 512;
constexpr std::size_t kBlock = 512;  // of the archive
constexpr std::size_t kMaxList = std::size_t{256} * 1024;
// The list is the first or the second of the archive's files, behind a licence.
constexpr int kMaxEntries = 8;
constexpr std::size_t kMaxSkipped = std::size_t{1024} * 1024;

enum Field : std::size_t { kMarkField, kVersionField = 2, kSecondsField = 8, kFields };

struct CloseArchive {
    void operator()(gzFile_s* archive) const { (void)::gzclose(archive); }
};
using Archive = std::unique_ptr<gzFile_s, CloseArchive>;

struct Entry {
    std::string name;
    std::string content;
};

bool ReadWhole(gzFile archive, char* bytes, std::size_t size) {
    return ::gzread(archive, bytes, static_cast<unsigned int>(size)) == static_cast<int>(size);
}

// A field of an archive's head, up to its zero byte or blank.
std::string_view TextField(const std::array<char, kBlock>& head, std::size_t at, std::size_t size) {
    const std::string_view field(head.data() + at, size);
    return field.substr(0, field.find_first_of(std::string_view("\0 ", 2)));
}

std::optional<std::size_t> OctalField(std::string_view digits) {
    std::size_t number = 0;
    const char* end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, number, 8);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

bool IsListName(std::string_view name) {
    constexpr std::string_view kEnding = ".info";
    return name.size() > kEnding.size() &&
           std::equal(kEnding.rbegin(), kEnding.rend(), name.rbegin(), [](char left, char right) {
               return left == std::tolower(static_cast<unsigned char>(right));
           });
}

// The first list in the archive: it is the one whose signature the library checks.
std::optional<Entry> FindList(gzFile archive) {
    std::size_t skipped = 0;
    for (int entry = 0; entry < kMaxEntries; ++entry) {
        std::array<char, kBlock> head{};
        if (!ReadWhole(archive, head.data(), head.size())) {
            return std::nullopt;
        }
        constexpr std::size_t kNameSize = 100;
        constexpr std::size_t kSizeAt = 124;
        constexpr std::size_t kSizeSize = 12;
        const std::string_view name = TextField(head, 0, kNameSize);
        const auto size = OctalField(TextField(head, kSizeAt, kSizeSize));
        const bool isList = IsListName(name);
        if (!size || *size > (isList ? kMaxList : kMaxSkipped - skipped)) {
            return std::nullopt;
        }
        std::string content(*size, '\0');
        const std::size_t padding = (kBlock - *size % kBlock) % kBlock;
        if (!ReadWhole(archive, content.data(), content.size())) {
            return std::nullopt;
        }
        if (isList) {
            return Entry{std::string(name), std::move(content)};
        }
        if (!ReadWhole(archive, head.data(), padding)) {
            return std::nullopt;
        }
        skipped += *size;
    }
    return std::nullopt;
}

// Whether the list names files of the database `stem`. The one of bytecode alone has files of other
// names.
bool ListsFilesOf(std::string_view list, std::string_view stem) {
    const std::string start = "\n" + std::string(stem) + ".";
    return list.find(start) != std::string_view::npos ||
           (stem == "bytecode" && list.find(".cbc:") != std::string_view::npos);
}

}  // namespace

std::optional<DatabaseState> ParseHead(std::string_view line) {
    line = line.substr(0, line.find('\n'));
    line = line.substr(0, line.find_last_not_of(' ') + 1);
    std::array<std::string_view, kFields> fields;
    for (std::size_t index = 0; index < kFields; ++index) {
        const auto colon = line.find(':');
        const bool isLast = index + 1 == kFields;
        if (isLast != (colon == std::string_view::npos)) {
            return std::nullopt;
        }
        fields[index] = line.substr(0, colon);
        line.remove_prefix(isLast ? line.size() : colon + 1);
    }
    const auto version = NumberOf<std::uint32_t>(fields[kVersionField]);
    const auto built = NumberOf<std::time_t>(fields[kSecondsField]);
    if (fields[kMarkField] != kMark || !version || *version == 0 || !built) {
        return std::nullopt;
    }
    return DatabaseState{*version, *built};
}

bool IsOfficialName(std::string_view name) {
    return name.size() > 4 && (name.ends_with(".cvd") || name.ends_with(".cld"));
}

std::string_view StemOf(std::string_view name) {
    return name.substr(0, name.rfind('.'));
}

std::optional<DatabaseState> ReadHead(int file) {
    std::array<char, kHeadSize> head{};
    if (::lseek(file, 0, SEEK_SET) != 0 ||
        ReadFull(file, std::as_writable_bytes(std::span(head))) !=
            static_cast<std::ptrdiff_t>(head.size())) {
        return std::nullopt;
    }
    return ParseHead({head.data(), head.size()});
}

std::optional<DatabaseState> ReadSignedState(int file, std::string_view stem) {
    if (::lseek(file, kHeadSize, SEEK_SET) != static_cast<off_t>(kHeadSize)) {
        return std::nullopt;
    }
    // Reads what is not packed as it stands.
    const int copy = ::dup(file);
    const Archive archive(copy >= 0 ? ::gzdopen(copy, "rb") : nullptr);
    if (archive == nullptr) {
        if (copy >= 0) {
            ::close(copy);
        }
        return std::nullopt;
    }
    const auto list = FindList(archive.get());
    if (!list || StemOf(list->name) != stem || !ListsFilesOf(list->content, stem)) {
        return std::nullopt;
    }
    return ParseHead(list->content);
}

}  // namespace definitions
