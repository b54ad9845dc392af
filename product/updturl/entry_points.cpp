// "updturl.so": how the program lets an update run.

#include <exception>
#include <string>
#include <unistd.h>

#include "abi/updturl.h"
#include "product/updturl/arguments.h"
#include "product/updturl/library_run.h"
#include "product/updturl/service_connection.h"
#include "product/updturl/update_log.h"

namespace updturl {
namespace {

// An ordinary user can neither write the definitions nor be believed: the service finds out itself
// where they come from.
bool HasRights() {
    return ::geteuid() == 0;
}

int UpdateFromSite(const SiteArguments& arguments, ProgressListener& listener) {
    if (!HasRights()) {
        return AskService(kServiceSocket, Source::kSite, listener);
    }
    const auto request = SiteRequest(arguments);
    return request ? RunChild(ProgramBesideLibrary(), *request, listener) : kUpdaterFailed;
}

int UpdateFromFolder(const char* applicationDirectory, const char* folder) {
    ProgressListener nobody(nullptr, nullptr);
    if (!HasRights()) {
        return AskService(kServiceSocket, Source::kIndex, nobody);
    }
    const auto request = IndexRequest(applicationDirectory, folder);
    return request ? RunChild(ProgramBesideLibrary(), *request, nobody) : kUpdaterFailed;
}

/// Nothing is thrown into the program.
template <typename Run>
int WithoutExceptions(Run run) {
    try {
        return run();
    } catch (const std::exception& error) {
        LogUpdate(std::string("the update failed: ") + error.what());
    } catch (...) {
        LogUpdate("the update failed");
    }
    return kUpdaterFailed;
}

}  // namespace
}  // namespace updturl

extern "C" {

__attribute__((visibility("default"))) int ZQUpdateFromSite(
    const char* applicationDirectory, const char* downloadDirectory, int fromAdministrator,
    int /*reserved*/, int keepBackup, const char* backupFolder, const tagZQINETCONFIG* settings,
    char** addresses, std::int32_t count, PFNUPDTCALLBACK callback, void* context,
    const void* /*settingsPastFlag*/) {
    return updturl::WithoutExceptions([&] {
        updturl::ProgressListener listener(callback, context);
        return updturl::UpdateFromSite(
            {
                .applicationDirectory = applicationDirectory,
                .downloadDirectory = downloadDirectory,
                .fromAdministrator = fromAdministrator,
                .keepBackup = keepBackup,
                .backupFolder = backupFolder,
                .settings = settings,
                .addresses = addresses,
                .count = count,
            },
            listener);
    });
}

__attribute__((visibility("default"))) int UpdateFromIndex(const char* applicationDirectory,
                                                           const char* folder,
                                                           const void* /*settingsPastFlag*/) {
    return updturl::WithoutExceptions(
        [&] { return updturl::UpdateFromFolder(applicationDirectory, folder); });
}

}  // extern "C"
