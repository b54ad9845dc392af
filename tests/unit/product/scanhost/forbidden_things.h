#pragma once

#include <cerrno>
#include <cstdint>
#include <string>
#include <vector>

namespace scanhost {

/// What the attempts need and a worker would have: files outside, open for reading only.
struct Outside {
    std::string file;
    std::string folder;
    int readOnly;
    int program;
};

/// 0 when it was done, else the error.
using Attempt = int (*)(const Outside& outside);

inline int ErrorUnless(bool done) {
    return done ? 0 : errno;
}

/// What no worker may do.
struct Forbidden {
    const char* name;
    Attempt attempt;
    std::vector<std::uint32_t> guards;  ///< each refuses it alone
    std::uint32_t others = 0;           ///< parts that may refuse it, too
};

const std::vector<Forbidden>& ForbiddenThings();

}  // namespace scanhost
