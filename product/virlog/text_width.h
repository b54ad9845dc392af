#pragma once

#include <clocale>
#include <cstddef>
#include <string_view>

/// Measures texts in the columns that a terminal gives them, whatever locale the user has: wide
/// characters take two, combining ones none. Used by one thread at a time.
class TextWidth {
public:
    TextWidth();
    ~TextWidth();
    TextWidth(const TextWidth&) = delete;
    TextWidth& operator=(const TextWidth&) = delete;

    /// `text` is well-formed UTF-8 without control characters. A character that the C library does
    /// not know counts as one column.
    [[nodiscard]] std::size_t Of(std::string_view text) const;

private:
    locale_t m_utf8;
};
