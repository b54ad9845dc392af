#pragma once

#include <string_view>

#include "product/vault/item.h"

namespace vault {

/// Fills `facts` with what the records of an item say, but for size and digest of the contents.
/// False when they are not as the writer makes them; `facts` is then of no use. Any thread.
bool ParseRecords(std::string_view records, ItemFacts& facts);

/// A little-endian number at the start of `bytes`, which is long enough.
std::uint64_t NumberAt(std::string_view bytes, std::size_t size);

}  // namespace vault
