#pragma once

#include <cstdint>
#include <string>

#include "product/vault/collection.h"

namespace vault {

/// A table of all items, a heading and a line for each. What cannot be read is in it with what the
/// folder tells; `damaged` counts these. Texts of others are escaped (common/escaped_text.h).
std::string TableOf(const Collection& collection, std::size_t& damaged);

/// The same as JSON (RFC 8259), an object a line and no heading: "item", "kept" in seconds since
/// 1970, "owner", "size" in bytes, "virus", "path"; or "problem" in place of the last three. Texts
/// of others are escaped, so that every byte can be told from the JSON, too.
std::string JsonOf(const Collection& collection, std::size_t& damaged);

/// All that is known of an item, a line for each fact.
std::string DescriptionOf(const std::string& name, const ItemFacts& facts);

}  // namespace vault
