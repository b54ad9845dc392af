#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "product/scanning/container_kind.h"

namespace scanning {

struct EmbeddedArchive {
    ContainerKind kind;
    std::size_t offset;  ///< where it begins; it ends no later than the file
};

/// No file is looked through for more than these.
inline constexpr std::size_t kMostEmbedded = 1000;

/// The archives within other data that unpackers look for there, each only where its head is right
/// in all its check sums or fields. In a program or script also a zip file, and in a script a
/// compressed stream: the first of these. Stops behind kMostEmbedded.
/// `withZip`: a zip file in any data; libclamav finds most of these by itself.
std::vector<EmbeddedArchive> FindEmbeddedArchives(std::string_view bytes, bool withZip);

}  // namespace scanning
