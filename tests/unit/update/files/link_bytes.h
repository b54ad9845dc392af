#pragma once

#include <algorithm>
#include <string>
#include <string_view>

// The bytes of link files, made without the code under test.

/// The bytes that `digits`, two hexadecimal digits each, stand for; blanks count for nothing.
inline std::string Hex(std::string_view digits) {
    std::string bytes;
    std::string pair;
    for (const char digit : digits) {
        if (digit == ' ') {
            continue;
        }
        pair += digit;
        if (pair.size() == 2) {
            bytes += static_cast<char>(std::stoi(pair, nullptr, 16));
            pair.clear();
        }
    }
    return bytes;
}

/// `bytes` as hexadecimal digits.
inline std::string ToHex(std::string_view bytes) {
    std::string digits;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        digits += "0123456789abcdef"[value / 16];
        digits += "0123456789abcdef"[value % 16];
    }
    return digits;
}

/// `text` with zero bytes behind it, `size` bytes in all.
inline std::string Padded(std::string_view text, std::size_t size) {
    std::string bytes(text);
    bytes.resize(size, '\0');
    return bytes;
}

/// As in the administrator's link file: the two digits of each byte change places.
inline std::string Swapped(std::string_view bytes) {
    std::string digits = ToHex(bytes);
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        std::swap(digits[i], digits[i + 1]);
    }
    return Hex(digits);
}

/// As in the update link file: the three highest bits of each byte go to its low end.
inline std::string Rotated(std::string_view bytes) {
    std::string rotated(bytes);
    for (char& byte : rotated) {
        const auto value = static_cast<unsigned char>(byte);
        byte = static_cast<char>(value * 8 % 256 + value / 32);
    }
    return rotated;
}

/// A record of the update link file.
inline std::string UpdateRecord(std::string_view address) {
    return Rotated("????" + Padded(address, 1032));
}

/// An address of the administrator's link file.
inline std::string AdminEntry(std::string_view address) {
    return Swapped(Padded(address, 256));
}
