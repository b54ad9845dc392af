#include "product/signed_index/minisign.h"

#include <algorithm>
#include <cctype>
#include <sodium/crypto_generichash.h>
#include <sodium/crypto_sign.h>
#include <sodium/utils.h>

#include "product/signed_index/minisign_text.h"

namespace signed_index {

namespace {

constexpr std::string_view kUntrusted = "untrusted comment:";
constexpr std::string_view kTrusted = "trusted comment: ";
constexpr std::size_t kAlgorithmSize = 2;
constexpr std::size_t kDigestSize = 64;

std::string_view Text(std::span<const unsigned char> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

const unsigned char* Bytes(std::string_view text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

bool IsSigned(const SignatureBytes& signature, std::string_view bytes, const PublicKey& key) {
    return crypto_sign_verify_detached(signature.data(), Bytes(bytes), bytes.size(),
                                       key.key.data()) == 0;
}

}  // namespace

Refusal ParsePublicKey(std::string_view text, PublicKey& key) {
    const auto comment = TakeLine(text);
    const auto line = TakeLine(text);
    std::array<unsigned char, kAlgorithmSize + sizeof(KeyId) + sizeof(PublicKey::key)> bytes{};
    if (!comment || !comment->starts_with(kUntrusted) || !line || !text.empty() ||
        !DecodeBase64(*line, bytes) || !Text(bytes).starts_with("Ed")) {
        return Refusal::kKeyMalformed;
    }
    std::copy_n(bytes.begin() + kAlgorithmSize, key.id.size(), key.id.begin());
    std::copy(bytes.begin() + kAlgorithmSize + sizeof(KeyId), bytes.end(), key.key.begin());
    return Refusal::kNone;
}

Refusal ParseSignature(std::string_view text, Signature& signature) {
    if (text.empty()) {
        return Refusal::kNoSignature;
    }
    if (text.size() > kMaxSignatureSize) {
        return Refusal::kSignatureTooLarge;
    }
    const auto untrusted = TakeLine(text);
    const auto first = TakeLine(text);
    const auto trusted = TakeLine(text);
    const auto second = TakeLine(text);
    std::array<unsigned char, kAlgorithmSize + sizeof(KeyId) + sizeof(SignatureBytes)> bytes{};
    if (!second || !text.empty() || !untrusted->starts_with(kUntrusted) ||
        !trusted->starts_with(kTrusted) || !DecodeBase64(*first, bytes) ||
        !DecodeBase64(*second, signature.commentSignature)) {
        return Refusal::kSignatureMalformed;
    }
    const std::string_view algorithm = Text(bytes).substr(0, kAlgorithmSize);
    if (algorithm != "Ed" && algorithm != "ED") {
        return Refusal::kSignatureAlgorithm;
    }
    signature.isOfDigest = algorithm == "ED";
    std::copy_n(bytes.begin() + kAlgorithmSize, signature.id.size(), signature.id.begin());
    std::copy(bytes.begin() + kAlgorithmSize + sizeof(KeyId), bytes.end(),
              signature.signature.begin());
    signature.trustedComment = trusted->substr(kTrusted.size());
    return Refusal::kNone;
}

Refusal VerifySignature(std::string_view bytes, const Signature& signature,
                        std::span<const PublicKey> keys) {
    if (keys.empty()) {
        return Refusal::kNoTrustedKeys;
    }
    std::array<unsigned char, kDigestSize> digest{};
    if (signature.isOfDigest) {
        crypto_generichash(digest.data(), digest.size(), Bytes(bytes), bytes.size(), nullptr, 0);
        bytes = Text(digest);
    }
    std::string comment(Text(signature.signature));
    comment += signature.trustedComment;
    Refusal refusal = Refusal::kUnknownKey;
    for (const PublicKey& key : keys) {
        if (key.id != signature.id) {
            continue;
        }
        if (!IsSigned(signature.signature, bytes, key)) {
            refusal = Refusal::kWrongSignature;
        } else if (!IsSigned(signature.commentSignature, comment, key)) {
            return Refusal::kWrongTrustedComment;
        } else {
            return Refusal::kNone;
        }
    }
    return refusal;
}

std::string KeyIdText(const KeyId& id) {
    KeyId reversed = id;
    std::reverse(reversed.begin(), reversed.end());
    std::array<char, 2 * sizeof(KeyId) + 1> text{};
    sodium_bin2hex(text.data(), text.size(), reversed.data(), reversed.size());
    std::string result(text.data());
    std::transform(result.begin(), result.end(), result.begin(),
                   [](unsigned char digit) { return static_cast<char>(std::toupper(digit)); });
    return result;
}

}  // namespace signed_index
