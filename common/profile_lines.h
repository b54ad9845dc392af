#pragma once

#include <array>
#include <cstdio>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <utility>

#include "common/owners.h"

// The lines of a profile file, for those who read and write it. Texts are bytes in the C locale,
// whatever locale the program is in.

namespace common {

/// isspace of the C locale.
constexpr bool IsProfileWhiteSpace(char byte) {
    return byte == ' ' || (byte >= '\t' && byte <= '\r');
}

}  // namespace common

/// Removes white space at both ends, in place, and returns the start of what is left.
char* Trim(char* text);

/// The name in a trimmed header line, itself trimmed; the line is cut for it. Null when the line is
/// no header or has no "]".
char* GetSectionName(char* line);

/// 0 when the key of a trimmed entry line is `key` without regard to ASCII case, else -1. Cuts the
/// line to its key, in place.
int CompareKey(char* line, const char* key);

/// Writes `line` and a newline. Whether all of it reached the disk shows when `file` is closed.
void WriteToFile(std::FILE* file, std::string_view line);

namespace common {

/// A section, key or value as it counts: the first 256 bytes, trimmed.
std::string ProfileArgument(const char* text);

/// Whether a trimmed line is blank or a comment.
bool IsIgnored(const char* line);

/// Whether a trimmed line ends a section, its name readable or not.
bool IsHeader(const char* line);

/// Whether a trimmed line is the header of `section`. Leaves the line as it is.
bool IsHeaderOf(const char* line, const std::string& section);

/// Opens an existing regular file to read; nothing else, so that a FIFO cannot hold the caller.
/// Null on failure.
FileStream OpenProfile(const char* path);

/// Reads a profile file line by line.
class ProfileReader {
public:
    explicit ProfileReader(const char* path) : m_file(OpenProfile(path)) {}
    explicit ProfileReader(FileStream file) : m_file(std::move(file)) {}

    [[nodiscard]] bool IsOpen() const { return m_file != nullptr; }

    /// The next line, trimmed, in a buffer that holds it until the next call. Null at the end.
    char* NextLine();

    /// NextLine, without blank lines and comments.
    char* NextContentLine();

    /// Goes on behind the first header of `section`. False when there is none.
    bool FindSection(const std::string& section);

    /// What follows the last line read.
    [[nodiscard]] std::FILE* Rest() { return m_file.get(); }

private:
    // A longer line is read in pieces and counts as several.
    static constexpr std::size_t kLineBufferSize = 1024;

    FileStream m_file;
    std::array<char, kLineBufferSize> m_line{};
};

/// Copies the profile to `to` with `entry`, "key=value", in the place of the line in `section` that
/// has `key`, or else at the end of the section, which is added where it is missing. All three are
/// arguments as ProfileArgument gives them. Whether all of it was read and written the streams
/// tell.
void CopyProfile(ProfileReader& profile, std::FILE* to, const std::string& section,
                 const std::string& key, const std::string& entry);

}  // namespace common
