#include "update/files/connection_request.h"

#include <string_view>

#include "common/paths.h"
#include "common/percent_text.h"
#include "common/run_state.h"
#include "common/text_field.h"
#include "update/files/update_links.h"
#include "update/files/update_options.h"

namespace update {

namespace {

void AddLine(std::string& request, std::string_view key, std::string_view value) {
    request.append(key).append(" ").append(common::PercentEncoded(value)).append("\n");
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
    const UpdateAddresses addresses(fromAdministrator, g_szAppPath);
    if (addresses.List() == nullptr) {
        AddLine(request, "no-addresses", "1");
    }
    for (const char* address : addresses.Entries()) {
        AddLine(request, "address", address);
    }
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
