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

/// The archives in a program or script that unpacks itself: one of a kind at most, and only where
/// its head is right in all its check sums or fields. Empty for any other file.
std::vector<EmbeddedArchive> FindEmbeddedArchives(std::string_view bytes);

}  // namespace scanning
