#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Addresses of mirrors, as libcurl understands them. Any thread.

namespace fetch {

/// The parts of an address that rules go by, in lower case.
struct AddressParts {
    std::string scheme;  ///< "http" or "https"
    std::string host;
};

/// None for what is no address with "http://" or "https://".
std::optional<AddressParts> PartsOf(const std::string& address);

/// The domain of the official mirrors.
inline constexpr char kOfficialDomain[] = "clamav.net";

/// Whether a server at `address` lies under the domain of the official mirrors.
bool IsOfficial(const std::string& address, std::string_view officialDomain = kOfficialDomain);

/// Whether `host` is `domain` or lies under it: "database.example.net" under "example.net".
bool IsUnderDomain(std::string_view host, std::string_view domain);

/// Whether a server at `from` may send us on to `to`: to any host by https, and by http only to
/// itself and never from https.
bool MayRedirect(const std::string& from, const std::string& to);

/// `address` without "/" at its end, followed by "/" and `name`.
std::string InFolder(std::string_view address, std::string_view name);

/// The address without a user and a password, as it may stand in a log.
std::string ForLog(const std::string& address);

/// The address without its last "/update/" and the release behind it, which is four to ten digits
/// ("0512", "202611"); none when it does not end so.
std::optional<std::string> WithoutRelease(std::string_view address);

/// What is tried, in this order. Addresses of an administrator carry the release of the definitions
/// at the time they were written down; the mirror may lie without it. Hosts under `officialDomain`
/// always do, and are spared the other question unless the first one fails.
std::vector<std::string> AddressesToTry(const std::vector<std::string>& addresses,
                                        bool fromAdministrator, std::string_view officialDomain);

}  // namespace fetch
