#include "product/virlog/text_width.h"

#include <algorithm>
#include <cwchar>

#include "common/utf8.h"

namespace {

bool IsAscii(char c) {
    return static_cast<unsigned char>(c) < 0x80;
}

}  // namespace

// wcwidth() asks the locale of the thread, and in the C locale it knows no character beyond ASCII.
TextWidth::TextWidth() : m_utf8(::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)) {}

TextWidth::~TextWidth() {
    if (m_utf8 != nullptr) {
        ::freelocale(m_utf8);
    }
}

std::size_t TextWidth::Of(std::string_view text) const {
    if (std::all_of(text.begin(), text.end(), IsAscii)) {
        return text.size();
    }
    const locale_t previous = m_utf8 != nullptr ? ::uselocale(m_utf8) : nullptr;
    std::size_t width = 0;
    while (!text.empty()) {
        const common::DecodedCharacter next = common::DecodeUtf8(text);
        const int columns = ::wcwidth(static_cast<wchar_t>(next.character));
        width += columns < 0 ? 1 : static_cast<std::size_t>(columns);
        text.remove_prefix(next.length);
    }
    if (previous != nullptr) {
        ::uselocale(previous);
    }
    return width;
}
