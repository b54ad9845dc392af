#pragma once

#include <string>

namespace scanapi {

inline constexpr char kClamdConfig[] = "/etc/clamav/clamd.conf";

/// [Scanning] of scanapi.conf, as far as it is about a running clamd.
struct ClamdSettings {
    bool isOn = false;                  ///< Backend=clamd
    std::string socket{};               ///< empty: the one that its own settings name
    std::string address{};              ///< "host:port"; over TCP when it is not empty
    std::string config = kClamdConfig;  ///< its own settings

    bool operator==(const ClamdSettings&) const = default;
};

}  // namespace scanapi
