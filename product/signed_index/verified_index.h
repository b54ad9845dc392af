#pragma once

#include <cstdint>
#include <ctime>
#include <span>
#include <string_view>

#include "product/signed_index/index.h"
#include "product/signed_index/minisign.h"
#include "product/signed_index/refusal.h"

namespace signed_index {

/// What this machine knows when it is given an index.
struct Circumstances {
    std::time_t now = 0;           ///< seconds since 1970
    std::uint64_t lastSerial = 0;  ///< of the index it has; 0 without one. The same is fine again.
};

/// Whether `text` is a signed index that may be used now: the signature first, since nothing
/// unsigned is to be parsed, then the text, then its age. `index` is only to be used after kNone.
/// Any thread.
Refusal AcceptIndex(std::string_view text, std::string_view signature,
                    std::span<const PublicKey> keys, const Circumstances& circumstances,
                    Index& index);

/// The same without a look at its age: for the index of a set that is installed.
Refusal AcceptIndexOfAnyAge(std::string_view text, std::string_view signature,
                            std::span<const PublicKey> keys, Index& index);

}  // namespace signed_index
