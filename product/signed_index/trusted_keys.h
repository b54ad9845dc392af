#pragma once

#include <string>
#include <vector>

#include "product/signed_index/minisign.h"

namespace signed_index {

inline constexpr char kKeyFolder[] = "updturl.keys";

struct PassedOverKey {
    std::string name;  ///< of the file in the folder
    Refusal why = Refusal::kNone;
};

struct TrustedKeys {
    std::vector<PublicKey> keys;
    std::vector<PassedOverKey> passedOver;  ///< "*.pub" that are not trusted, to be told in a log
};

/// Reads the keys whose signatures this machine trusts: "*.pub" in the folder kKeyFolder of
/// `directory`, the product directory. kNone, also when no key is in it, kKeyFolderMissing or
/// kKeyFolderUnsafe.
///
/// The folder and each file must be root's, without a way for others to write, and no links. Where
/// `directory` itself is the caller's and nobody else's to write, they may be the caller's, too:
/// who owns it can replace whatever is in it, the updater included. Any thread.
Refusal ReadTrustedKeys(const std::string& directory, TrustedKeys& trusted);

}  // namespace signed_index
