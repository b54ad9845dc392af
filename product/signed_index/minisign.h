#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "product/signed_index/refusal.h"

// Signatures and keys in the format of minisign, which administrators may sign with themselves.
// Ed25519 over the bytes (legacy, "Ed") or over their BLAKE2b-512 digest ("ED"), and a second
// signature over the first one and the trusted comment. Any thread.

namespace signed_index {

inline constexpr std::size_t kMaxSignatureSize = 4096;  ///< bytes of the text
inline constexpr std::size_t kMaxKeySize = 4096;        ///< bytes of the text

using KeyId = std::array<unsigned char, 8>;
using SignatureBytes = std::array<unsigned char, 64>;

struct PublicKey {
    KeyId id{};
    std::array<unsigned char, 32> key{};
};

struct Signature {
    bool isOfDigest = false;  ///< "ED": over the digest of the bytes
    KeyId id{};
    SignatureBytes signature{};
    SignatureBytes commentSignature{};  ///< over `signature` and `trustedComment`
    std::string trustedComment;         ///< without "trusted comment: "
};

/// Reads the text of a public key file. kNone or kKeyMalformed.
Refusal ParsePublicKey(std::string_view text, PublicKey& key);

/// Reads the text of a signature file. kNone, kNoSignature for an empty one, kSignatureTooLarge,
/// kSignatureMalformed or kSignatureAlgorithm.
Refusal ParseSignature(std::string_view text, Signature& signature);

/// Whether one of `keys` signed exactly `bytes` and the comment. kNone, kNoTrustedKeys,
/// kUnknownKey, kWrongSignature or kWrongTrustedComment. Keys of one identifier are all tried.
Refusal VerifySignature(std::string_view bytes, const Signature& signature,
                        std::span<const PublicKey> keys);

/// The identifier as minisign shows it: 16 digits in upper case, last byte first.
std::string KeyIdText(const KeyId& id);

}  // namespace signed_index
