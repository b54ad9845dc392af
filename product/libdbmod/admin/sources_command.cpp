#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "common/paths.h"
#include "product/definitions/file_copy.h"
#include "product/libdbmod/admin/update_commands.h"
#include "update/files/admin_links.h"
#include "update/files/update_links.h"

namespace dbmod {

namespace {

constexpr char kNewLinkFile[] = ".updlink.dat.new";
// Behind an address of a server the release of the database is written: "/update/202611".
constexpr std::size_t kMaxServerAddress = update::kAdminEntrySize - 1 - 16;
constexpr std::size_t kMaxInternetAddress = update::kUpdateAddressSize - 1;

std::string Reason(const char* what) {
    return std::string(what) + ": " + std::strerror(errno);
}

// Nothing that could steer a terminal, whoever wrote the file.
void PrintAddress(std::string_view address) {
    std::string shown(address);
    std::replace_if(
        shown.begin(), shown.end(),
        [](unsigned char byte) { return byte < ' ' || byte == 0x7F || byte >= 0x80; }, '?');
    std::printf("  %s\n", shown.c_str());
}

void PrintList(const char* title, char** list, int count) {
    std::puts(title);
    for (int index = 0; index < count; ++index) {
        PrintAddress(list[index]);
    }
    if (count == 0) {
        std::puts("  (none)");
    }
}

bool IsAddress(std::string_view text) {
    const bool hasScheme = text.starts_with("https://") || text.starts_with("http://");
    return hasScheme && !text.ends_with("://") &&
           std::all_of(text.begin(), text.end(),
                       [](unsigned char byte) { return byte > ' ' && byte < 0x7F; });
}

std::string Objection(const std::vector<std::string>& addresses, std::size_t longest) {
    for (const std::string& address : addresses) {
        if (!IsAddress(address)) {
            return "an address begins with http:// or https:// and holds no blanks";
        }
        if (address.size() > longest) {
            return "an address is longer than " + std::to_string(longest) + " bytes";
        }
    }
    return {};
}

// Whole or not at all: updates may read it at any moment.
std::string WriteInternet(const std::vector<std::string>& addresses) {
    const common::FileDescriptor folder(
        ::open(common::InProductDirectory({}).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    (void)::unlinkat(folder.Get(), kNewLinkFile, 0);
    const std::string content = update::UpdateLinkFile(addresses);
    if (!definitions::WriteInto(folder.Get(), kNewLinkFile, std::as_bytes(std::span(content))) ||
        ::renameat(folder.Get(), kNewLinkFile, folder.Get(), update::kUpdateLinkFileName) != 0) {
        std::string reason = Reason("the list cannot be written");
        (void)::unlinkat(folder.Get(), kNewLinkFile, 0);
        return reason;
    }
    return ::fsync(folder.Get()) == 0 ? std::string() : Reason("the list may be lost");
}

// That it was stored shows only when it is read again.
bool IsStored(const std::vector<std::string>& addresses) {
    int count = 0;
    char** list = CUpdate::GetURLsForAdmin(&count);
    bool isSame = static_cast<std::size_t>(count) == addresses.size() &&
                  (list != nullptr || addresses.empty());
    for (std::size_t index = 0; list != nullptr && isSame && index < addresses.size(); ++index) {
        isSame = std::string_view(list[index]).starts_with(addresses[index]);
    }
    CUpdate::FreeUpdtLink(list, count);
    return isSame;
}

std::string WriteServer(std::vector<std::string> addresses) {
    std::vector<char*> list;
    list.reserve(addresses.size() + 1);
    for (std::string& address : addresses) {
        list.push_back(address.data());
    }
    list.push_back(nullptr);  // a list without addresses is a list, too
    const bool isTaken =
        SetUpdateUrl(list.data(), static_cast<unsigned short>(addresses.size())) == 1;
    return isTaken && IsStored(addresses) ? std::string()
                                          : "the list cannot be written; it is incomplete now";
}

}  // namespace

std::string ShowSources() {
    int count = 0;
    char** list = CUpdate::ReadUpdLink(
        &count, common::InProductDirectory(update::kUpdateLinkFileName).c_str());
    if (list == nullptr) {
        return "the addresses in the Internet cannot be read";
    }
    PrintList("Updates from the Internet:", list, count);
    CUpdate::FreeUpdtLink(list, count);

    tagADMNURLRECORD record{};
    unsigned short serverCount = 0;
    unsigned int error = 0;
    list = nullptr;
    if (ReadUpdateInfo(common::InProductDirectory(update::kAdminLinkFileName).c_str(), &record,
                       &serverCount, &list, error) == 0) {
        return "the addresses of servers cannot be read";
    }
    PrintList("Updates from a server:", list, serverCount);
    FreeMemory(list, serverCount);
    return {};
}

std::string WriteSources(SourceList list, const std::vector<std::string>& addresses) {
    const bool isServer = list == SourceList::kServer;
    std::string why = Objection(addresses, isServer ? kMaxServerAddress : kMaxInternetAddress);
    if (!why.empty()) {
        return why;
    }
    why = isServer ? WriteServer(addresses) : WriteInternet(addresses);
    if (why.empty()) {
        std::puts("The addresses have been stored.");
    }
    return why;
}

}  // namespace dbmod
