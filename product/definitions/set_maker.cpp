#include "product/definitions/set_maker.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <unistd.h>

#include "common/io.h"
#include "common/regular_file.h"
#include "common/retrying.h"
#include "common/version_record.h"
#include "product/definitions/file_copy.h"
#include "product/definitions/official_database.h"
#include "product/definitions/reasons.h"
#include "product/definitions/test_load.h"
#include "product/definitions/watched_sync.h"
#include "product/definitions/way_back.h"
#include "product/signed_index/sha256.h"
#include "product/signed_index/trusted_keys.h"
#include "product/signed_index/verified_index.h"

namespace definitions {

namespace {

using signed_index::Index;
using signed_index::IndexedFile;
using signed_index::Refusal;

InstallResult Refused(Refusal refusal, const std::string& name = {}) {
    const std::string words = signed_index::WordsFor(refusal);
    return Result(Outcome::kRefused, name.empty() ? words : name + ": " + words);
}

InstallResult Older(const std::string& name, std::uint32_t version, std::uint32_t known) {
    return Result(Outcome::kRefused, name + " is older, version " + std::to_string(version) +
                                         ", than the one in use, version " + std::to_string(known));
}

bool IsSame(const IndexedFile& left, const IndexedFile& right) {
    return left.name == right.name && left.size == right.size && left.sha256 == right.sha256;
}

bool HasSameFiles(const Index& left, const Index& right) {
    return std::is_permutation(left.files.begin(), left.files.end(), right.files.begin(),
                               right.files.end(), IsSame);
}

bool Link(int from, int to, const std::string& name) {
    return common::Retrying([&] { return ::linkat(from, name.c_str(), to, name.c_str(), 0); }) == 0;
}

// By WriteInto or SyncWatched.
InstallResult Unwritten(const std::string& what) {
    return errno == ECANCELED ? Result(Outcome::kStopped, "stopped") : FailedToDo(what);
}

}  // namespace

SetMaker::SetMaker(const DefinitionFolder& definitions, const InstallOptions& options,
                   InstallObserver& observer)
    : m_definitions(definitions), m_options(options), m_observer(observer) {
    if (const auto current = definitions.Current()) {
        m_current = definitions.OpenSet(*current);
        m_inUse = ReadSetState(m_current.Get());
    }
    for (const SetNumber heldBack : definitions.HeldBack()) {
        m_heldBack.Add(ReadSetState(definitions.OpenSet(heldBack).Get()));
    }
}

InstallResult SetMaker::Make(const CandidateFiles& candidate) {
    for (const std::string& name : candidate.passedOver) {
        if (!candidate.hasIndex) {
            m_observer.Log(name + " is not used: it is no file with a signature of its own");
        }
    }
    m_made = m_definitions.MakeUnfinished();
    if (!m_made) {
        return FailedToDo("no folder for a new set can be made");
    }
    InstallResult result = candidate.hasIndex ? TakeIndexed(candidate) : TakeOfficial(candidate);
    if (result.outcome == Outcome::kInstalled) {
        result = Load();
    }
    return result.outcome == Outcome::kInstalled ? Seal() : result;
}

GoOn SetMaker::Asking(InstallStep step) {
    return [this, step] { return m_observer.GoOn(step); };
}

InstallResult SetMaker::TakeIndexed(const CandidateFiles& candidate) {
    const int source = candidate.folder.Get();
    std::string text;
    std::string signature;
    for (const auto& [name, limit, content] :
         {std::tuple(signed_index::kIndexName, signed_index::kMaxIndexSize, &text),
          std::tuple(signed_index::kSignatureName, signed_index::kMaxSignatureSize, &signature)}) {
        // What is missing is told apart by who reads it; what is too large is cut above the limit.
        if (!ReadSmallFile(source, name, limit, *content) && errno != ENOENT && errno != EFBIG) {
            return FailedToDo(std::string(name) + " cannot be read");
        }
    }
    signed_index::TrustedKeys trusted;
    const Refusal keys = signed_index::ReadTrustedKeys(m_options.productDirectory, trusted);
    for (const auto& [name, why] : trusted.passedOver) {
        m_observer.Log("key " + name + " is not trusted: " + signed_index::WordsFor(why));
    }
    if (keys != Refusal::kNone) {
        return Refused(keys);
    }
    Index index;
    const Refusal refusal = signed_index::AcceptIndex(
        text, signature, trusted.keys, {std::time(nullptr), m_inUse.index.serial}, index);
    if (refusal != Refusal::kNone) {
        return Refused(refusal);
    }
    InstallResult result = LookForChanges(index);
    for (const IndexedFile& file : index.files) {
        if (result.outcome == Outcome::kInstalled) {
            result = TakeIndexedFile(source, file);
        }
    }
    if (result.outcome != Outcome::kInstalled) {
        return result;
    }
    const GoOn goOn = Asking(InstallStep::kCopying);
    if (!WriteInto(Folder(), signed_index::kIndexName, std::as_bytes(std::span(text)), goOn) ||
        !WriteInto(Folder(), signed_index::kSignatureName, std::as_bytes(std::span(signature)),
                   goOn)) {
        return Unwritten("the index cannot be written");
    }
    return CarryOver(&index);
}

InstallResult SetMaker::LookForChanges(const Index& index) const {
    if (index.serial == m_inUse.index.serial) {
        return HasSameFiles(index, m_inUse.index)
                   ? Result(Outcome::kUpToDate, "these definitions are in use")
                   : Result(Outcome::kRefused,
                            "the index has the serial of the one in use, and "
                            "other files");
    }
    if (index.serial <= m_heldBack.index.serial ||
        (!m_heldBack.files.empty() && !HasNewerThan(index, m_heldBack, m_inUse))) {
        return Result(Outcome::kUpToDate, "there is nothing newer than what was gone back from");
    }
    for (const IndexedFile& file : index.files) {
        const std::uint32_t known = m_inUse.VersionOf(file.name);
        if (!HasHead(file.name) && file.version < known) {
            return Older(file.name, file.version, known);
        }
    }
    return Succeeded();
}

InstallResult SetMaker::TakeIndexedFile(int source, const IndexedFile& file) {
    // What did not change need not lie in the candidate.
    const bool isKnown = std::any_of(m_inUse.index.files.begin(), m_inUse.index.files.end(),
                                     [&](const IndexedFile& each) { return IsSame(each, file); });
    if (isKnown) {
        const common::FileDescriptor known = common::OpenRegularFileAt(
            m_current.Get(), file.name.c_str(), O_RDONLY, common::Links::kNoSymbolic);
        const auto digest = signed_index::DigestOf(known.Get(), file.size);
        if (digest && digest->sha256 == file.sha256 && Link(m_current.Get(), Folder(), file.name)) {
            return m_observer.GoOn(InstallStep::kCopying) ? Succeeded()
                                                          : Result(Outcome::kStopped, "stopped");
        }
    }
    const common::FileDescriptor given =
        common::OpenRegularFileAt(source, file.name.c_str(), O_RDONLY, common::Links::kNoSymbolic);
    if (!given) {
        return Result(Outcome::kRefused, file.name + " cannot be opened: " + WordsForError(errno));
    }
    Copied copied;
    InstallResult result = Copy(given.Get(), file.name, file.size, copied);
    if (result.outcome != Outcome::kInstalled) {
        return result;
    }
    if (copied.size != file.size) {
        return Refused(Refusal::kWrongFileSize, file.name);
    }
    if (copied.sha256 != file.sha256) {
        return Refused(Refusal::kWrongFileDigest, file.name);
    }
    if (HasHead(file.name)) {
        const common::FileDescriptor made = common::OpenRegularFileAt(
            Folder(), file.name.c_str(), O_RDONLY, common::Links::kNoSymbolic);
        const DatabaseState state = ReadHead(made.Get()).value_or(DatabaseState{});
        const std::uint32_t known = m_inUse.VersionOf(file.name);
        if (state.version < known) {
            return Older(file.name, state.version, known);
        }
    }
    return Succeeded();
}

InstallResult SetMaker::TakeOfficial(const CandidateFiles& candidate) {
    bool hasOlder = false;
    bool hasKnown = false;
    for (const std::string& name : candidate.official) {
        const common::FileDescriptor file = common::OpenRegularFileAt(
            candidate.folder.Get(), name.c_str(), O_RDONLY, common::Links::kNoSymbolic);
        const auto head = ReadHead(file.Get());
        if (!head) {
            Refuse(name, "it is no database");
            continue;
        }
        // Nobody signed the head: it is good for passing a database over, not for taking one.
        const std::uint32_t known = NewestKnown(name);
        hasOlder = hasOlder || head->version < known;
        hasKnown = hasKnown || head->version == known;
        if (head->version <= known) {
            continue;
        }
        InstallResult result = TakeOfficialFile(file.Get(), name);
        if (result.outcome != Outcome::kInstalled) {
            return result;
        }
    }
    if (!m_taken.empty()) {
        return CarryOver(nullptr);
    }
    if (hasKnown && !m_refused.empty()) {
        return Result(Outcome::kFailed, m_refused);
    }
    if (hasKnown) {
        return Result(Outcome::kUpToDate, "there is nothing newer");
    }
    return hasOlder ? Result(Outcome::kRefused, "these definitions are older than those in use")
                    : Result(Outcome::kNothingValid, "there are no valid definitions");
}

InstallResult SetMaker::TakeOfficialFile(int source, const std::string& name) {
    if (::lseek(source, 0, SEEK_SET) != 0) {
        return FailedToDo(name + " cannot be read");
    }
    Copied copied;
    InstallResult result = Copy(source, name, signed_index::kMaxFileSize, copied);
    if (result.outcome != Outcome::kInstalled) {
        return result;
    }
    const std::string path = m_definitions.PathOf(kUnfinishedFolder) + "/" + name;
    const VerifiedDatabase verified =
        VerifyOfficial(path, m_options.limits, Asking(InstallStep::kChecking));
    if (verified.end == ChildEnd::kStopped || verified.end == ChildEnd::kNotStarted) {
        return ResultOfChild(verified.end, verified.why);
    }
    if (!verified.state) {
        Refuse(name, verified.why);
        return Drop(name);
    }
    if (verified.state->version <= NewestKnown(name)) {
        m_observer.Log(name + " is not used: it is older");
        return Drop(name);
    }
    // The same database may lie there at two ages, under two endings.
    const auto older = std::find_if(m_taken.begin(), m_taken.end(), [&](const SetDatabase& each) {
        return StemOf(each.name) == StemOf(name);
    });
    if (older != m_taken.end()) {
        result = Drop(older->name);
        m_taken.erase(older);
    }
    m_taken.push_back({name, *verified.state, true});
    return result;
}

void SetMaker::Refuse(const std::string& name, const std::string& why) {
    m_refused = name + " is not used: " + why;
    m_observer.Log(m_refused);
    m_observer.Refused();
}

InstallResult SetMaker::Drop(const std::string& name) {
    return common::Retrying([&] { return ::unlinkat(Folder(), name.c_str(), 0); }) == 0
               ? Succeeded()
               : FailedToDo(name + " cannot be removed");
}

InstallResult SetMaker::CarryOver(const Index* index) {
    for (const std::string& name : m_inUse.files) {
        const bool goesOn = index == nullptr
                                ? !IsReplaced(name)
                                : IsOfficialName(name) && !m_inUse.IsIndexed(name) &&
                                      std::none_of(index->files.begin(), index->files.end(),
                                                   [&](const IndexedFile& file) {
                                                       return StemOf(file.name) == StemOf(name);
                                                   });
        if (goesOn && !Link(m_current.Get(), Folder(), name)) {
            return FailedToDo(name + " cannot be kept");
        }
    }
    return Succeeded();
}

InstallResult SetMaker::Load() {
    std::vector<std::string> names;
    for (const SetDatabase& database : ReadSetState(Folder()).databases) {
        names.push_back(database.name);
    }
    const TestLoadResult loaded = TestLoad(m_options.productDirectory, kUnfinishedFolder, names,
                                           m_options.limits, Asking(InstallStep::kLoading));
    return ResultOfChild(loaded.end, loaded.why);
}

InstallResult SetMaker::Seal() {
    const tagZQVERINFO version = VersionOfSet(ReadSetState(Folder()));
    const GoOn goOn = Asking(InstallStep::kLoading);
    if (!WriteInto(Folder(), common::kVersionFileName, common::BytesOf(version), goOn) ||
        !SyncWatched(Folder(), goOn)) {
        return Unwritten("the new set cannot be written");
    }
    return Succeeded();
}

InstallResult SetMaker::Copy(int source, const std::string& name, std::uint64_t limit,
                             Copied& copied) {
    copied = CopyInto(Folder(), name, source, limit, Asking(InstallStep::kCopying));
    switch (copied.result) {
        case CopyResult::kCopied:
            return Succeeded();
        case CopyResult::kUnreadable:
            return FailedToDo(name + " cannot be read");
        case CopyResult::kUnwritable:
            return FailedToDo(name + " cannot be written");
        case CopyResult::kTooLarge:
            return Refused(Refusal::kWrongFileSize, name);
        case CopyResult::kStopped:
            break;
    }
    return Result(Outcome::kStopped, "stopped");
}

bool SetMaker::IsReplaced(std::string_view name) const {
    return HasHead(name) &&
           std::any_of(m_taken.begin(), m_taken.end(), [&](const SetDatabase& taken) {
               return StemOf(taken.name) == StemOf(name);
           });
}

std::uint32_t SetMaker::NewestKnown(std::string_view name) const {
    std::uint32_t version = std::max(m_inUse.VersionOf(name), m_heldBack.VersionOf(name));
    for (const SetDatabase& taken : m_taken) {
        version =
            StemOf(taken.name) == StemOf(name) ? std::max(version, taken.state.version) : version;
    }
    return version;
}

}  // namespace definitions
