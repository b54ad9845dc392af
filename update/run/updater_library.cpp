#include "update/run/updater_library.h"

#include <cerrno>
#include <cstring>
#include <string>
#include <unistd.h>
#include <utility>

#include "common/exception_log.h"
#include "update/run/start_log.h"
#include "update/run/update_callback.h"

namespace update {

namespace {

void LogUnusable(const std::string& path, const std::string& why) {
    LogUpdateStart("In UpdaterLibrary::Load(): no update with (" + path + "): " + why);
}

/// The settings once more, past the field that says whether there is a proxy at all.
const void* PastFlag(const tagZQINETCONFIG& settings) {
    return reinterpret_cast<const char*>(&settings) + sizeof settings.useProxy;
}

}  // namespace

UpdaterLibrary::~UpdaterLibrary() {
    Unload();
}

void UpdaterLibrary::Unload() {
    m_updateFromSite = nullptr;
    m_updateFromIndex = nullptr;
    m_library.reset();
}

UpdaterLibrary::LoadResult UpdaterLibrary::Load(const char* path) {
    m_library.reset(ZQLoadLibrary(path));
    if (m_library == nullptr) {
        // The loader's own words are in a log that not every user may write.
        LogUnusable(
            path, ::access(path, R_OK) != 0 ? std::strerror(errno) : "it is no library that loads");
        return LoadResult::kNoLibrary;
    }
    m_updateFromSite =
        reinterpret_cast<PFNZQUPDATEFROMSITE>(ZQGetProcAddress(m_library.get(), kUpdateFromSite));
    m_updateFromIndex =
        reinterpret_cast<PFNUPDATEFROMINDEX>(ZQGetProcAddress(m_library.get(), kUpdateFromIndex));
    for (const auto& [name, isThere] :
         {std::pair(kUpdateFromSite, m_updateFromSite != nullptr),
          std::pair(kUpdateFromIndex, m_updateFromIndex != nullptr)}) {
        if (!isThere) {
            LogUnusable(path, std::string("it has no ") + name);
            Unload();
            return LoadResult::kNoEntryPoint;
        }
    }
    return LoadResult::kLoaded;
}

int UpdaterLibrary::UpdateFromSite(const UpdateSite& site, const tagZQINETCONFIG& settings,
                                   void* context) {
    constexpr int kReserved = 1;
    try {
        return m_updateFromSite(
            site.applicationDirectory, site.downloadDirectory, site.fromAdministrator ? 1 : 0,
            kReserved, site.backupFolder != nullptr ? 1 : 0, site.backupFolder, &settings,
            site.addresses, site.count, UpdtCallBack, context, PastFlag(settings));
    } catch (...) {
        common::LogException("UpdaterLibrary::UpdateFromSite(): ZQUpdateFromSite");
        return kUpdaterFailed;
    }
}

int UpdaterLibrary::UpdateFromIndex(const char* applicationDirectory, const char* folder,
                                    const tagZQINETCONFIG& settings) {
    try {
        return m_updateFromIndex(applicationDirectory, folder, PastFlag(settings));
    } catch (...) {
        common::LogException("UpdaterLibrary::UpdateFromIndex(): UpdateFromIndex");
        return kUpdaterFailed;
    }
}

}  // namespace update
