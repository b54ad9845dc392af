#include "product/vault/scrambling.h"

namespace vault {

namespace {

constexpr std::uint64_t kWordSize = 8;

// The SplitMix64 generator, whose n-th word needs none of those before it.
std::uint64_t WordAt(std::uint64_t key, std::uint64_t index) {
    std::uint64_t word = key + (index + 1) * 0x9E3779B97F4A7C15U;
    word = (word ^ (word >> 30U)) * 0xBF58476D1CE4E5B9U;
    word = (word ^ (word >> 27U)) * 0x94D049BB133111EBU;
    return word ^ (word >> 31U);
}

}  // namespace

void Scramble(std::uint64_t key, std::uint64_t offset, std::span<std::byte> bytes) {
    std::uint64_t word = WordAt(key, offset / kWordSize);
    for (std::byte& byte : bytes) {
        byte ^= static_cast<std::byte>(word >> (8U * (offset % kWordSize)));
        if (++offset % kWordSize == 0) {
            word = WordAt(key, offset / kWordSize);
        }
    }
}

}  // namespace vault
