#pragma once

#include <cerrno>

namespace common {

/// What `call` gives, made anew as long as a signal breaks it off.
template <typename Call>
auto Retrying(Call call) {
    auto result = call();
    while (result < 0 && errno == EINTR) {
        result = call();
    }
    return result;
}

}  // namespace common
