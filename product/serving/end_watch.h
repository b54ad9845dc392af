#pragma once

#include "common/file_descriptor.h"

namespace serving {

/// Keeps SIGTERM and SIGINT from this thread and from those that it starts from now on. What is
/// returned becomes readable when one of them comes and the service is to end; not open on failure,
/// with errno set.
common::FileDescriptor WatchForEnd();

}  // namespace serving
