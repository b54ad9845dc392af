#include "product/updturl/update_run.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <ctime>
#include <pwd.h>
#include <unistd.h>

#include "common/locks.h"
#include "product/definitions/definition_folder.h"
#include "product/definitions/install.h"
#include "product/definitions/update_lock.h"
#include "product/updturl/account.h"
#include "product/updturl/fetch_stage.h"
#include "product/updturl/message.h"
#include "update/files/last_update.h"

namespace updturl {
namespace {

/// How an update ended: an UpdaterResult, and why in words.
struct Ended {
    int result = kUpdaterFailed;
    std::string why;
};

/// All checks of a folder together: who asks waits for a hundred seconds, and copying takes time,
/// too.
constexpr std::chrono::seconds kTimeToCheckFolder{80};

/// Tells the asker what an installation does.
class InstallListener : public definitions::InstallObserver {
public:
    explicit InstallListener(Asker& asker) : m_asker(asker) {}

    bool GoOn(definitions::InstallStep step) override {
        m_asker.Status(kUpdateInstalling);
        m_asker.Beat();
        if (m_asker.IsStopping()) {
            return false;
        }
        if (step == definitions::InstallStep::kSwitching) {
            HoldSignals();
            m_asker.Switching();
        }
        return true;
    }

    void Refused() override { m_asker.Status(kUpdateProcessingFailed); }
    void Log(const std::string& line) override { m_asker.Log(line); }

private:
    // The sets are safe without this. It lets the result be told that the switch has.
    static void HoldSignals() {
        for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
            (void)std::signal(signal, SIG_IGN);
        }
    }

    Asker& m_asker;
};

Ended EndedBy(const definitions::InstallResult& installed, Source source) {
    const bool isFolder = source == Source::kIndex;
    switch (installed.outcome) {
        case definitions::Outcome::kInstalled:
            return {kUpdaterUpdated, "the definitions were updated"};
        case definitions::Outcome::kUpToDate:
            return {kUpdaterUpToDate, "the definitions are up to date"};
        case definitions::Outcome::kNothingValid:
        case definitions::Outcome::kRefused:
            // Of UpdateFromIndex 3 says that the folder holds no valid definition files.
            return {isFolder ? kUpdaterInterrupted : kUpdaterInvalidFiles,
                    "the definitions are refused: " + installed.why};
        case definitions::Outcome::kStopped:
            return {isFolder ? kUpdaterFailed : kUpdaterInterrupted, "the update was stopped"};
        case definitions::Outcome::kLocked:
        case definitions::Outcome::kFailed:
            break;
    }
    return {kUpdaterFailed, "the definitions cannot be installed: " + installed.why};
}

Ended Install(const Request& request, const std::string& candidate, Asker& asker) {
    asker.Status(kUpdateInstalling);
    InstallListener listener(asker);
    definitions::InstallOptions options;
    options.productDirectory = request.applicationDirectory;
    options.backupFolder = request.backupFolder;
    if (request.source == Source::kIndex) {
        options.limits.end = definitions::ChildLimits::Clock::now() + kTimeToCheckFolder;
    }
    const auto installed = definitions::Install({candidate}, options, listener);
    if (installed.outcome == definitions::Outcome::kRefused) {
        asker.Status(kUpdateProcessingFailed);
    }
    return EndedBy(installed, request.source);
}

Ended UpdateFromSite(const Request& request, FetchStage& stage, Asker& asker) {
    if (!request.addresses) {
        return {kUpdaterFailed, "the list of update servers cannot be read"};
    }
    asker.Status(kUpdateConnecting);
    const Fetched fetched = stage.Run(request, asker);
    switch (fetched.result) {
        case kUpdaterUpdated:
            return Install(request, fetched.candidate, asker);
        case kUpdaterUpToDate:
            return {kUpdaterUpToDate, "the definitions are up to date"};
        case kUpdaterInterrupted:
            return {kUpdaterInterrupted, "the update was stopped"};
        case kUpdaterInvalidFiles:
            return {kUpdaterInvalidFiles, "the definitions on offer are refused"};
        default:
            return {kUpdaterFailed, "no update server had anything that can be used"};
    }
}

// Whoever gave the folder may be another; errno stays as it is.
std::string OwnName() {
    const int reason = errno;
    const passwd* user = ::getpwuid(::geteuid());
    std::string name = user != nullptr ? user->pw_name : std::to_string(::geteuid());
    errno = reason;
    return name;
}

Ended UpdateFromFolder(const Request& request, Asker& asker) {
    const auto candidate = definitions::CandidateFromFolder(request.folder);
    if (!candidate && errno != ENOENT) {
        return {kUpdaterFailed, request.folder + " cannot be read by user " + OwnName() + ": " +
                                    std::strerror(errno)};
    }
    if (!candidate) {
        return {kUpdaterInterrupted, "there are no definition files in " + request.folder};
    }
    return Install(request, candidate->path, asker);
}

/// Of a folder 3 says what 4 says of every other source.
int ResultToRecord(const Request& request, const Ended& ended) {
    return request.source == Source::kIndex && ended.result == kUpdaterInterrupted
               ? int{kUpdaterInvalidFiles}
               : ended.result;
}

Ended UpdateLocked(const Request& request, FetchStage& stage, Asker& asker, int folder) {
    const definitions::UpdateLock lock(folder);
    if (lock.Error() != 0) {
        return {kUpdaterFailed, std::string("the lock of the definitions cannot be used: ") +
                                    std::strerror(lock.Error())};
    }
    if (!lock.IsHeld()) {
        const bool isKnown = lock.Holder() != common::kUnknownHolder;
        return {kUpdaterFailed, "another update is running" +
                                    (isKnown ? ", process " + std::to_string(lock.Holder()) : "")};
    }
    Ended ended = request.source == Source::kIndex ? UpdateFromFolder(request, asker)
                                                   : UpdateFromSite(request, stage, asker);
    const update::LastUpdate record{
        .time = std::time(nullptr), .result = ResultToRecord(request, ended), .text = ended.why};
    if (!update::WriteLastUpdate(folder, record)) {
        asker.Log(std::string("the time of the update cannot be written down: ") +
                  std::strerror(errno));
    }
    return ended;
}

Ended Update(const Request& request, FetchStage& stage, Asker& asker,
             const std::optional<Account>& installer) {
    // Root's rights are for starting the other stage; definitions belong to their own user.
    if (installer && !Become(*installer)) {
        return {kUpdaterFailed, "the rights of root cannot be given up"};
    }
    const auto folder = definitions::DefinitionFolder::Open(request.applicationDirectory);
    if (!folder) {
        return {kUpdaterFailed, std::string("the folder of the definitions cannot be opened: ") +
                                    std::strerror(errno)};
    }
    return UpdateLocked(request, stage, asker, folder.Get());
}

}  // namespace

int RunUpdate(Asker& asker, const std::string& program, const std::optional<Account>& installer) {
    Request request;
    Ended ended;
    FetchStage stage;
    std::string why;
    if (!asker.ReadRequest(request, why)) {
        ended.why = why;
    } else if (request.source == Source::kSite && !stage.Start(program, !installer, why)) {
        ended.why = "the process that downloads cannot be started: " + why;
    } else {
        ended = Update(request, stage, asker, installer);
    }
    asker.Log(ended.why);
    asker.Result(ended.result);
    stage.End();
    return ended.result == kUpdaterFailed ? 1 : 0;
}

}  // namespace updturl
