#pragma once

#include <optional>
#include <string>
#include <vector>

#include "common/file_descriptor.h"

namespace definitions {

/// A folder with what may be installed: "index.json", its signature and the files it names, or
/// databases with a signature of their own. Nothing in it is believed.
struct Candidate {
    std::string path;
};

/// What lies in an open candidate.
struct CandidateFiles {
    common::FileDescriptor folder;  ///< not open on failure, with the reason in errno
    bool hasIndex = false;  ///< or the signature of one; then only what is signed there counts
    std::vector<std::string> official;    ///< regular files by name, sorted
    std::vector<std::string> passedOver;  ///< databases that are not used: without a signature of
                                          ///< their own, links, and what is no file
};

/// Looks into a candidate, at names and kinds only. The folder itself may not be a link. Any
/// thread.
CandidateFiles OpenCandidate(const Candidate& candidate);

/// The folder as a candidate, with "/" at its end and without links; none, with the reason in
/// errno, when it cannot be read, and with ENOENT when it is missing or holds neither an index nor
/// a database with a signature of its own. Whether these are valid shows when they are installed.
/// Any thread.
std::optional<Candidate> CandidateFromFolder(const std::string& folder);

}  // namespace definitions
