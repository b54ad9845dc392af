#include "product/signed_index/secret_key.h"

#include <algorithm>
#include <cstddef>
#include <sodium/crypto_generichash.h>
#include <sodium/crypto_sign.h>
#include <sodium/utils.h>
#include <span>

#include "product/signed_index/minisign_text.h"

namespace signed_index {

namespace {

// The decoded line: what the file is, how it is protected, and the key with its checksum.
constexpr std::size_t kKeyDerivation = 2;
constexpr std::size_t kChecksumKind = 4;
constexpr std::size_t kId = 54;  // behind a salt of 32 bytes and two numbers of 8
constexpr std::size_t kKey = kId + sizeof(KeyId);
constexpr std::size_t kChecksum = kKey + 64;
constexpr std::size_t kSize = kChecksum + 32;

using Line = std::array<unsigned char, kSize>;

struct WipedLine {
    Line bytes{};
    ~WipedLine() { sodium_memzero(bytes.data(), bytes.size()); }
};

bool Holds(const Line& line, std::size_t at, std::string_view text) {
    return std::equal(text.begin(), text.end(), line.begin() + static_cast<std::ptrdiff_t>(at),
                      [](char character, unsigned char byte) {
                          return static_cast<unsigned char>(character) == byte;
                      });
}

// minisign writes the checksum of a key without a password as zeros, or for real.
bool HasFittingChecksum(const Line& line) {
    std::array<unsigned char, kSize - kChecksum> checksum{};
    crypto_generichash_state state;
    crypto_generichash_init(&state, nullptr, 0, checksum.size());
    crypto_generichash_update(&state, line.data(), kKeyDerivation);
    crypto_generichash_update(&state, line.data() + kId, kChecksum - kId);
    crypto_generichash_final(&state, checksum.data(), checksum.size());
    const auto given = std::span(line).subspan(kChecksum);
    return sodium_is_zero(given.data(), given.size()) != 0 ||
           std::equal(given.begin(), given.end(), checksum.begin());
}

// Whether the public half is the one that belongs to the seed.
bool BelongsTogether(const std::array<unsigned char, 64>& key) {
    std::array<unsigned char, 32> publicKey{};
    std::array<unsigned char, 64> made{};
    crypto_sign_seed_keypair(publicKey.data(), made.data(), key.data());
    const bool isSame = made == key;
    sodium_memzero(made.data(), made.size());
    return isSame;
}

}  // namespace

SecretKey::~SecretKey() {
    sodium_memzero(m_key.data(), m_key.size());
}

Refusal SecretKey::Parse(std::string_view text) {
    const auto comment = TakeLine(text);
    const auto encoded = TakeLine(text);
    WipedLine line;
    if (!comment || !comment->starts_with("untrusted comment:") || !encoded || !text.empty() ||
        !DecodeBase64(*encoded, line.bytes) || !Holds(line.bytes, 0, "Ed") ||
        !Holds(line.bytes, kChecksumKind, "B2")) {
        return Refusal::kSecretKeyMalformed;
    }
    if (!Holds(line.bytes, kKeyDerivation, std::string_view("\0\0", 2))) {
        return Refusal::kSecretKeyEncrypted;
    }
    const auto* start = line.bytes.data();
    std::copy_n(start + kId, m_id.size(), m_id.begin());
    std::copy_n(start + kKey, m_key.size(), m_key.begin());
    return HasFittingChecksum(line.bytes) && BelongsTogether(m_key) ? Refusal::kNone
                                                                    : Refusal::kSecretKeyDamaged;
}

PublicKey SecretKey::Public() const {
    PublicKey key;
    key.id = m_id;
    crypto_sign_ed25519_sk_to_pk(key.key.data(), m_key.data());
    return key;
}

std::string SecretKey::Sign(std::string_view bytes, std::string_view trustedComment) const {
    std::array<unsigned char, 64> digest{};
    crypto_generichash(digest.data(), digest.size(),
                       reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(), nullptr,
                       0);
    SignatureBytes signature{};
    crypto_sign_detached(signature.data(), nullptr, digest.data(), digest.size(), m_key.data());

    std::string comment(reinterpret_cast<const char*>(signature.data()), signature.size());
    comment += trustedComment;
    SignatureBytes commentSignature{};
    crypto_sign_detached(commentSignature.data(), nullptr,
                         reinterpret_cast<const unsigned char*>(comment.data()), comment.size(),
                         m_key.data());

    std::array<unsigned char, 2 + sizeof(KeyId) + sizeof(SignatureBytes)> line{'E', 'D'};
    auto* rest = std::copy(m_id.begin(), m_id.end(), line.begin() + 2);
    std::copy(signature.begin(), signature.end(), rest);
    return "untrusted comment: signature by key " + KeyIdText(m_id) + "\n" + EncodeBase64(line) +
           "\ntrusted comment: " + std::string(trustedComment) + "\n" +
           EncodeBase64(commentSignature) + "\n";
}

}  // namespace signed_index
