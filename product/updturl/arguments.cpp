#include "product/updturl/arguments.h"

#include <cstring>
#include <span>
#include <string>

#include "common/percent_text.h"
#include "product/updturl/update_log.h"

namespace updturl {
namespace {

constexpr std::size_t kLongestAddress = 2048;
/// How much of a request its addresses may be.
constexpr std::size_t kRoomForAddresses = kLargestRequest / 2;

bool IsMissing(const char* text) {
    return text == nullptr || *text == '\0';
}

std::vector<std::string> AddressesOf(std::span<char* const> list) {
    std::vector<std::string> addresses;
    std::size_t used = 0;
    for (const char* const entry : list) {
        if (IsMissing(entry)) {
            continue;
        }
        const std::string_view address(entry, ::strnlen(entry, kLongestAddress + 1));
        const std::size_t size = common::PercentEncoded(address).size();
        if (size > kLongestAddress) {
            LogUpdate("an address of more than " + std::to_string(kLongestAddress) +
                      " characters is passed over");
            continue;
        }
        used += size;
        if (used > kRoomForAddresses) {
            LogUpdate("of the addresses only the first " + std::to_string(addresses.size()) +
                      " are tried");
            break;
        }
        addresses.emplace_back(address);
    }
    return addresses;
}

}  // namespace

std::optional<Request> SiteRequest(const SiteArguments& arguments) {
    if (IsMissing(arguments.applicationDirectory) || IsMissing(arguments.downloadDirectory)) {
        LogUpdate("the updater was not told its directories");
        return std::nullopt;
    }
    if (arguments.addresses == nullptr) {
        LogUpdate(arguments.fromAdministrator == 1
                      ? "the list of the organisation's update servers cannot be read or is empty"
                      : "the list of update servers cannot be read");
        return std::nullopt;
    }
    Request request;
    request.source = Source::kSite;
    request.isFromAdministrator = arguments.fromAdministrator == 1;
    request.applicationDirectory = arguments.applicationDirectory;
    request.downloadDirectory = arguments.downloadDirectory;
    if (arguments.keepBackup == 1 && !IsMissing(arguments.backupFolder)) {
        request.backupFolder = arguments.backupFolder;
    }
    if (arguments.settings != nullptr) {
        request.proxy = ProxyOf(*arguments.settings);
    }
    const std::size_t count =
        arguments.count > 0 ? static_cast<std::size_t>(arguments.count) : std::size_t{0};
    request.addresses = AddressesOf({arguments.addresses, count});
    return request;
}

std::optional<Request> IndexRequest(const char* applicationDirectory, const char* folder) {
    if (IsMissing(applicationDirectory) || IsMissing(folder)) {
        LogUpdate("the updater was not told the folder to update from");
        return std::nullopt;
    }
    Request request;
    request.source = Source::kIndex;
    request.applicationDirectory = applicationDirectory;
    request.downloadDirectory = request.applicationDirectory + "download/";
    request.folder = folder;
    return request;
}

}  // namespace updturl
