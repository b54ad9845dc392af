#pragma once

#include <string>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "tests/fuzz/fuzz.h"

/// A file in memory that a reader gets to see. Made once and filled anew for every input: making
/// one takes longer than most readers do.
class MemoryFile {
public:
    MemoryFile()
        : m_file(::memfd_create("fuzz", MFD_CLOEXEC)),
          m_path("/proc/self/fd/" + std::to_string(m_file.Get())) {
        Require(m_file.IsOpen(), "no file in memory");
    }

    /// Makes `bytes` its content and goes to its start.
    void Put(std::string_view bytes) const {
        const auto size = static_cast<off_t>(bytes.size());
        Require(::pwrite(Get(), bytes.data(), bytes.size(), 0) == size &&
                    ::ftruncate(Get(), size) == 0 && ::lseek(Get(), 0, SEEK_SET) == 0,
                "the file in memory cannot be filled");
    }

    [[nodiscard]] int Get() const { return m_file.Get(); }
    /// For a reader that opens by path.
    [[nodiscard]] const std::string& Path() const { return m_path; }

private:
    common::FileDescriptor m_file;
    std::string m_path;
};
