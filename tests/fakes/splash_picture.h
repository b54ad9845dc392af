#pragma once

#include <array>
#include <filesystem>
#include <fstream>

/// Writes the smallest splash picture there is: one white pixel, 24 bits deep.
inline void WriteSplashPicture(const std::filesystem::path& path) {
    constexpr std::array<unsigned char, 58> kPicture{
        'B', 'M', 58, 0, 0, 0, 0,   0,   0,   0, 54, 0, 0, 0,               // file, pixels at 54
        40,  0,   0,  0, 1, 0, 0,   0,   1,   0, 0,  0, 1, 0, 24, 0,        // 1 x 1, 24 bits
        0,   0,   0,  0, 4, 0, 0,   0,   0,   0, 0,  0, 0, 0, 0,  0, 0, 0,  // not compressed
        0,   0,   0,  0, 0, 0, 255, 255, 255, 0};                           // the pixel, padded
    std::ofstream file(path, std::ios::binary);
    for (const unsigned char byte : kPicture) {
        file.put(static_cast<char>(byte));
    }
}
