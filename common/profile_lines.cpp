#include "common/profile_lines.h"

#include <cstring>
#include <fcntl.h>

#include "common/regular_file.h"
#include "common/string_algorithms.h"

namespace {

constexpr std::size_t kMaxArgumentLength = 256;

}  // namespace

char* Trim(char* text) {
    while (common::IsProfileWhiteSpace(*text)) {
        ++text;
    }
    char* end = text + std::strlen(text);
    while (end != text && common::IsProfileWhiteSpace(end[-1])) {
        --end;
    }
    *end = '\0';
    return text;
}

char* GetSectionName(char* line) {
    char* end = common::IsHeader(line) ? std::strchr(line, ']') : nullptr;
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

std::string common::ProfileArgument(const char* text) {
    std::string argument(text, ::strnlen(text, kMaxArgumentLength));
    return Trim(argument.data());
}

bool common::IsIgnored(const char* line) {
    return *line == '\0' || *line == ';' || *line == '#';
}

bool common::IsHeader(const char* line) {
    return *line == '[';
}

bool common::IsHeaderOf(const char* line, const std::string& section) {
    // Most lines are none: only what is a header is worth a copy.
    if (!common::IsHeader(line)) {
        return false;
    }
    std::string header(line);
    const char* name = GetSectionName(header.data());
    return name != nullptr && text::EqualsIgnoringCase(name, section);
}

common::FileStream common::OpenProfile(const char* path) {
    common::FileDescriptor file = common::OpenRegularFile(path, O_RDONLY, common::Links::kFollow);
    if (!file) {
        return nullptr;
    }
    common::FileStream stream(::fdopen(file.Get(), "r"));
    if (stream) {
        (void)file.Release();
    }
    return stream;
}

char* common::ProfileReader::NextLine() {
    // A zero byte ends the text of its line: the bytes between it and the newline are lost.
    if (std::fgets(m_line.data(), static_cast<int>(m_line.size()), m_file.get()) == nullptr) {
        return nullptr;
    }
    return Trim(m_line.data());
}

char* common::ProfileReader::NextContentLine() {
    char* line = NextLine();
    while (line != nullptr && common::IsIgnored(line)) {
        line = NextLine();
    }
    return line;
}

bool common::ProfileReader::FindSection(const std::string& section) {
    const char* line = NextContentLine();
    while (line != nullptr && !common::IsHeaderOf(line, section)) {
        line = NextContentLine();
    }
    return line != nullptr;
}
