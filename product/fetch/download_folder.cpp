#include "product/fetch/download_folder.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "common/owners.h"
#include "common/retrying.h"

namespace fetch {

namespace {

constexpr char kParts[] = "parts";
constexpr char kCandidate[] = "candidate";
constexpr char kUnfinished[] = "candidate.new";
constexpr int kOpenFolder = O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW;

std::vector<std::string> NamesIn(int folder) {
    std::vector<std::string> names;
    common::FileDescriptor again(
        common::Retrying([&] { return ::openat(folder, ".", kOpenFolder); }));
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

common::FileDescriptor OpenFolder(int parent, const char* name) {
    return common::FileDescriptor(
        common::Retrying([&] { return ::openat(parent, name, kOpenFolder); }));
}

bool Remove(int parent, const char* name, int flags) {
    return common::Retrying([&] { return ::unlinkat(parent, name, flags); }) == 0 ||
           errno == ENOENT;
}

// A folder of files; no deeper ones are made here. False with the reason in errno.
bool RemoveFolder(int parent, const char* name) {
    const common::FileDescriptor folder = OpenFolder(parent, name);
    if (!folder) {
        return Remove(parent, name, 0);
    }
    const std::vector<std::string> entries = NamesIn(folder.Get());
    return std::all_of(
               entries.begin(), entries.end(),
               [&](const std::string& entry) { return Remove(folder.Get(), entry.c_str(), 0); }) &&
           Remove(parent, name, AT_REMOVEDIR);
}

}  // namespace

common::FileDescriptor OpenOrMakeFolder(int parent, const char* name, mode_t mode) {
    if (common::Retrying([&] { return ::mkdirat(parent, name, mode); }) != 0 && errno != EEXIST) {
        return {};
    }
    return OpenFolder(parent, name);
}

bool DownloadFolder::Open(const std::string& path) {
    m_path = path.ends_with('/') ? path : path + "/";
    m_folder.Reset(common::Retrying(
        [&] { return ::open(m_path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
    if (!m_folder || ::flock(m_folder.Get(), LOCK_EX | LOCK_NB) != 0) {
        return false;
    }
    // What cannot be removed is in the way of another candidate only.
    (void)RemoveCandidate();
    m_parts = OpenOrMakeFolder(m_folder.Get(), kParts, 0700);
    return m_parts.IsOpen();
}

std::string DownloadFolder::CandidatePath() const {
    return m_path + kCandidate;
}

bool DownloadFolder::RemoveCandidate() const {
    return RemoveFolder(m_folder.Get(), kCandidate) && RemoveFolder(m_folder.Get(), kUnfinished);
}

void DownloadFolder::RemoveParts(const std::function<bool(const std::string&)>& isToGo) const {
    for (const std::string& name : NamesIn(m_parts.Get())) {
        if (isToGo(name)) {
            (void)Remove(m_parts.Get(), name.c_str(), 0);
        }
    }
}

common::FileDescriptor DownloadFolder::BeginCandidate() const {
    if (!RemoveFolder(m_folder.Get(), kUnfinished)) {
        return {};
    }
    common::FileDescriptor folder = OpenOrMakeFolder(m_folder.Get(), kUnfinished, 0750);
    // For the group that installs, whatever the umask. Where nothing is to be changed it is left:
    // the bit that hands this group on to the files would be lost by one who is not in it.
    struct stat status {};
    if (folder && (::fstat(folder.Get(), &status) != 0 ||
                   ((status.st_mode & 0777U) != 0750U &&
                    common::Retrying([&] { return ::fchmod(folder.Get(), 0750); }) != 0))) {
        folder.Reset();
    }
    return folder;
}

bool DownloadFolder::LinkInto(int candidate, int source, const std::string& from,
                              const std::string& name) {
    return common::Retrying(
               [&] { return ::linkat(source, from.c_str(), candidate, name.c_str(), 0); }) == 0 &&
           common::Retrying([&] { return ::fchmodat(candidate, name.c_str(), 0640, 0); }) == 0;
}

// Nothing of it is synced: what a power cut leaves of a download is thrown away.
bool DownloadFolder::FinishCandidate() const {
    return RemoveFolder(m_folder.Get(), kCandidate) &&
           common::Retrying([&] {
               return ::renameat(m_folder.Get(), kUnfinished, m_folder.Get(), kCandidate);
           }) == 0;
}

}  // namespace fetch
