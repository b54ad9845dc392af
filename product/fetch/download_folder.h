#pragma once

#include <functional>
#include <string>

#include "common/file_descriptor.h"

namespace fetch {

/// The folder that downloads lie in, held by one process at a time:
///
///   parts/SHA256   what has come of a file of that digest, whole or not; there until it is in use
///                  or offered no longer, so that what is not installed does not come twice
///   candidate/     what is to be installed, made whole by one rename
///   official/      where libfreshclam keeps its databases
///   state.json     what one run leaves to the next
///
/// For one thread.
class DownloadFolder {
public:
    /// Opens `path`, which exists, and throws away what an earlier run left to be installed. False
    /// with the reason in errno; EWOULDBLOCK while another process holds it.
    bool Open(const std::string& path);

    [[nodiscard]] int Get() const { return m_folder.Get(); }
    [[nodiscard]] int Parts() const { return m_parts.Get(); }
    /// With "/" at the end.
    [[nodiscard]] const std::string& Path() const { return m_path; }
    [[nodiscard]] std::string CandidatePath() const;

    /// Throws away what an earlier run left to be installed. False with the reason in errno: it is
    /// in the way of another candidate, and its files are the parts' own under further names.
    [[nodiscard]] bool RemoveCandidate() const;

    /// Removes the parts of the digests for which `isToGo` says so.
    void RemoveParts(const std::function<bool(const std::string&)>& isToGo) const;

    /// Makes the empty folder in which a candidate is put together. -1 with the reason in errno.
    [[nodiscard]] common::FileDescriptor BeginCandidate() const;

    /// Gives the file `from` of the open folder `source` the further name `name` in the candidate,
    /// for the group that installs to read. False with the reason in errno.
    static bool LinkInto(int candidate, int source, const std::string& from,
                         const std::string& name);

    /// Gives the candidate its name. False with the reason in errno.
    bool FinishCandidate() const;

private:
    std::string m_path;
    common::FileDescriptor m_folder;
    common::FileDescriptor m_parts;
};

/// Opens a folder in `parent`, made with `mode` when it is missing; no link is followed.
common::FileDescriptor OpenOrMakeFolder(int parent, const char* name, mode_t mode);

}  // namespace fetch
