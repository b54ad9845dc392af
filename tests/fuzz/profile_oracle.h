#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// What the functions of common/profile.h must do, written down a second time: plainly, on a whole
// file in memory, and without a line of theirs. What they find are views of their arguments, and
// what they write goes into buffers of the caller: a harness that asks them for every input would
// otherwise spend its time on memory.

namespace oracle {

/// A file's bytes; nothing for a file that is not there.
using Content = std::optional<std::string_view>;

struct Piece {
    std::string_view text;  ///< up to its first zero byte, not trimmed
    std::size_t end;        ///< the offset of what follows it in the file
};

/// The line that begins at `start`, inside the file, when at most `longest` bytes are read a line.
Piece PieceAt(std::string_view content, std::size_t start, std::size_t longest);

std::string_view Stripped(std::string_view text);

/// What of an argument counts.
std::string_view Argument(std::string_view text);

struct Lookup {
    std::uint32_t code = 0;
    std::string_view value;
};
Lookup ReadText(const Content& content, std::string_view section, std::string_view key);

struct Number {
    std::uint32_t code = 0;
    int value = 0;
};
Number ReadNumber(const Content& content, std::string_view section, std::string_view key,
                  int defaultValue);

/// Appends the section's lines. False on failure.
bool ReadSection(const Content& content, std::string_view section,
                 std::vector<std::string_view>& lines);

struct Entry {
    std::string_view section;
    std::string_view key;
    std::string_view value;
};
/// The code. On success `result` is the file as it is then; otherwise the file stays.
std::uint32_t Write(const Content& content, const Entry& entry, bool isEmptyAccepted,
                    std::string& result);

struct Legacy {
    bool isFound = false;
    std::optional<std::string_view> left;  ///< what the buffer holds; nothing: what it held before
};
Legacy ReadLegacy(const Content& content, const Entry& wanted);

}  // namespace oracle
