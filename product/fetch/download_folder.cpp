#include "product/fetch/download_folder.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/owners.h"

namespace fetch {

namespace {

constexpr char kParts[] = "parts";
constexpr char kCandidate[] = "candidate";
constexpr char kUnfinished[] = "candidate.new";
constexpr int kOpenFolder = O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW;

std::vector<std::string> NamesIn(int folder) {
    std::vector<std::string> names;
    common::FileDescriptor again(::openat(folder, ".", kOpenFolder));
    const common::DirectoryStream stream(::fdopendir(again.Get()));
    if (stream == nullptr) {
        return names;
    }
    (void)again.Release();  // the stream's now
    while (const dirent* entry = ::readdir(stream.get())) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") {
            names.emplace_back(name);
        }
    }
    return names;
}

// A folder of files; no deeper ones are made here.
void RemoveFolder(int parent, const char* name) {
    const common::FileDescriptor folder(::openat(parent, name, kOpenFolder));
    if (!folder) {
        ::unlinkat(parent, name, 0);
        return;
    }
    for (const std::string& entry : NamesIn(folder.Get())) {
        ::unlinkat(folder.Get(), entry.c_str(), 0);
    }
    ::unlinkat(parent, name, AT_REMOVEDIR);
}

}  // namespace

common::FileDescriptor OpenOrMakeFolder(int parent, const char* name, mode_t mode) {
    if (::mkdirat(parent, name, mode) != 0 && errno != EEXIST) {
        return {};
    }
    return common::FileDescriptor(::openat(parent, name, kOpenFolder));
}

bool DownloadFolder::Open(const std::string& path) {
    m_path = path.ends_with('/') ? path : path + "/";
    m_folder.Reset(::open(m_path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!m_folder || ::flock(m_folder.Get(), LOCK_EX | LOCK_NB) != 0) {
        return false;
    }
    RemoveFolder(m_folder.Get(), kCandidate);
    RemoveFolder(m_folder.Get(), kUnfinished);
    m_parts = OpenOrMakeFolder(m_folder.Get(), kParts, 0700);
    return m_parts.IsOpen();
}

std::string DownloadFolder::CandidatePath() const {
    return m_path + kCandidate;
}

void DownloadFolder::KeepParts(const std::vector<std::string>& digests) const {
    for (const std::string& name : NamesIn(m_parts.Get())) {
        if (std::find(digests.begin(), digests.end(), name) == digests.end()) {
            ::unlinkat(m_parts.Get(), name.c_str(), 0);
        }
    }
}

common::FileDescriptor DownloadFolder::BeginCandidate() const {
    RemoveFolder(m_folder.Get(), kUnfinished);
    common::FileDescriptor folder = OpenOrMakeFolder(m_folder.Get(), kUnfinished, 0750);
    // For the group that installs, whatever the umask. Where nothing is to be changed it is left:
    // the bit that hands this group on to the files would be lost by one who is not in it.
    struct stat status {};
    if (folder && (::fstat(folder.Get(), &status) != 0 ||
                   ((status.st_mode & 0777U) != 0750U && ::fchmod(folder.Get(), 0750) != 0))) {
        folder.Reset();
    }
    return folder;
}

// Nothing of it is synced: what a power cut leaves of a download is thrown away.
bool DownloadFolder::FinishCandidate() const {
    return ::renameat(m_folder.Get(), kUnfinished, m_folder.Get(), kCandidate) == 0;
}

}  // namespace fetch
