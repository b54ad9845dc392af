#pragma once

#include <cstdint>
#include <string>

#include "product/vault/item.h"

namespace vault {

/// Writes the item of the open file `from`, read from its start, to the empty file `to`: whole but
/// not synced. `facts` has everything but the digest, which is filled in; `facts.size` bytes and no
/// more must come. Gives up once more than `limit` bytes were written. False with the reason, in
/// words, in `why`. Any thread.
bool WriteItem(int to, int from, ItemFacts& facts, std::uint64_t limit, std::string& why);

}  // namespace vault
