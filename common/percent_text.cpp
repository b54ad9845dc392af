#include "common/percent_text.h"

#include <limits>

namespace common {
namespace {

constexpr std::string_view kDigits = "0123456789ABCDEF";

bool StandsForItself(char byte) {
    return byte >= ' ' && byte <= '~' && byte != '%';
}

/// The value of a hexadecimal digit, -1 for any other character.
int DigitValue(char digit) {
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    if (digit >= 'A' && digit <= 'F') {
        return digit - 'A' + 10;
    }
    if (digit >= 'a' && digit <= 'f') {
        return digit - 'a' + 10;
    }
    return -1;
}

/// The byte that the first two characters stand for, 0 when they stand for none.
char ByteOf(std::string_view digits) {
    if (digits.size() < 2) {
        return 0;
    }
    const int high = DigitValue(digits[0]);
    const int low = DigitValue(digits[1]);
    return high < 0 || low < 0 ? '\0' : static_cast<char>(high * 16 + low);
}

}  // namespace

std::string PercentEncodedWithin(std::string_view text, std::size_t limit) {
    std::string encoded;
    for (const char byte : text) {
        const std::size_t room = limit - encoded.size();
        if (StandsForItself(byte)) {
            if (room < 1) {
                break;
            }
            encoded += byte;
            continue;
        }
        if (room < 3) {
            break;
        }
        const auto value = static_cast<unsigned char>(byte);
        encoded += {'%', kDigits[value >> 4U], kDigits[value & 15U]};
    }
    return encoded;
}

std::string PercentEncoded(std::string_view text) {
    return PercentEncodedWithin(text, std::numeric_limits<std::size_t>::max());
}

std::optional<std::string> PercentDecoded(std::string_view encoded) {
    std::string text;
    text.reserve(encoded.size());
    while (!encoded.empty()) {
        if (StandsForItself(encoded.front())) {
            text += encoded.front();
            encoded.remove_prefix(1);
            continue;
        }
        if (encoded.front() != '%') {
            return std::nullopt;
        }
        const char byte = ByteOf(encoded.substr(1));
        if (byte == 0) {
            return std::nullopt;
        }
        text += byte;
        encoded.remove_prefix(3);
    }
    return text;
}

}  // namespace common
