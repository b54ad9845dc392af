#include "scan/run/read_ahead.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <system_error>
#include <utility>

#include "common/file_descriptor.h"
#include "common/regular_file.h"

namespace {

constexpr std::size_t kMostWaiting = 512;  // files, about as many as a scan tells of ahead
constexpr std::size_t kHelpers = 4;
constexpr std::size_t kFirstPause = 32;      // files, after one that was in memory
constexpr std::size_t kLongestPause = 1024;  // so a cold part of the tree is noticed soon
constexpr std::size_t kColdFiles = 256;      // after one that was cold, without looking again
constexpr off_t kLongestRead =
    off_t{256} * 1024;  // bytes of each file; the kernel goes on from there

std::atomic<bool> enabled{true};

std::string PathIn(const std::string& directory, const std::string& name) {
    return directory.ends_with('/') ? directory + name : directory + '/' + name;
}

/// Opens `path` to be read ahead; none when it is no regular file. Never waits, follows no link in
/// the last place and leaves the time of the last access alone where that is allowed.
common::FileDescriptor OpenToReadAhead(const std::string& path, off_t& size) {
    using common::Links;
    using common::OpenRegularFile;
    common::FileDescriptor file =
        OpenRegularFile(path.c_str(), O_RDONLY | O_NOATIME, Links::kNoSymbolic);
    if (!file) {
        file = OpenRegularFile(path.c_str(), O_RDONLY, Links::kNoSymbolic);
    }
    struct stat status {};
    if (!file || ::fstat(file.Get(), &status) != 0) {
        return {};
    }
    size = status.st_size;
    return file;
}

/// True when the first byte of the file is known not to be in memory.
bool IsCold(const std::string& path) {
    off_t size = 0;
    const common::FileDescriptor file = OpenToReadAhead(path, size);
    if (!file || size == 0) {
        return false;
    }
    char byte = 0;
    const iovec target{&byte, 1};
    return ::preadv2(file.Get(), &target, 1, 0, RWF_NOWAIT) < 0 && errno == EAGAIN;
}

void ReadAheadOne(const std::string& path) {
    off_t size = 0;
    const common::FileDescriptor file = OpenToReadAhead(path, size);
    if (file && size > 0) {
        ::posix_fadvise(file.Get(), 0, std::min(size, kLongestRead), POSIX_FADV_WILLNEED);
    }
}

}  // namespace

void SetReadAhead(bool on) {
    enabled = on;
}

ReadAhead::~ReadAhead() {
    {
        const std::scoped_lock lock(m_mutex);
        m_ending = true;
        m_paths.clear();
    }
    m_work.notify_all();
    for (std::thread& helper : m_helpers) {
        helper.join();
    }
}

void ReadAhead::Ahead(const std::string& directory, const std::vector<std::string>& names) {
    if (!enabled || names.empty()) {
        return;
    }
    if (m_pause > 0) {
        m_pause -= std::min(m_pause, names.size());
        return;
    }
    if (m_coldFiles > 0) {
        m_coldFiles -= std::min(m_coldFiles, names.size());
    } else if (IsCold(PathIn(directory, names.front()))) {
        m_coldFiles = kColdFiles;
        m_nextPause = kFirstPause;
    } else {
        m_pause = m_nextPause = std::clamp(2 * m_nextPause, kFirstPause, kLongestPause);
        return;
    }
    Submit(directory, names);
}

void ReadAhead::Submit(const std::string& directory, const std::vector<std::string>& names) {
    StartHelpers();
    m_filesReadAhead += names.size();
    {
        const std::scoped_lock lock(m_mutex);
        for (const std::string& name : names) {
            m_paths.push_back(PathIn(directory, name));
        }
        // What the helpers did not get to in time has been scanned by now.
        while (m_paths.size() > kMostWaiting) {
            m_paths.pop_front();
        }
    }
    m_work.notify_all();
}

void ReadAhead::StartHelpers() {
    try {
        while (m_helpers.size() < kHelpers) {
            m_helpers.emplace_back(&ReadAhead::Help, this);
        }
    } catch (const std::system_error&) {
        // With fewer of them, or none, the scan is only slower.
    }
}

void ReadAhead::Help() {
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_work.wait(lock, [this] { return m_ending || !m_paths.empty(); });
        if (m_ending) {
            return;
        }
        const std::string path = std::move(m_paths.front());
        m_paths.pop_front();
        lock.unlock();
        ReadAheadOne(path);
        lock.lock();
    }
}
