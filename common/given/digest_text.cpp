#include "common/given/digest_text.h"

#include <algorithm>
#include <cstdio>

namespace {

constexpr std::size_t kSmallestBuffer = 35;

// Maps "0" to "9" and both cases of "A" to "F" without a branch; other characters give some value
// between 0 and 24, which is why nothing here fails on them.
constexpr unsigned int DigitValue(char digit) {
    return ((static_cast<unsigned char>(digit) & 31U) + 9U) % 25U;
}

}  // namespace

int GetMD5StringCmn(const unsigned char* digest, char* buffer, std::size_t size) {
    if (digest == nullptr || buffer == nullptr || size < kSmallestBuffer) {
        return 0;
    }
    std::fill_n(buffer, size, '\0');
    for (std::size_t i = 0; i < kDigestSize; ++i) {
        std::snprintf(buffer + 2 * i, size - 2 * i, "%02X", digest[i]);
    }
    return 1;
}

int GetMD5FromString(const char* text, std::size_t textLength, unsigned char* output,
                     std::size_t outputSize) {
    if (text == nullptr || output == nullptr || textLength % 2 != 0 ||
        textLength < 2 * kDigestSize) {
        return 0;
    }
    std::fill_n(output, outputSize, static_cast<unsigned char>(0));
    const std::size_t bytes = std::min(textLength / 2, outputSize);
    for (std::size_t i = 0; i < bytes; ++i) {
        output[i] = static_cast<unsigned char>((DigitValue(text[2 * i]) << 4U) +
                                               DigitValue(text[2 * i + 1]));
    }
    return 1;
}
