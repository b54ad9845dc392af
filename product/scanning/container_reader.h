#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "product/scanning/container_kind.h"

// What libarchive reads. Its readers within the library only: it can also start other programs, and
// is never asked to. Results are why not all could be read, or empty. At most `room` bytes are
// unpacked, and taken off it.

namespace scanning {

/// Has what the readers need of the system loaded; before a process may open nothing any more.
void PrepareContainerReader();

/// Unpacks a stream, with all that follow it, but no archive in it: a stream of zeros passes for an
/// empty one. What was unpacked is kept in `out` unless it is null.
std::string_view ReadStream(ContainerKind kind, std::span<const std::byte> bytes, std::size_t& room,
                            std::vector<std::byte>* out);

/// True when another stream of that kind seems to begin after the first one. May err, but only that
/// way.
bool MayHaveFurtherStreams(ContainerKind kind, std::span<const std::byte> bytes);

/// A member's name, empty when it has none, and what is in it. False: no more is wanted.
using MemberSink = std::function<bool(std::string name, std::span<const std::byte> bytes)>;

/// Hands over each member with contents, at least what there is room for of it.
std::string_view ReadMembers(ContainerKind kind, std::span<const std::byte> bytes,
                             std::size_t& room, const MemberSink& sink);

/// What an archive says is in it.
struct Listing {
    std::size_t members = 0;  ///< those that are large enough to be scanned
    std::size_t bytes = 0;    ///< in them
    std::string_view problem;
};
Listing ListMembers(ContainerKind kind, std::span<const std::byte> bytes);

}  // namespace scanning
