#pragma once

#include <cstdint>

namespace scanapi {

/// [Cache] of scanapi.conf.
struct CacheSettings {
    bool isOn = true;
    std::uint64_t bytes = std::uint64_t{64} << 20U;

    bool operator==(const CacheSettings&) const = default;
};

}  // namespace scanapi
