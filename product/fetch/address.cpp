#include "product/fetch/address.h"

#include <algorithm>
#include <curl/curl.h>
#include <memory>

#include "common/string_algorithms.h"

namespace fetch {

namespace {

struct FreeUrl {
    void operator()(CURLU* url) const { curl_url_cleanup(url); }
};
struct FreePart {
    void operator()(char* part) const { curl_free(part); }
};

std::string Part(CURLU* url, CURLUPart what) {
    char* part = nullptr;
    if (curl_url_get(url, what, &part, 0) != CURLUE_OK) {
        return {};
    }
    const std::unique_ptr<char, FreePart> owner(part);
    std::string result(part);
    std::transform(result.begin(), result.end(), result.begin(), text::LowerAscii<char>);
    return result;
}

std::string_view WithoutSlashes(std::string_view address) {
    while (address.ends_with('/')) {
        address.remove_suffix(1);
    }
    return address;
}

bool IsDigit(char character) {
    return character >= '0' && character <= '9';
}

}  // namespace

std::optional<AddressParts> PartsOf(const std::string& address) {
    const std::unique_ptr<CURLU, FreeUrl> url(curl_url());
    if (url == nullptr || curl_url_set(url.get(), CURLUPART_URL, address.c_str(), 0) != CURLUE_OK) {
        return std::nullopt;
    }
    AddressParts parts{Part(url.get(), CURLUPART_SCHEME), Part(url.get(), CURLUPART_HOST)};
    if ((parts.scheme != "http" && parts.scheme != "https") || parts.host.empty()) {
        return std::nullopt;
    }
    return parts;
}

bool IsOfficial(const std::string& address, std::string_view officialDomain) {
    const auto parts = PartsOf(address);
    return parts && IsUnderDomain(parts->host, officialDomain);
}

bool IsUnderDomain(std::string_view host, std::string_view domain) {
    if (host.ends_with('.')) {
        host.remove_suffix(1);
    }
    return host == domain || (host.size() > domain.size() && host.ends_with(domain) &&
                              host[host.size() - domain.size() - 1] == '.');
}

bool MayRedirect(const std::string& from, const std::string& to) {
    const auto source = PartsOf(from);
    const auto target = PartsOf(to);
    if (!source || !target) {
        return false;
    }
    return target->scheme == "https" || (source->scheme == "http" && source->host == target->host);
}

std::string InFolder(std::string_view address, std::string_view name) {
    return std::string(WithoutSlashes(address)) + "/" + std::string(name);
}

std::string ForLog(const std::string& address) {
    const std::size_t scheme = address.find("://");
    const std::size_t host = scheme == std::string::npos ? 0 : scheme + 3;
    const std::size_t end = std::min(address.find_first_of("/?#", host), address.size());
    const std::size_t at = address.rfind('@', end);
    if (at == std::string::npos || at < host) {
        return address;
    }
    return address.substr(0, host) + address.substr(at + 1);
}

std::optional<std::string> WithoutRelease(std::string_view address) {
    constexpr std::string_view kFolder = "/update/";
    // Two numbers of two to five digits: "0512", and "202611" of the year 2026.
    constexpr std::size_t kLeastDigits = 4;
    constexpr std::size_t kMostDigits = 10;
    address = WithoutSlashes(address);
    const std::size_t digitsAt = address.rfind('/') + 1;  // 0 where there is none
    const std::string_view digits = address.substr(digitsAt);
    const std::string_view rest = address.substr(0, digitsAt);
    if (digits.size() < kLeastDigits || digits.size() > kMostDigits ||
        !std::all_of(digits.begin(), digits.end(), IsDigit) || !rest.ends_with(kFolder)) {
        return std::nullopt;
    }
    return std::string(rest.substr(0, rest.size() - kFolder.size()));
}

std::vector<std::string> AddressesToTry(const std::vector<std::string>& addresses,
                                        bool fromAdministrator, std::string_view officialDomain) {
    std::vector<std::string> all;
    for (const std::string& address : addresses) {
        all.push_back(address);
        if (const auto shorter = WithoutRelease(address); fromAdministrator && shorter) {
            all.insert(IsOfficial(address, officialDomain) ? all.end() - 1 : all.end(), *shorter);
        }
    }
    return all;
}

}  // namespace fetch
