#include "common/profile_lines.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>

#include "common/regular_file.h"
#include "common/string_algorithms.h"

namespace {

constexpr std::size_t kMaxArgumentLength = 256;

}  // namespace

char* Trim(char* text) {
    std::string_view rest = text;
    rest.remove_prefix(std::min(rest.find_first_not_of(kProfileWhiteSpace), rest.size()));
    char* start = text + (rest.data() - text);
    start[rest.find_last_not_of(kProfileWhiteSpace) + 1] = '\0';
    return start;
}

char* GetSectionName(char* line) {
    char* end = IsHeader(line) ? std::strchr(line, ']') : nullptr;
    if (end == nullptr) {
        return nullptr;
    }
    *end = '\0';
    return Trim(line + 1);
}

int CompareKey(char* line, const char* key) {
    line[std::strcspn(line, "=")] = '\0';
    return text::EqualsIgnoringCase(Trim(line), key) ? 0 : -1;
}

void WriteToFile(std::FILE* file, std::string_view line) {
    (void)std::fwrite(line.data(), 1, line.size(), file);
    (void)std::fputc('\n', file);
}

std::string ProfileArgument(const char* text) {
    std::string argument(text, ::strnlen(text, kMaxArgumentLength));
    return Trim(argument.data());
}

bool IsIgnored(const char* line) {
    return *line == '\0' || *line == ';' || *line == '#';
}

bool IsHeader(const char* line) {
    return *line == '[';
}

bool IsHeaderOf(std::string_view line, const std::string& section) {
    std::string header(line);
    const char* name = GetSectionName(header.data());
    return name != nullptr && text::EqualsIgnoringCase(name, section);
}

FileStream OpenProfile(const char* path) {
    FileDescriptor file = common::OpenRegularFile(path, O_RDONLY, common::Links::kFollow);
    if (!file) {
        return nullptr;
    }
    FileStream stream(::fdopen(file.Get(), "r"));
    if (stream) {
        (void)file.Release();
    }
    return stream;
}

char* ProfileReader::NextLine() {
    // A zero byte ends the text of its line: the bytes between it and the newline are lost.
    if (std::fgets(m_line.data(), static_cast<int>(m_line.size()), m_file.get()) == nullptr) {
        return nullptr;
    }
    return Trim(m_line.data());
}

char* ProfileReader::NextContentLine() {
    char* line = NextLine();
    while (line != nullptr && IsIgnored(line)) {
        line = NextLine();
    }
    return line;
}

bool ProfileReader::FindSection(const std::string& section) {
    const char* line = NextContentLine();
    while (line != nullptr && !IsHeaderOf(line, section)) {
        line = NextContentLine();
    }
    return line != nullptr;
}
