#include "product/signed_index/sha256.h"

#include <array>
#include <cstddef>
#include <sodium/utils.h>
#include <vector>

#include "common/io.h"

namespace signed_index {

Sha256::Sha256() {
    crypto_hash_sha256_init(&m_state);
}

void Sha256::Add(std::span<const std::byte> bytes) {
    crypto_hash_sha256_update(&m_state, reinterpret_cast<const unsigned char*>(bytes.data()),
                              bytes.size());
}

std::string Sha256::Finish() {
    std::array<unsigned char, crypto_hash_sha256_BYTES> digest{};
    crypto_hash_sha256_final(&m_state, digest.data());
    std::array<char, 2 * crypto_hash_sha256_BYTES + 1> text{};
    sodium_bin2hex(text.data(), text.size(), digest.data(), digest.size());
    return text.data();
}

std::optional<FileDigest> DigestOf(int fd, std::uint64_t limit) {
    constexpr std::size_t kBlock = std::size_t{256} * 1024;
    std::vector<std::byte> buffer(kBlock);
    Sha256 hash;
    std::uint64_t size = 0;
    std::ptrdiff_t got = 0;
    while (size <= limit && (got = ReadFull(fd, buffer)) > 0) {
        const auto count = static_cast<std::size_t>(got);
        hash.Add(std::span(buffer).first(count));
        size += count;
    }
    if (got < 0) {
        return std::nullopt;
    }
    return FileDigest{size, hash.Finish()};
}

}  // namespace signed_index
