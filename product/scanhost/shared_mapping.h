#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <utility>

namespace scanhost {

/// A memory file of the engine's, mapped. Move-only.
class SharedMapping {
public:
    enum Access { kRead, kWrite };

    /// Maps `size` bytes of `file`; nothing when it is smaller than that or cannot be mapped.
    static std::optional<SharedMapping> Make(int file, std::size_t size, Access access);

    ~SharedMapping();
    SharedMapping(SharedMapping&& other) noexcept : m_bytes(std::exchange(other.m_bytes, {})) {}
    SharedMapping& operator=(SharedMapping&& other) noexcept {
        std::swap(m_bytes, other.m_bytes);
        return *this;
    }
    SharedMapping(const SharedMapping&) = delete;
    SharedMapping& operator=(const SharedMapping&) = delete;

    [[nodiscard]] std::span<const std::byte> Bytes() const { return m_bytes; }
    /// Of one that was made for writing.
    [[nodiscard]] std::span<std::byte> WritableBytes() const { return m_bytes; }

private:
    explicit SharedMapping(std::span<std::byte> bytes) : m_bytes(bytes) {}

    std::span<std::byte> m_bytes;
};

}  // namespace scanhost
