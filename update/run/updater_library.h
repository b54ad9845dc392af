#pragma once

#include "common/owners.h"
#include "update/run/update_state.h"

namespace update {

/// What an updater is told beside how the Internet is reached; the texts and the list outlive the
/// call.
struct UpdateSite {
    const char* applicationDirectory;
    const char* downloadDirectory;
    bool fromAdministrator;
    const char* backupFolder;  ///< null: no backup is kept
    char** addresses;          ///< null: they could not be read
    int count;
};

/// The updater's library and its two entry points, which are globals that other code links. It is
/// unloaded with the object. One at a time, on the thread of the run.
///
/// Nothing that the updater throws gets past here: it has failed then, and the log says which call
/// it was.
class UpdaterLibrary {
public:
    UpdaterLibrary() = default;
    ~UpdaterLibrary();
    UpdaterLibrary(const UpdaterLibrary&) = delete;
    UpdaterLibrary& operator=(const UpdaterLibrary&) = delete;

    enum class LoadResult { kLoaded, kNoLibrary, kNoEntryPoint };
    /// Both entry points must be there. Why it failed goes to g_szLogFile.
    LoadResult Load(const char* path);

    // While it is loaded; the results are what the updater returned.

    int UpdateFromSite(const UpdateSite& site, const tagZQINETCONFIG& settings, void* context);
    int UpdateFromIndex(const char* applicationDirectory, const char* folder,
                        const tagZQINETCONFIG& settings);

private:
    void Unload();

    common::LibraryHandle m_library;
    PFNZQUPDATEFROMSITE& m_updateFromSite = g_pfnZqUpdateFromSite;
    PFNUPDATEFROMINDEX& m_updateFromIndex = g_pfnUpdateFromIndex;
};

}  // namespace update
