#include "product/definitions/rollback.h"

#include <fcntl.h>

#include "common/io.h"
#include "common/regular_file.h"
#include "common/version_record.h"
#include "product/definitions/reasons.h"
#include "product/definitions/update_lock.h"

namespace definitions {

InstallResult RollBack(const std::string& productDirectory) {
    const DefinitionFolder definitions = DefinitionFolder::Open(productDirectory);
    if (!definitions) {
        return FailedToDo("the folder of the definitions cannot be opened");
    }
    const UpdateLock lock(definitions.Get());
    if (!lock.IsHeld()) {
        return LockedBy(lock);
    }
    const auto current = definitions.Current();
    const auto previous = definitions.Previous();
    if (!current || !previous) {
        return Result(Outcome::kNothingValid, "there is no set to go back to");
    }
    // Held back first: no automatic update in between brings it back.
    if (!definitions.Point(kHeldBackLink, *current) || !definitions.Sync() ||
        !definitions.Point(kCurrentLink, *previous) || !definitions.Sync()) {
        return FailedToDo("the set before cannot be put into use");
    }
    return Succeeded();
}

std::vector<SetSummary> ListSets(const DefinitionFolder& definitions) {
    const auto current = definitions.Current();
    const auto heldBack = definitions.SetOfLink(kHeldBackLink);
    std::vector<SetSummary> sets;
    for (const SetNumber number : definitions.Sets()) {
        SetSummary set{number, {}, number == current, number == heldBack && number != current};
        const FileDescriptor folder = definitions.OpenSet(number);
        const FileDescriptor file = common::OpenRegularFileAt(folder.Get(), kVersionFileName,
                                                              O_RDONLY, common::Links::kNoSymbolic);
        if (ReadFull(file.Get(), BytesOf(set.version)) !=
            static_cast<std::ptrdiff_t>(sizeof set.version)) {
            set.version = {};
        }
        sets.push_back(set);
    }
    return sets;
}

}  // namespace definitions
