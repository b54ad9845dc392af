#include "product/definitions/install.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <future>

#include "product/definitions/backup.h"
#include "product/definitions/definition_folder.h"
#include "product/definitions/reasons.h"
#include "product/definitions/set_maker.h"
#include "product/definitions/update_lock.h"

namespace definitions {

namespace {

// The set in the making gets its number and is switched to.
InstallResult PutIntoUse(const DefinitionFolder& definitions, InstallObserver& observer) {
    const auto sets = definitions.Sets();
    const SetNumber number = sets.empty() ? 1 : sets.back() + 1;
    if (!definitions.FinishAs(number)) {
        return FailedToDo("the new set cannot be stored");
    }
    if (!definitions.Point(kCurrentLink, number)) {
        return FailedToDo("the new set cannot be put into use");
    }
    if (definitions.Sync()) {
        definitions.RemoveLeftovers();
    } else {
        observer.Log("the new definitions are in use, and may be lost with the power: " +
                     WordsForError(errno));
    }
    return Succeeded();
}

void KeepBackup(int set, const std::string& folder, InstallObserver& observer) {
    // A slow disk may hold the copying up for long; the observer is asked all the same.
    constexpr std::chrono::milliseconds kTick(100);
    std::atomic<bool> goesOn = true;
    auto made = std::async(std::launch::async, [&] {
        return BackUp(set, folder, std::time(nullptr), [&] { return goesOn.load(); });
    });
    do {
        goesOn = observer.GoOn(InstallStep::kBackup) && goesOn;
    } while (made.wait_for(kTick) != std::future_status::ready);
    const std::string why = made.get();
    if (!why.empty()) {
        observer.Log("no backup of the update files was made in " + folder + ": " + why);
    }
}

}  // namespace

InstallResult Install(const Candidate& candidate, const InstallOptions& options,
                      InstallObserver& observer) {
    const DefinitionFolder definitions = DefinitionFolder::Open(options.productDirectory);
    if (!definitions) {
        return FailedToDo("the folder of the definitions cannot be opened");
    }
    const UpdateLock lock(definitions.Get());
    if (!lock.IsHeld()) {
        return LockedBy(lock);
    }
    definitions.RemoveLeftovers();
    const CandidateFiles files = OpenCandidate(candidate);
    if (!files.folder) {
        return FailedToDo("the folder of the new definitions cannot be opened");
    }
    SetMaker maker(definitions, options, observer);
    InstallResult result = maker.Make(files);
    if (result.outcome == Outcome::kInstalled) {
        result = observer.GoOn(InstallStep::kSwitching) ? PutIntoUse(definitions, observer)
                                                        : Result(Outcome::kStopped, "stopped");
    }
    if (result.outcome != Outcome::kInstalled) {
        definitions.RemoveLeftovers();
    } else if (options.backupFolder) {
        KeepBackup(maker.Folder(), *options.backupFolder, observer);
    }
    return result;
}

}  // namespace definitions
