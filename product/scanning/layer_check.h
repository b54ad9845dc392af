#pragma once

#include <string_view>

#include "product/scanning/container_kind.h"
#include "product/scanning/container_reader.h"

namespace scanning {

/// Whether a file is as long as it says that it is, for kinds that libclamav alone reads. The
/// result says what is wrong, or is empty.
std::string_view CheckLength(ContainerKind kind, std::string_view bytes);

/// What an ARJ archive says is in it; libarchive knows nothing of these.
Listing ListArj(std::string_view bytes);

}  // namespace scanning
