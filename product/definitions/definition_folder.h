#pragma once

#include <optional>
#include <string>
#include <vector>

#include "common/file_descriptor.h"

// Where the virus definitions that were loaded from elsewhere live:
//
//   defs/set-N/       one whole set of databases, with its index and "scanver.cnf"
//   defs/current      a link to the set in use; one rename of it is the switch. Before the first
//                     update it leads to defs/package/, which is no set
//   defs/held-back-N  a link to set-N, which an administrator went back from
//   defs/unfinished/  a set that is being made
//   defs/lock         held by whoever changes any of this
//
// What else lies in the folder, the package's own signatures above all, is left alone.

namespace definitions {

inline constexpr char kFolderName[] = "defs";
inline constexpr char kCurrentLink[] = "current";
inline constexpr char kUnfinishedFolder[] = "unfinished";
inline constexpr char kLockName[] = "lock";

using SetNumber = unsigned int;

/// "set-7".
std::string NameOfSet(SetNumber number);

/// The number in such a name; none for any other name.
std::optional<SetNumber> NumberOfSet(std::string_view name);

/// The open folder. Nothing here looks after the lock; who changes something holds it. Functions
/// that can fail leave the reason in errno. An object is for one thread.
class DefinitionFolder {
public:
    /// Of the product in `productDirectory`, which ends in "/". Not open on failure. The folder
    /// itself may not be a link.
    static DefinitionFolder Open(const std::string& productDirectory);

    [[nodiscard]] int Get() const { return m_folder.Get(); }
    explicit operator bool() const { return m_folder.IsOpen(); }

    /// Path of an entry, for libraries that need one.
    [[nodiscard]] std::string PathOf(const std::string& name) const { return m_path + name; }

    /// The sets that are there, lowest number first.
    [[nodiscard]] std::vector<SetNumber> Sets() const;

    /// The set that `link` leads to; none when it is missing, leads elsewhere or to no folder.
    [[nodiscard]] std::optional<SetNumber> SetOfLink(const char* link) const;
    [[nodiscard]] std::optional<SetNumber> Current() const { return SetOfLink(kCurrentLink); }

    /// The set that was in use before the current one: of those below it the last that nobody went
    /// back from. None without.
    [[nodiscard]] std::optional<SetNumber> Previous() const;

    /// The sets that an administrator went back from and that are remembered, lowest number first.
    [[nodiscard]] std::vector<SetNumber> GoneBackFrom() const;

    /// Those of them that have something newer than the current set: it is not to come back yet.
    [[nodiscard]] std::vector<SetNumber> HeldBack() const;

    /// Remembers that somebody goes back from this set; on the disk after Sync.
    [[nodiscard]] bool HoldBack(SetNumber number) const;

    /// Opens a folder in it. Not open on failure.
    [[nodiscard]] common::FileDescriptor OpenEntry(const std::string& name) const;
    [[nodiscard]] common::FileDescriptor OpenSet(SetNumber number) const {
        return OpenEntry(NameOfSet(number));
    }

    /// Makes an empty folder for a set in the making, and opens it. Not open on failure.
    [[nodiscard]] common::FileDescriptor MakeUnfinished() const;

    /// Gives the finished folder its number; the name is on the disk afterwards.
    [[nodiscard]] bool FinishAs(SetNumber number) const;

    /// Lets `link` lead to the set: it leads to the old or to the new one at any moment.
    [[nodiscard]] bool Point(const char* link, SetNumber number) const;

    /// What was renamed or linked is on the disk afterwards.
    [[nodiscard]] bool Sync() const;

    /// Removes a folder with all that is in it, or a link. False when something of it stays.
    bool Remove(const std::string& name) const;

    /// Removes what a killed run left: the set in the making, sets that are neither in use nor the
    /// one before nor remembered, and links half made. A set that was gone back from is forgotten
    /// when a way back, too, would lead to something newer.
    void RemoveLeftovers() const;

private:
    [[nodiscard]] bool IsAhead(SetNumber heldBack, SetNumber other) const;
    [[nodiscard]] std::vector<SetNumber> Remembered(SetNumber current) const;

    common::FileDescriptor m_folder;
    std::string m_path;  // ends in "/"
};

}  // namespace definitions
