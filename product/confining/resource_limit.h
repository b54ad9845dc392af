#pragma once

#include <sys/resource.h>

namespace confining {

/// Takes from this process, for good, what lies beyond `most` of a resource. False with errno when
/// it could not.
bool LimitResource(__rlimit_resource resource, rlim_t most);

}  // namespace confining
