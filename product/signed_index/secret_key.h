#pragma once

#include <array>
#include <string>
#include <string_view>

#include "product/signed_index/minisign.h"

namespace signed_index {

/// A secret key, wiped from memory when it goes.
class SecretKey {
public:
    SecretKey() = default;
    ~SecretKey();
    SecretKey(const SecretKey&) = delete;
    SecretKey& operator=(const SecretKey&) = delete;

    /// Reads the text of a secret key file made by `minisign -G -W`. kNone, kSecretKeyMalformed,
    /// kSecretKeyEncrypted or kSecretKeyDamaged; only after kNone may the rest be called.
    Refusal Parse(std::string_view text);

    /// The key that checks what this one signs.
    [[nodiscard]] PublicKey Public() const;

    /// The text of a signature file for `bytes`, of the kind "ED". `trustedComment` is one line.
    [[nodiscard]] std::string Sign(std::string_view bytes, std::string_view trustedComment) const;

private:
    KeyId m_id{};
    std::array<unsigned char, 64> m_key{};  // the seed, then the public key
};

}  // namespace signed_index
