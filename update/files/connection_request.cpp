#include "update/files/connection_request.h"

#include <span>
#include <string_view>

#include "common/paths.h"
#include "common/run_state.h"
#include "common/text_field.h"
#include "update/files/update_links.h"
#include "update/files/update_options.h"

namespace update {

namespace {

constexpr char kFirstPrintable = ' ';
constexpr char kLastPrintable = '~';

void AddLine(std::string& request, std::string_view key, std::string_view value) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    constexpr unsigned int kLowHalf = 0xFU;
    request.append(key).append(" ");
    for (const char character : value) {
        if (character >= kFirstPrintable && character <= kLastPrintable && character != '%') {
            request += character;
            continue;
        }
        const unsigned int byte = static_cast<unsigned char>(character);
        request += '%';
        request += kDigits[byte >> 4U];
        request += kDigits[byte & kLowHalf];
    }
    request += '\n';
}

void AddProxy(std::string& request, const tagZQINETCONFIG& settings) {
    if (settings.useProxy == 0) {
        return;
    }
    AddLine(request, "proxy-server", common::FieldText(settings.server));
    AddLine(request, "proxy-port", std::to_string(settings.port));
    const std::string_view user = common::FieldText(settings.user);
    if (!user.empty()) {
        AddLine(request, "proxy-user", user);
        AddLine(request, "proxy-password", common::FieldText(settings.password));
    }
}

void AddAddresses(std::string& request, bool fromAdministrator) {
    int count = 0;
    char** list =
        fromAdministrator
            ? CUpdate::GetURLsForAdmin(&count)
            : CUpdate::ReadUpdLink(&count, common::InProgramDirectory(kUpdateLinkFileName).c_str());
    if (list == nullptr) {
        AddLine(request, "no-addresses", "1");
        return;
    }
    for (const char* address : std::span(list, static_cast<std::size_t>(count))) {
        AddLine(request, "address", address);
    }
    CUpdate::FreeUpdtLink(list, count);
}

}  // namespace

std::string ConnectionRequest(const tagZQINETCONFIG& settings) {
    const std::uint32_t flags = StoredUpdateOptions().flags;
    const bool fromAdministrator =
        (flags & kUpdateFromInternet) == 0 && (flags & kUpdateFromServer) != 0;
    std::string request;
    AddLine(request, "source", "site");
    AddLine(request, "administrator", fromAdministrator ? "1" : "0");
    AddLine(request, "application", g_szAppPath);
    AddLine(request, "download", common::InProgramDirectory("download/"));
    AddProxy(request, settings);
    AddAddresses(request, fromAdministrator);
    request += "go\n";
    return request;
}

}  // namespace update
