#pragma once

#include <cstddef>
#include <span>
#include <string>

#include "common/file_descriptor.h"

namespace scanapi {

/// Memory that is shared with another process through a descriptor. It keeps its size whatever the
/// other does: what we have mapped never goes away under us. Move-only.
class SharedMemory {
public:
    enum class Other { kReads, kWrites };

    SharedMemory() = default;
    /// Empty when the system has none to give.
    SharedMemory(const char* name, std::size_t size, Other other);
    ~SharedMemory();
    SharedMemory(SharedMemory&& moved) noexcept;
    SharedMemory& operator=(SharedMemory&&) = delete;
    SharedMemory(const SharedMemory&) = delete;
    SharedMemory& operator=(const SharedMemory&) = delete;

    [[nodiscard]] std::span<std::byte> Bytes() const { return m_bytes; }
    [[nodiscard]] int Descriptor() const { return m_file.Get(); }
    explicit operator bool() const { return !m_bytes.empty(); }

private:
    common::FileDescriptor m_file;
    std::span<std::byte> m_bytes;
};

}  // namespace scanapi
