#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "product/definitions/definition_folder.h"
#include "product/definitions/file_copy.h"
#include "product/definitions/install.h"
#include "product/definitions/set_state.h"

namespace definitions {

/// Fills the folder of a set in the making from a candidate, and checks it. An object makes one
/// set. Outcome::kInstalled of its functions means that they succeeded.
class SetMaker {
public:
    SetMaker(const DefinitionFolder& definitions, const InstallOptions& options,
             InstallObserver& observer);

    /// Makes the folder and everything in it, on the disk.
    InstallResult Make(const CandidateFiles& candidate);

    /// The open folder, after Make succeeded.
    [[nodiscard]] int Folder() const { return m_made.Get(); }

private:
    InstallResult TakeIndexed(const CandidateFiles& candidate);
    InstallResult TakeIndexedFile(int source, const signed_index::IndexedFile& file);
    InstallResult LookForChanges(const signed_index::Index& index) const;
    InstallResult TakeOfficial(const CandidateFiles& candidate);
    InstallResult TakeOfficialFile(int source, const std::string& name);
    InstallResult Drop(const std::string& name);
    void Refuse(const std::string& name, const std::string& why);
    InstallResult CarryOver(const signed_index::Index* index);
    InstallResult Load();
    InstallResult Seal();

    InstallResult Copy(int source, const std::string& name, std::uint64_t limit, Copied& copied);
    [[nodiscard]] bool IsReplaced(std::string_view name) const;
    [[nodiscard]] std::uint32_t NewestKnown(std::string_view name) const;
    GoOn Asking(InstallStep step);

    const DefinitionFolder& m_definitions;
    const InstallOptions& m_options;
    InstallObserver& m_observer;
    common::FileDescriptor m_current;
    SetState m_inUse;
    SetState m_heldBack;
    common::FileDescriptor m_made;
    std::vector<SetDatabase> m_taken;  // with signatures of their own, from the candidate
    std::string m_refused;             // the last of those that should have been taken, and why not
};

}  // namespace definitions
