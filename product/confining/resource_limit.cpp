#include "product/confining/resource_limit.h"

#include <algorithm>

namespace confining {

bool LimitResource(__rlimit_resource resource, rlim_t most) {
    rlimit limit{};
    if (::getrlimit(resource, &limit) != 0) {
        return false;
    }
    limit.rlim_max = std::min(limit.rlim_max, most);
    limit.rlim_cur = limit.rlim_max;
    return ::setrlimit(resource, &limit) == 0;
}

}  // namespace confining
