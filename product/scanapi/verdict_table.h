#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace scanapi {

/// Records of the verdict cache in memory, to be found by their keys. An object is for one thread.
class VerdictTable {
public:
    /// Takes records up to so many bytes in all; what comes after that is not kept.
    explicit VerdictTable(std::uint64_t limit) : m_limit(limit) {}

    /// Keeps the well-formed `record`, instead of one with the same key. False when it could not.
    bool Add(std::string_view record);

    /// The record with this key, valid until the next Add().
    [[nodiscard]] std::optional<std::string_view> Find(std::string_view key) const;

    /// How many records can be found.
    [[nodiscard]] std::size_t Count() const { return m_count; }

private:
    [[nodiscard]] std::string_view At(std::uint32_t place) const;
    [[nodiscard]] std::optional<std::size_t> SlotOf(std::string_view key) const;
    void Grow();

    std::uint64_t m_limit;
    std::string m_records;
    std::vector<std::uint32_t> m_slots;  ///< where a record begins, and one; 0 is free
    std::size_t m_count = 0;
};

}  // namespace scanapi
