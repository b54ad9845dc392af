#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <string_view>

#include "product/scanning/container_kind.h"

namespace scanning {

/// What is told of a layer while it is looked into.
struct LayerNews {
    /// Something in it that is to be scanned; the name is empty where it has none. False: no more.
    std::function<bool(std::string name, std::span<const std::byte> bytes)> scan;
    /// Not all of it can be read, and why.
    std::function<void(std::string_view reason)> unread;
    /// What libclamav must have entered of it when it is through, beside what was told before.
    std::function<void(std::size_t members, std::size_t bytes)> expect;
    /// How many bytes may still be unpacked; what is unpacked is taken off.
    std::size_t& room;
};

/// Reads what libclamav passes over in a layer, and looks whether the rest is whole. `thorough`:
/// also what libclamav should be able to read, because it did not read all of it.
/// True when all that is in it was handed over.
bool LookInside(ContainerKind kind, std::span<const std::byte> bytes, bool thorough,
                const LayerNews& news);

}  // namespace scanning
