#include "common/nibble_swap.h"

#include <algorithm>

void Encrypt(unsigned char* bytes, int length) {
    if (bytes == nullptr || length < 1) {
        return;
    }
    std::transform(bytes, bytes + length, bytes, [](unsigned char byte) {
        return static_cast<unsigned char>((byte << 4 | byte >> 4) & 0xFF);
    });
}

void Decrypt(unsigned char* bytes, int length) {
    Encrypt(bytes, length);
}
