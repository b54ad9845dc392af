#include "product/definitions/definition_folder.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include "common/retrying.h"
#include "product/definitions/folder_names.h"
#include "product/definitions/set_state.h"

namespace definitions {

namespace {

constexpr std::string_view kSetPrefix = "set-";
constexpr std::size_t kMaxDigits = 9;
constexpr std::string_view kHeldBackPrefix = "held-back-";
constexpr std::string_view kHalfMadeLink = ".new";
constexpr mode_t kFolderMode = 0755;
constexpr int kMaxDepth = 16;  // of folders in folders, each of which is held open

bool IsGone(int error) {
    return error == ENOENT;
}

bool RemoveFile(int folder, const std::string& name) {
    return common::Retrying([&] { return ::unlinkat(folder, name.c_str(), 0); }) == 0 ||
           IsGone(errno);
}

std::string HeldBackLink(SetNumber number) {
    return std::string(kHeldBackPrefix) + NameOfSet(number).substr(kSetPrefix.size());
}

// The number in such a name; none for any other name.
std::optional<SetNumber> NumberOfHeldBack(std::string_view name) {
    if (!name.starts_with(kHeldBackPrefix)) {
        return std::nullopt;
    }
    name.remove_prefix(kHeldBackPrefix.size());
    return NumberOfSet(std::string(kSetPrefix) + std::string(name));
}

bool Contains(const std::vector<SetNumber>& numbers, SetNumber number) {
    return std::find(numbers.begin(), numbers.end(), number) != numbers.end();
}

common::FileDescriptor OpenFolder(int parent, const std::string& name) {
    return common::FileDescriptor(common::Retrying([&] {
        return ::openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    }));
}

// A set has no folders, but who has come by one has to get rid of it.
bool RemoveAll(int parent, const std::string& name, int depth) {
    const common::FileDescriptor folder = OpenFolder(parent, name);
    if (!folder) {
        return IsGone(errno) || RemoveFile(parent, name);
    }
    bool isEmpty = depth > 0;
    for (const std::string& entry : isEmpty ? NamesIn(folder.Get()) : std::vector<std::string>()) {
        isEmpty = RemoveAll(folder.Get(), entry, depth - 1) && isEmpty;
    }
    return isEmpty &&
           common::Retrying([&] { return ::unlinkat(parent, name.c_str(), AT_REMOVEDIR); }) == 0;
}

}  // namespace

std::string NameOfSet(SetNumber number) {
    return std::string(kSetPrefix) + std::to_string(number);
}

std::optional<SetNumber> NumberOfSet(std::string_view name) {
    if (!name.starts_with(kSetPrefix)) {
        return std::nullopt;
    }
    name.remove_prefix(kSetPrefix.size());
    SetNumber number = 0;
    const char* end = name.data() + name.size();
    const auto [stop, error] = std::from_chars(name.data(), end, number);
    // Written back it must be the same: "set-07" is none of ours.
    const bool isWhole = error == std::errc() && stop == end && name.size() <= kMaxDigits &&
                         std::to_string(number) == name;
    return isWhole ? std::optional(number) : std::nullopt;
}

DefinitionFolder DefinitionFolder::Open(const std::string& productDirectory) {
    DefinitionFolder folder;
    folder.m_path = productDirectory + kFolderName + "/";
    const std::string path = productDirectory + kFolderName;
    folder.m_folder.Reset(common::Retrying(
        [&] { return ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC); }));
    return folder;
}

std::vector<SetNumber> DefinitionFolder::Sets() const {
    std::vector<SetNumber> sets;
    for (const std::string& name : NamesIn(Get())) {
        if (const auto number = NumberOfSet(name)) {
            sets.push_back(*number);
        }
    }
    std::sort(sets.begin(), sets.end());
    return sets;
}

std::optional<SetNumber> DefinitionFolder::SetOfLink(const char* link) const {
    std::array<char, 64> target{};
    const ssize_t size = ::readlinkat(Get(), link, target.data(), target.size());
    if (size <= 0) {
        return std::nullopt;
    }
    const auto number = NumberOfSet({target.data(), static_cast<std::size_t>(size)});
    return number && OpenSet(*number) ? number : std::nullopt;
}

std::optional<SetNumber> DefinitionFolder::Previous() const {
    const auto current = Current();
    if (!current) {
        return std::nullopt;
    }
    std::vector<SetNumber> sets = Sets();
    sets.erase(std::lower_bound(sets.begin(), sets.end(), *current), sets.end());
    const std::vector<SetNumber> goneBackFrom = GoneBackFrom();
    std::erase_if(sets, [&](SetNumber each) { return Contains(goneBackFrom, each); });
    return sets.empty() ? std::nullopt : std::optional(sets.back());
}

std::vector<SetNumber> DefinitionFolder::GoneBackFrom() const {
    const auto current = Current();
    std::vector<SetNumber> sets;
    for (const std::string& name : NamesIn(Get())) {
        const auto number = NumberOfHeldBack(name);
        // Who was killed before the switch has not gone back.
        if (number && number != current && SetOfLink(name.c_str()) == number) {
            sets.push_back(*number);
        }
    }
    std::sort(sets.begin(), sets.end());
    return sets;
}

std::vector<SetNumber> DefinitionFolder::HeldBack() const {
    std::vector<SetNumber> sets = GoneBackFrom();
    if (const auto current = Current()) {
        std::erase_if(sets, [&](SetNumber each) { return !IsAhead(each, *current); });
    }
    return sets;
}

bool DefinitionFolder::HoldBack(SetNumber number) const {
    return Point(HeldBackLink(number).c_str(), number);
}

// A set that was made later is, whatever is in it. Of one that was made before, an index with a
// higher serial has come since, and was new; else its loose files are still to be held back.
bool DefinitionFolder::IsAhead(SetNumber heldBack, SetNumber other) const {
    if (heldBack > other) {
        return true;
    }
    const SetState refused = ReadSetState(OpenSet(heldBack).Get());
    const SetState now = ReadSetState(OpenSet(other).Get());
    return refused.index.serial > now.index.serial ||
           std::any_of(refused.databases.begin(), refused.databases.end(),
                       [&](const SetDatabase& each) {
                           return each.hasHead && each.state.version > now.VersionOf(each.name);
                       });
}

common::FileDescriptor DefinitionFolder::OpenEntry(const std::string& name) const {
    return OpenFolder(Get(), name);
}

common::FileDescriptor DefinitionFolder::MakeUnfinished() const {
    if (!Remove(kUnfinishedFolder) ||
        common::Retrying([&] { return ::mkdirat(Get(), kUnfinishedFolder, kFolderMode); }) != 0) {
        return {};
    }
    common::FileDescriptor made = OpenEntry(kUnfinishedFolder);
    // Whatever the umask: every user's engine reads it.
    if (made && common::Retrying([&] { return ::fchmod(made.Get(), kFolderMode); }) != 0) {
        made.Reset();
    }
    return made;
}

bool DefinitionFolder::FinishAs(SetNumber number) const {
    const std::string name = NameOfSet(number);
    return common::Retrying([&] {
               return ::renameat2(Get(), kUnfinishedFolder, Get(), name.c_str(), RENAME_NOREPLACE);
           }) == 0 &&
           Sync();
}

bool DefinitionFolder::Point(const char* link, SetNumber number) const {
    const std::string made = link + std::string(kHalfMadeLink);
    const std::string target = NameOfSet(number);
    return RemoveFile(Get(), made) &&
           common::Retrying([&] { return ::symlinkat(target.c_str(), Get(), made.c_str()); }) ==
               0 &&
           common::Retrying([&] { return ::renameat(Get(), made.c_str(), Get(), link); }) == 0;
}

bool DefinitionFolder::Sync() const {
    return common::Retrying([&] { return ::fsync(Get()); }) == 0;
}

bool DefinitionFolder::Remove(const std::string& name) const {
    return RemoveAll(Get(), name, kMaxDepth);
}

std::vector<SetNumber> DefinitionFolder::Remembered(SetNumber current) const {
    std::vector<SetNumber> sets = GoneBackFrom();
    const auto previous = Previous();
    std::erase_if(sets, [&](SetNumber each) {
        return !IsAhead(each, current) && !(previous && IsAhead(each, *previous));
    });
    return sets;
}

void DefinitionFolder::RemoveLeftovers() const {
    Remove(kUnfinishedFolder);
    for (const std::string& name : NamesIn(Get())) {
        const std::string_view link = std::string_view(name).substr(0, name.rfind('.'));
        if (name.ends_with(kHalfMadeLink) && (link == kCurrentLink || NumberOfHeldBack(link))) {
            RemoveFile(Get(), name);
        }
    }
    const auto current = Current();
    if (!current) {
        // Which of the sets was the last in use is not known, so each may be the best there is.
        return;
    }
    std::vector<SetNumber> kept = Remembered(*current);
    for (const std::string& name : NamesIn(Get())) {
        const auto number = NumberOfHeldBack(name);
        if (number && !Contains(kept, *number)) {
            RemoveFile(Get(), name);
        }
    }
    kept.push_back(*current);
    if (const auto previous = Previous()) {
        kept.push_back(*previous);
    }
    for (const SetNumber each : Sets()) {
        if (!Contains(kept, each)) {
            Remove(NameOfSet(each));
        }
    }
}

}  // namespace definitions
