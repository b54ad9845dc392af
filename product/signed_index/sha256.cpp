#include "product/signed_index/sha256.h"

#include <array>
#include <new>
#include <openssl/evp.h>
#include <string_view>
#include <vector>

#include "common/io.h"

namespace signed_index {

namespace {

void Require(int succeeded) {
    if (succeeded != 1) {
        throw std::bad_alloc();
    }
}

}  // namespace

void Sha256::Free::operator()(evp_md_ctx_st* context) const {
    EVP_MD_CTX_free(context);
}

Sha256::Sha256() : m_context(EVP_MD_CTX_new()) {
    Require(m_context != nullptr ? EVP_DigestInit_ex(m_context.get(), EVP_sha256(), nullptr) : 0);
}

void Sha256::Add(std::span<const std::byte> bytes) {
    Require(EVP_DigestUpdate(m_context.get(), bytes.data(), bytes.size()));
}

std::string Sha256::Finish() {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int length = 0;
    Require(EVP_DigestFinal_ex(m_context.get(), digest.data(), &length));
    std::string text;
    for (const unsigned char byte : std::span(digest).first(length)) {
        text += {kDigits[byte >> 4U], kDigits[byte & 15U]};
    }
    return text;
}

std::optional<FileDigest> DigestOf(int fd, std::uint64_t limit) {
    constexpr std::size_t kBlock = std::size_t{256} * 1024;
    std::vector<std::byte> buffer(kBlock);
    Sha256 hash;
    std::uint64_t size = 0;
    std::ptrdiff_t got = 0;
    while (size <= limit && (got = common::ReadFull(fd, buffer)) > 0) {
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
