#include "product/definitions/database_head.h"

#include <array>
#include <string>
#include <unistd.h>

#include "common/io.h"
#include "product/definitions/database_archive.h"

namespace definitions {

namespace {

constexpr std::string_view kMark = "ClamAV-VDB";
constexpr std::size_t kHeadSize = 512;
enum Field : std::size_t { kMarkField, kVersionField = 2, kSecondsField = 8, kFields };

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
        common::ReadFull(file, std::as_writable_bytes(std::span(head))) !=
            static_cast<std::ptrdiff_t>(head.size())) {
        return std::nullopt;
    }
    return ParseHead({head.data(), head.size()});
}

std::optional<DatabaseState> ReadSignedState(int file, std::string_view stem) {
    const auto list = ReadSignedList(file);
    if (!list || StemOf(list->name) != stem || !ListsFilesOf(list->text, stem) ||
        !HasAllListed(file, list->text)) {
        return std::nullopt;
    }
    return ParseHead(list->text);
}

}  // namespace definitions
