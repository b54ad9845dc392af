#include "common/utf16.h"

#include <cwchar>
#include <locale>

namespace common {

namespace {

// The standard library's conversion between UTF-8 and UTF-16; the classic locale owns it.
using Converter = std::codecvt<char16_t, char8_t, std::mbstate_t>;

const Converter& Utf8Converter() {
    return std::use_facet<Converter>(std::locale::classic());
}

constexpr char16_t kEscapeBase = 0xDC00;
constexpr char16_t kFirstEscape = kEscapeBase + 0x80;
constexpr char16_t kLastEscape = kEscapeBase + 0xFF;

// The length of the run at the start of `bytes` that has no surrogate encoded in three bytes. Such
// are no well-formed UTF-8, but the converter lets them pass.
std::size_t LengthBeforeSurrogate(std::u8string_view bytes) {
    for (std::size_t i = 0; i + 1 < bytes.size(); ++i) {
        if (bytes[i] == 0xED && bytes[i + 1] >= 0xA0 && bytes[i + 1] <= 0xBF) {
            return i;
        }
    }
    return bytes.size();
}

// Appends the UTF-16 of the well-formed start of `bytes` and returns its length.
std::size_t AppendWellFormed(std::u8string_view bytes, std::u16string& out) {
    const std::u8string_view run = bytes.substr(0, LengthBeforeSurrogate(bytes));
    if (run.empty()) {
        return 0;
    }
    const std::size_t before = out.size();
    out.resize(before + run.size());
    std::mbstate_t state{};
    const char8_t* fromNext = nullptr;
    char16_t* toNext = nullptr;
    Utf8Converter().in(state, run.data(), run.data() + run.size(), fromNext, out.data() + before,
                       out.data() + out.size(), toNext);
    out.resize(static_cast<std::size_t>(toNext - out.data()));
    return static_cast<std::size_t>(fromNext - run.data());
}

bool IsHighSurrogate(char16_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}

bool IsLowSurrogate(char16_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

// The length of the run at the start of `units` without a lone surrogate.
std::size_t WellFormedLength(std::u16string_view units) {
    std::size_t i = 0;
    while (i < units.size()) {
        if (IsHighSurrogate(units[i]) && i + 1 < units.size() && IsLowSurrogate(units[i + 1])) {
            i += 2;
        } else if (IsHighSurrogate(units[i]) || IsLowSurrogate(units[i])) {
            break;
        } else {
            ++i;
        }
    }
    return i;
}

void AppendLoneSurrogate(char16_t unit, std::string& out) {
    if (unit >= kFirstEscape && unit <= kLastEscape) {
        out += static_cast<char>(unit - kEscapeBase);
        return;
    }
    out += static_cast<char>(0xE0U | (unit >> 12U));
    out += static_cast<char>(0x80U | ((unit >> 6U) & 0x3FU));
    out += static_cast<char>(0x80U | (unit & 0x3FU));
}

}  // namespace

std::u16string Utf16FromBytes(std::string_view bytes) {
    const std::u8string text(bytes.begin(), bytes.end());
    std::u8string_view rest = text;
    std::u16string out;
    while (!rest.empty()) {
        rest.remove_prefix(AppendWellFormed(rest, out));
        if (!rest.empty()) {
            out += static_cast<char16_t>(kEscapeBase + rest.front());
            rest.remove_prefix(1);
        }
    }
    return out;
}

std::string BytesFromUtf16(std::u16string_view units) {
    constexpr std::size_t kMostBytesPerUnit = 3;
    std::string out;
    while (!units.empty()) {
        const std::u16string_view run = units.substr(0, WellFormedLength(units));
        if (!run.empty()) {
            std::u8string converted(run.size() * kMostBytesPerUnit, u8'\0');
            std::mbstate_t state{};
            const char16_t* fromNext = nullptr;
            char8_t* toNext = nullptr;
            Utf8Converter().out(state, run.data(), run.data() + run.size(), fromNext,
                                converted.data(), converted.data() + converted.size(), toNext);
            out.append(converted.data(), toNext);
            units.remove_prefix(run.size());
        }
        if (!units.empty()) {
            AppendLoneSurrogate(units.front(), out);
            units.remove_prefix(1);
        }
    }
    return out;
}

}  // namespace common
