#include "product/definitions/rollback.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/io.h"
#include "common/regular_file.h"
#include "common/version_record.h"
#include "product/definitions/reasons.h"
#include "product/definitions/update_lock.h"

namespace definitions {

namespace {

// Makes root work as the owner of the folder while it lives: what root left in there, the lock
// above all, the updater's user could never open.
class AsOwner {
public:
    explicit AsOwner(int folder) {
        struct stat status {};
        if (::geteuid() != 0) {
            return;
        }
        m_isDone = ::fstat(folder, &status) == 0;
        if (m_isDone && status.st_uid != 0) {
            m_group = ::getegid();
            m_isChanged = true;
            m_isDone = ::setegid(status.st_gid) == 0 && ::seteuid(status.st_uid) == 0;
        }
    }
    ~AsOwner() {
        if (m_isChanged && (::seteuid(0) != 0 || ::setegid(m_group) != 0)) {
            std::abort();  // half of root's rights are nothing to go on with
        }
    }
    AsOwner(const AsOwner&) = delete;
    AsOwner& operator=(const AsOwner&) = delete;

    [[nodiscard]] bool IsDone() const { return m_isDone; }

private:
    gid_t m_group = 0;
    bool m_isChanged = false;
    bool m_isDone = true;
};

}  // namespace

InstallResult RollBack(const std::string& productDirectory) {
    const DefinitionFolder definitions = DefinitionFolder::Open(productDirectory);
    if (!definitions) {
        return FailedToDo("the folder of the definitions cannot be opened");
    }
    const AsOwner owner(definitions.Get());
    if (!owner.IsDone()) {
        return FailedToDo("the rights of root cannot be given up");
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
    if (!definitions.HoldBack(*current) || !definitions.Sync() ||
        !definitions.Point(kCurrentLink, *previous) || !definitions.Sync()) {
        return FailedToDo("the set before cannot be put into use");
    }
    return Succeeded();
}

std::vector<SetSummary> ListSets(const DefinitionFolder& definitions) {
    const auto current = definitions.Current();
    const std::vector<SetNumber> heldBack = definitions.GoneBackFrom();
    std::vector<SetSummary> sets;
    for (const SetNumber number : definitions.Sets()) {
        SetSummary set{number, {}, number == current, false};
        set.isHeldBack = std::find(heldBack.begin(), heldBack.end(), number) != heldBack.end();
        const common::FileDescriptor folder = definitions.OpenSet(number);
        const common::FileDescriptor file = common::OpenRegularFileAt(
            folder.Get(), common::kVersionFileName, O_RDONLY, common::Links::kNoSymbolic);
        if (common::ReadFull(file.Get(), common::BytesOf(set.version)) !=
            static_cast<std::ptrdiff_t>(sizeof set.version)) {
            set.version = {};
        }
        sets.push_back(set);
    }
    return sets;
}

}  // namespace definitions
