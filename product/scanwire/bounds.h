#pragma once

#include <cstddef>
#include <cstdint>

namespace scanwire {

// How much the engine and its scan host say to each other at once. What goes beyond is refused by
// every reader.

/// Bytes in a packet, either way.
inline constexpr std::size_t kMaxPacket = std::size_t{32} * 1024;

/// Descriptors that come with a packet.
inline constexpr std::size_t kMaxDescriptors = 32;

/// Files in a batch.
inline constexpr std::size_t kMaxItems = 32;

// The bytes of files on their way to a worker: one slot for the batch that it scans, one for the
// next.
inline constexpr std::uint64_t kSlotSize = 1U << 20U;
inline constexpr std::uint64_t kSlots = 2;

/// A region may be as large as this.
inline constexpr std::uint64_t kMaxRegion = 64U << 20U;

/// The page in which a worker says which item is at hand: a std::uint32_t at its start, 0 for none.
inline constexpr std::size_t kHandSize = 4096;

inline constexpr std::uint32_t kMaxWorkers = 256;

// Texts, in bytes.
inline constexpr std::size_t kMaxPath = 4096;
inline constexpr std::size_t kMaxBaseName = 255;
inline constexpr std::size_t kMaxMemberName = 4096;
inline constexpr std::size_t kMaxVirusName = 512;
inline constexpr std::size_t kMaxReason = 256;
inline constexpr std::size_t kMaxLogText = 1024;

}  // namespace scanwire
