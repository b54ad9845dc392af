#include "product/definitions/candidate.h"

#include <algorithm>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>

#include "common/directory_reader.h"
#include "product/definitions/official_database.h"
#include "product/definitions/retrying.h"
#include "product/signed_index/index.h"

namespace definitions {

CandidateFiles OpenCandidate(const Candidate& candidate) {
    CandidateFiles files;
    files.folder.Reset(Retrying(
        [&] { return ::open(candidate.path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
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
    Candidate candidate{folder};
    if (!folder.ends_with('/')) {
        candidate.path += '/';
    }
    const CandidateFiles files = OpenCandidate(candidate);
    if (folder.empty() || (!files.hasIndex && files.official.empty())) {
        return std::nullopt;
    }
    return candidate;
}

}  // namespace definitions
