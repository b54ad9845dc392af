#include "update/run/update_run.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <span>
#include <sys/stat.h>

#include "common/exception_log.h"
#include "common/io.h"
#include "common/option_file.h"
#include "common/paths.h"
#include "common/run_state.h"
#include "common/text_field.h"
#include "update/files/update_links.h"
#include "update/run/start_log.h"
#include "update/run/updater_library.h"
#include "update/run/updater_settings.h"

namespace update {

namespace {

constexpr std::size_t kMaxFolderText = 255;

/// Tells of a start that failed, and why, by the system's last error.
void LogStartError(const std::string& what) {
    const int error = errno;
    LogUpdateStart("In UpdateRun::Run(): " + what + ": " + std::strerror(error));
}

/// Makes the folder, with its mode whatever the umask, when it is not there.
bool MakeFolder(const std::string& folder) {
    if (IsDirectory(folder.c_str()) != 0) {
        return true;
    }
    constexpr mode_t kMode = 0755;
    if (::mkdir(folder.c_str(), kMode) != 0) {
        return false;
    }
    const common::FileDescriptor made(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    (void)::fchmod(made.Get(), kMode);
    return true;
}

/// The text of an option's field, as much of it as a terminated one can hold.
std::string FolderText(std::span<const char> field) {
    return std::string(common::FieldText(field).substr(0, kMaxFolderText));
}

/// The event of a status; none for one that is not told.
std::optional<UpdateEvent> EventOf(std::uint16_t status) {
    switch (status) {
        case kUpdateConnecting:
            return kEvtUpdateConnecting;
        case kUpdateLoadingFiles:
            return kEvtUpdateLoadingFiles;
        case kUpdateUnshown:
            return kEvtUpdateUnshown;
        case kUpdateLoadingIndex:
            return kEvtUpdateLoadingIndex;
        case kUpdateProcessingFailed:
            return kEvtUpdateProcessingFailed;
        case kUpdateLoadingDefinitions:
            return kEvtUpdateLoadingDefinitions;
        case kUpdateLoadingNamedFile:
            return kEvtUpdateLoadingNamedFile;
        case kUpdateInstalling:
            return kEvtUpdateInstalling;
        default:
            return std::nullopt;
    }
}

std::int16_t OutcomeOf(int result) {
    return result >= kUpdaterFailed && result <= kUpdaterInvalidFiles
               ? static_cast<std::int16_t>(result)
               : kUpdateResultUnknown;
}

}  // namespace

UpdateRun::UpdateRun(UpdateListener& listener, void* context)
    : m_listener(listener), m_context(context) {
    m_state.outcome = kUpdaterUpdated;
}

void UpdateRun::Run() noexcept {
    try {
        Update();
    } catch (...) {
        common::LogException("UpdateRun::Run()");
        m_state.outcome = kUpdaterFailed;
        m_listener.Tell(kEvtUpdateFinished);
    }
}

void UpdateRun::Update() {
    m_applicationDirectory = g_szAppPath;
    m_downloadDirectory = m_applicationDirectory + "download/";
    if (!MakeFolder(m_downloadDirectory)) {
        LogStartError("folder (" + m_downloadDirectory + ") not made");
        LogUpdateStart("download dir error");
        m_listener.Tell(kEvtUpdateNotStarted);
        return;
    }
    tagZQINETCONFIG settings{};
    (void)ReadUpdaterSettings(settings);  // without them there is no proxy
    tagUpdtOpts options{};
    if (!ReadOptions(options)) {
        m_listener.Tell(kEvtUpdateNotStarted);
        return;
    }
    {
        UpdaterLibrary library;
        switch (library.Load((m_applicationDirectory + kUpdaterLibrary).c_str())) {
            case UpdaterLibrary::LoadResult::kLoaded:
                break;
            case UpdaterLibrary::LoadResult::kNoLibrary:
                m_isSilent = true;
                return;
            case UpdaterLibrary::LoadResult::kNoEntryPoint:
                m_listener.Tell(kEvtUpdateNotStarted);
                return;
        }
        const bool hasSite = (options.flags & (kUpdateFromInternet | kUpdateFromServer)) != 0;
        m_state.outcome = OutcomeOf(hasSite ? UpdateFromSite(library, options, settings)
                                            : UpdateFromPath(library, options, settings));
    }
    m_listener.Tell(kEvtUpdateFinished);
}

bool UpdateRun::ReadOptions(tagUpdtOpts& options) {
    const std::string path = m_applicationDirectory + "zqupdate.opt";
    const common::FileDescriptor file = common::OpenOptionFile(path.c_str());
    if (!file) {
        LogStartError("file (" + path + ") not opened");
        return false;
    }
    (void)common::ReadFull(file.Get(), common::BytesOf(options));  // what is missing of it is zero
    (void)::fchmod(file.Get(), 0644);                              // not 0666, on purpose
    return true;
}

int UpdateRun::UpdateFromSite(UpdaterLibrary& library, const tagUpdtOpts& options,
                              const tagZQINETCONFIG& settings) {
    // The Internet wins where both are set.
    const bool fromAdministrator = (options.flags & kUpdateFromInternet) == 0;
    const UpdateAddresses addresses(fromAdministrator, m_applicationDirectory);
    const std::string backupFolder = FolderText(options.backupFolder);
    const bool keepBackup = (options.flags & kUpdateKeepBackup) != 0;
    return library.UpdateFromSite({.applicationDirectory = m_applicationDirectory.c_str(),
                                   .downloadDirectory = m_downloadDirectory.c_str(),
                                   .fromAdministrator = fromAdministrator,
                                   .backupFolder = keepBackup ? backupFolder.c_str() : nullptr,
                                   .addresses = addresses.List(),
                                   .count = addresses.Count()},
                                  settings, m_context);
}

int UpdateRun::UpdateFromPath(UpdaterLibrary& library, const tagUpdtOpts& options,
                              const tagZQINETCONFIG& settings) {
    m_listener.Tell(kEvtUpdateFromPath);
    const std::string folder = FolderText(options.path);
    const int result =
        library.UpdateFromIndex(m_applicationDirectory.c_str(), folder.c_str(), settings);
    // Nobody could have interrupted it: of a path, 3 says that it holds no valid definition files.
    return result == kUpdaterInterrupted ? kUpdaterInvalidFiles : result;
}

UpdateReply UpdateRun::Reply(const tagUPDATEINFO& info) noexcept {
    {
        const std::scoped_lock lock(m_lastInfoMutex);
        m_state.lastInfo = info;
    }
    if (m_isStopped) {
        return kUpdateStop;
    }
    try {
        if (const auto event = EventOf(info.status)) {
            m_listener.Tell(*event);
        }
    } catch (...) {
        common::LogException("UpdateRun::Reply()");
    }
    return kUpdateGoOn;
}

tagUPDATEINFO UpdateRun::LastInfo() {
    const std::scoped_lock lock(m_lastInfoMutex);
    return m_state.lastInfo;
}

}  // namespace update
