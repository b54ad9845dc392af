#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// What the harnesses of both link files share.

/// The unsigned number of two bytes at `offset`.
inline unsigned int NumberAt(std::string_view bytes, std::size_t offset) {
    return static_cast<unsigned char>(bytes[offset]) +
           256U * static_cast<unsigned char>(bytes[offset + 1]);
}

/// The text at the front of `bytes`, one byte after the other.
inline std::string TextOf(std::string_view bytes) {
    std::string text;
    for (const char byte : bytes) {
        if (byte == '\0') {
            break;
        }
        text += byte;
    }
    return text;
}
