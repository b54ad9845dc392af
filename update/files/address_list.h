#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

/// Frees a list of `count` addresses: each entry that is not null, and the array. A null list does
/// nothing. Any thread.
void FreeMemory(char** list, unsigned short count);

namespace update {

/// The same for a list of any length.
void FreeAddresses(char** list, std::size_t count);

/// Deleter of a list that knows how many entries it has so far.
struct FreeAddressList {
    std::size_t count = 0;
    void operator()(char** list) const { FreeAddresses(list, count); }
};

/// A list of addresses while it is being made. Callers in the manner of C get it as an array of
/// texts, each from the C library's allocator, which they free through FreeMemory or
/// CUpdate::FreeUpdtLink.
class AddressList {
public:
    /// Empties the list and makes room for `capacity` addresses. False when memory is short.
    bool Reserve(std::size_t capacity);

    /// Adds a terminated copy of `text` in a zeroed buffer of `bufferSize` bytes, cut to fit.
    /// False, with the list as it was, when memory is short and when the room is used up.
    bool Add(std::string_view text, std::size_t bufferSize);

    [[nodiscard]] std::size_t Size() const { return m_entries.get_deleter().count; }

    /// Gives the array away, which is never null after a successful Reserve.
    [[nodiscard]] char** Release();

private:
    std::unique_ptr<char*[], FreeAddressList> m_entries;
    std::size_t m_capacity = 0;
};

}  // namespace update
