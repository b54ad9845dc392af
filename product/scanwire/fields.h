#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace scanwire {

/// Writes the fields of a record: numbers little-endian, texts with their size (2 bytes) before
/// them.
class FieldWriter {
public:
    /// Appends to `bytes`, which must outlive the writer.
    explicit FieldWriter(std::string& bytes) : m_bytes(bytes) {}

    void U8(std::uint8_t value) { Number(value, 1); }
    void U32(std::uint32_t value) { Number(value, 4); }
    void U64(std::uint64_t value) { Number(value, 8); }

    /// Cut before its first zero byte and after `limit` bytes (at most 65,535).
    void Text(std::string_view text, std::size_t limit);

private:
    void Number(std::uint64_t value, std::size_t size);

    std::string& m_bytes;
};

/// Reads them, and believes nothing: the first thing that is wrong makes every later field zero or
/// empty, and Failed() true.
class FieldReader {
public:
    /// `bytes` must outlive the reader.
    explicit FieldReader(std::string_view bytes) : m_rest(bytes) {}

    std::uint8_t U8() { return static_cast<std::uint8_t>(Number(1)); }
    std::uint32_t U32() { return static_cast<std::uint32_t>(Number(4)); }
    std::uint64_t U64() { return Number(8); }

    /// A text of at most `limit` bytes without zero bytes.
    std::string_view Text(std::size_t limit);

    /// Says that a value was none that there is.
    void Fail();
    void FailUnless(bool holds);

    [[nodiscard]] bool Failed() const { return m_failed; }
    /// Nothing is left and nothing was wrong.
    [[nodiscard]] bool IsDone() const { return !m_failed && m_rest.empty(); }

private:
    std::uint64_t Number(std::size_t size);

    std::string_view m_rest;
    bool m_failed = false;
};

/// Printable ASCII only.
bool IsPlain(std::string_view text);

}  // namespace scanwire
