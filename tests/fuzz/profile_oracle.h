#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// What the functions of common/profile.h must do, written down a second time: plainly, on a whole
// file in memory, and without a line of theirs.

namespace oracle {

/// A file's bytes; nothing for a file that is not there.
using Content = std::optional<std::string>;

struct Piece {
    std::string text;  ///< up to its first zero byte, not trimmed
    std::size_t end;   ///< the offset of what follows it in the file
};

/// The lines of a file as they are read with at most `longest` bytes a line.
std::vector<Piece> Pieces(const std::string& content, std::size_t longest);

std::string Stripped(const std::string& text);

/// What of an argument counts.
std::string Argument(const std::string& text);

struct Lookup {
    std::uint32_t code = 0;
    std::string value;
};
Lookup ReadText(const Content& content, const std::string& section, const std::string& key);

struct Number {
    std::uint32_t code = 0;
    int value = 0;
};
Number ReadNumber(const Content& content, const std::string& section, const std::string& key,
                  int defaultValue);

/// Nothing on failure.
std::optional<std::vector<std::string>> ReadSection(const Content& content,
                                                    const std::string& section);

struct Written {
    std::uint32_t code = 0;
    Content content;
};
Written Write(const Content& content, const std::string& section, const std::string& key,
              const std::string& value, bool isEmptyAccepted);

/// The bytes of a buffer after `text` was copied into all but its last byte.
std::string Filled(std::string buffer, const std::string& text);

struct Legacy {
    std::uint32_t length = 0;
    std::string buffer;
};
Legacy ReadLegacy(const Content& content, const std::string& section, const std::string& key,
                  const std::string& defaultText, const std::string& buffer);

}  // namespace oracle
