#include "product/shellscan/glob_filter.h"

#include <algorithm>
#include <cstring>
#include <fnmatch.h>

namespace shellscan {

bool GlobFilter::LeavesOut(const char* path) const {
    const char* const slash = std::strrchr(path, '/');
    const char* const name = slash != nullptr ? slash + 1 : path;
    return std::any_of(m_globs.begin(), m_globs.end(), [path, name](const std::string& glob) {
        const bool isOfPath = glob.find('/') != std::string::npos;
        return ::fnmatch(glob.c_str(), isOfPath ? path : name, 0) == 0;
    });
}

}  // namespace shellscan
