#pragma once

#include <string>

#include "common/file_descriptor.h"

namespace serving {

/// A socket at `path` that every user may connect to and that does not block: the one systemd has
/// opened for us, or a new one, in the place of what a process before us has left there. Not open
/// on failure, with errno set.
common::FileDescriptor Listen(const std::string& path);

}  // namespace serving
