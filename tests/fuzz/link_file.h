#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "common/io.h"
#include "tests/fuzz/fuzz.h"

// What the harnesses of both link files share.

/// A file in memory that a reader gets to see.
class MemoryFile {
public:
    explicit MemoryFile(std::string_view bytes) : m_file(::memfd_create("fuzz", MFD_CLOEXEC)) {
        Require(m_file.IsOpen() && WriteAll(m_file.Get(), bytes), "no file in memory");
        Require(::lseek(m_file.Get(), 0, SEEK_SET) == 0, "no way back");
    }

    [[nodiscard]] int Get() const { return m_file.Get(); }
    [[nodiscard]] std::string Path() const { return "/proc/self/fd/" + std::to_string(Get()); }

private:
    FileDescriptor m_file;
};

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
