#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace vault {

/// Exclusive-ors `bytes`, which stand `offset` bytes from the start of a stream, with the stream of
/// `key`; a second time gives the bytes back. It keeps scanners and double clicks from taking
/// what is kept for what it was, and is no secret: the key stands beside it. Any thread.
void Scramble(std::uint64_t key, std::uint64_t offset, std::span<std::byte> bytes);

}  // namespace vault
