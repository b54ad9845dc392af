#include "product/signed_index/verified_index.h"

namespace signed_index {

Refusal AcceptIndexOfAnyAge(std::string_view text, std::string_view signature,
                            std::span<const PublicKey> keys, Index& index) {
    if (text.size() > kMaxIndexSize) {
        return Refusal::kIndexTooLarge;
    }
    Signature parsed;
    Refusal refusal = ParseSignature(signature, parsed);
    if (refusal == Refusal::kNone) {
        refusal = VerifySignature(text, parsed, keys);
    }
    return refusal == Refusal::kNone ? ParseIndex(text, index) : refusal;
}

Refusal AcceptIndex(std::string_view text, std::string_view signature,
                    std::span<const PublicKey> keys, const Circumstances& circumstances,
                    Index& index) {
    const Refusal refusal = AcceptIndexOfAnyAge(text, signature, keys, index);
    if (refusal != Refusal::kNone) {
        return refusal;
    }
    if (index.expires <= circumstances.now) {
        return Refusal::kExpired;
    }
    return index.serial < circumstances.lastSerial ? Refusal::kOlderSerial : Refusal::kNone;
}

}  // namespace signed_index
