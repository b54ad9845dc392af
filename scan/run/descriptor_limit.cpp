#include "scan/run/descriptor_limit.h"

#include <sys/resource.h>

namespace scan {

bool RaiseDescriptorLimit() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) {
        return false;
    }
    if (limit.rlim_cur == limit.rlim_max) {
        return true;
    }
    limit.rlim_cur = limit.rlim_max;
    return setrlimit(RLIMIT_NOFILE, &limit) == 0;
}

}  // namespace scan
