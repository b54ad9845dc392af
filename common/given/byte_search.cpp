#include "common/given/byte_search.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <span>
#include <unistd.h>

#include "common/io.h"

namespace {

constexpr std::size_t kBlockSize = 2048;
constexpr int kOverlapBeyondNeedle = 5;

unsigned char UpperAscii(unsigned char byte) {
    return byte >= 'a' && byte <= 'z' ? static_cast<unsigned char>(byte - 'a' + 'A') : byte;
}

}  // namespace

int SearchFor(const unsigned char* haystack, int haystackLength, const unsigned char* needle,
              int needleLength) {
    if (haystack == nullptr || needle == nullptr || haystackLength < 1 || needleLength < 1 ||
        needleLength > haystackLength) {
        return -1;
    }
    const auto length = static_cast<std::size_t>(needleLength);
    // The first bytes of all places where the whole needle still has room.
    const unsigned char* at = haystack;
    const unsigned char* const end = haystack + (haystackLength - needleLength) + 1;
    while (at < end) {
        at = static_cast<const unsigned char*>(
            std::memchr(at, needle[0], static_cast<std::size_t>(end - at)));
        if (at == nullptr) {
            return -1;
        }
        if (at[length - 1] == needle[length - 1] && std::memcmp(at, needle, length) == 0) {
            return static_cast<int>(at - haystack);
        }
        ++at;
    }
    return -1;
}

off_t SearchInFile(int fd, const unsigned char* needle, int needleLength, off_t start) {
    if (needle == nullptr || needleLength < 1 || ::lseek(fd, start, SEEK_SET) < 0) {
        return -1;
    }
    std::array<unsigned char, kBlockSize> block{};
    off_t blockOffset = start;
    for (;;) {
        const std::ptrdiff_t got = common::ReadFull(fd, std::as_writable_bytes(std::span(block)));
        if (got < 1) {
            return -1;
        }
        std::transform(block.begin(), block.begin() + got, block.begin(), UpperAscii);
        const int index = SearchFor(block.data(), static_cast<int>(got), needle, needleLength);
        if (index >= 0) {
            return blockOffset + index;
        }
        // A block no longer than the overlap is all overlap: nothing new would be read.
        const std::ptrdiff_t overlap = std::ptrdiff_t{needleLength} + kOverlapBeyondNeedle;
        if (got <= overlap) {
            return -1;
        }
        blockOffset += got - overlap;
        if (::lseek(fd, blockOffset, SEEK_SET) < 0) {
            return -1;
        }
    }
}
