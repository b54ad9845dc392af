#include "product/updated/sources.h"

#include <algorithm>
#include <fcntl.h>

#include "abi/updturl.h"
#include "common/io.h"
#include "common/regular_file.h"
#include "common/text_field.h"
#include "product/fetch/address.h"
#include "update/files/admin_links.h"
#include "update/files/update_links.h"
#include "update/files/update_options.h"

namespace updated {

namespace {

template <typename Record>
std::ptrdiff_t ReadRecord(const std::string& path, Record& record) {
    const common::FileDescriptor file =
        common::OpenRegularFile(path.c_str(), O_RDONLY, common::Links::kOnlyOfRoot);
    return file ? common::ReadFull(file.Get(), common::BytesOf(record)) : -1;
}

updturl::Proxy ReadProxy(const std::string& directory) {
    tagZQINETCONFIG settings{};
    const bool isWhole = ReadRecord(directory + "zqinet.opt", settings) == sizeof settings;
    return isWhole ? updturl::ProxyOf(settings) : updturl::Proxy{};
}

std::optional<std::vector<std::string>> ReadAddresses(const std::string& directory,
                                                      bool isFromAdministrator) {
    const update::UpdateAddresses addresses(isFromAdministrator, directory);
    if (addresses.List() == nullptr) {
        return std::nullopt;
    }
    return std::vector<std::string>(addresses.Entries().begin(), addresses.Entries().end());
}

}  // namespace

std::optional<updturl::Request> ReadSources(const std::string& directory, updturl::Source source) {
    tagUpdtOpts options{};
    if (ReadRecord(directory + "zqupdate.opt", options) < 0) {
        return std::nullopt;
    }
    updturl::Request request;
    request.source = source;
    request.applicationDirectory = directory;
    request.downloadDirectory = directory + "download/";
    request.proxy = ReadProxy(directory);
    if (source == updturl::Source::kIndex) {
        request.folder = common::FieldText(options.path);
        return request;
    }
    request.isFromAdministrator = (options.flags & kUpdateFromInternet) == 0;
    if ((options.flags & kUpdateKeepBackup) != 0) {
        request.backupFolder = common::FieldText(options.backupFolder);
    }
    request.addresses = ReadAddresses(directory, request.isFromAdministrator);
    return request;
}

bool AsksOfficialMirror(const updturl::Request& request) {
    return request.source == updturl::Source::kSite && request.addresses &&
           std::any_of(request.addresses->begin(), request.addresses->end(),
                       [](const std::string& address) { return fetch::IsOfficial(address); });
}

}  // namespace updated
