#include "product/definitions/candidate.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>

#include "common/directory_reader.h"
#include "common/retrying.h"
#include "product/definitions/official_database.h"
#include "product/signed_index/index.h"

namespace definitions {

CandidateFiles OpenCandidate(const Candidate& candidate) {
    CandidateFiles files;
    // With a slash at its end a link would be followed after all.
    const std::string path = candidate.path.substr(0, candidate.path.find_last_not_of('/') + 1);
    files.folder.Reset(common::Retrying(
        [&] { return ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC); }));
    if (!files.folder) {
        return files;
    }
    const auto reader = std::make_unique<common::DirectoryReader>();
    reader->Start(files.folder.Get(), common::DirectoryReader::Want::kAll);
    while (const auto entry = reader->Next()) {
        const std::string name(entry->name);
        if (name == signed_index::kIndexName || name == signed_index::kSignatureName) {
            files.hasIndex = true;
        } else if (signed_index::CheckFileName(name) == signed_index::Refusal::kNone) {
            const bool isUsed =
                IsOfficialName(name) && common::TypeOf(files.folder.Get(), *entry) == S_IFREG;
            (isUsed ? files.official : files.passedOver).push_back(name);
        }
    }
    std::sort(files.official.begin(), files.official.end());
    std::sort(files.passedOver.begin(), files.passedOver.end());
    return files;
}

std::optional<Candidate> CandidateFromFolder(const std::string& folder) {
    // A person may well name a link.
    const std::unique_ptr<char, decltype(&std::free)> path(::realpath(folder.c_str(), nullptr),
                                                           &std::free);
    if (path == nullptr) {
        return std::nullopt;
    }
    Candidate candidate{std::string(path.get()) + "/"};
    const CandidateFiles files = OpenCandidate(candidate);
    if (!files.folder) {
        return std::nullopt;
    }
    if (!files.hasIndex && files.official.empty()) {
        errno = ENOENT;
        return std::nullopt;
    }
    return candidate;
}

}  // namespace definitions
