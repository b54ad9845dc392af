#include "product/scanwire/fields.h"

#include <algorithm>

namespace scanwire {

void FieldWriter::Number(std::uint64_t value, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) {
        m_bytes += static_cast<char>(value & 0xFFU);
        value >>= 8U;
    }
}

void FieldWriter::Text(std::string_view text, std::size_t limit) {
    text = text.substr(0, std::min({limit, text.find('\0'), std::size_t{0xFFFF}}));
    Number(text.size(), 2);
    m_bytes += text;
}

std::uint64_t FieldReader::Number(std::size_t size) {
    if (m_rest.size() < size) {
        Fail();
    }
    if (m_failed) {
        return 0;
    }
    std::uint64_t value = 0;
    for (std::size_t i = size; i > 0; --i) {
        value = value << 8U | static_cast<unsigned char>(m_rest[i - 1]);
    }
    m_rest.remove_prefix(size);
    return value;
}

std::string_view FieldReader::Text(std::size_t limit) {
    const std::size_t size = Number(2);
    const std::string_view text = m_rest.substr(0, size);
    if (size > limit || text.size() < size || text.find('\0') != std::string_view::npos) {
        Fail();
    }
    if (m_failed) {
        return {};
    }
    m_rest.remove_prefix(size);
    return text;
}

void FieldReader::Fail() {
    m_failed = true;
    m_rest = {};
}

void FieldReader::FailUnless(bool holds) {
    if (!holds) {
        Fail();
    }
}

bool IsPlain(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char byte) { return byte >= ' ' && byte <= '~'; });
}

}  // namespace scanwire
