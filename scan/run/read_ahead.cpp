#include "scan/run/read_ahead.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <system_error>
#include <utility>

#include "common/directory_reader.h"
#include "common/regular_file.h"

namespace {

constexpr std::size_t kBatch = 32;  // files that are read ahead together
constexpr std::size_t kWaitingJobs = 2 * kBatch;
constexpr std::size_t kHelpers = 4;
constexpr std::size_t kFirstPause = kBatch;  // files, after one that was in memory
constexpr std::size_t kLongestPause = 1024;  // so a cold part of the tree is noticed soon
constexpr std::size_t kBatchesPerLook = 8;   // while files are cold
constexpr off_t kLongestRead =
    off_t{256} * 1024;  // bytes of each file; the kernel goes on from there

std::atomic<bool> enabled{true};

/// Opens `name` to be read ahead; none when it is no regular file. Never waits, follows no link and
/// leaves the time of the last access alone where that is allowed.
common::FileDescriptor OpenToReadAhead(int directory, const char* name, off_t& size) {
    using common::Links;
    using common::OpenRegularFileAt;
    common::FileDescriptor file =
        OpenRegularFileAt(directory, name, O_RDONLY | O_NOATIME, Links::kNoSymbolic);
    if (!file) {
        file = OpenRegularFileAt(directory, name, O_RDONLY, Links::kNoSymbolic);
    }
    struct stat status {};
    if (!file || ::fstat(file.Get(), &status) != 0) {
        return {};
    }
    size = status.st_size;
    return file;
}

/// True when the first byte of the file is known not to be in memory.
bool IsCold(int directory, const char* name) {
    off_t size = 0;
    const common::FileDescriptor file = OpenToReadAhead(directory, name, size);
    if (!file || size == 0) {
        return false;
    }
    char byte = 0;
    const iovec target{&byte, 1};
    return ::preadv2(file.Get(), &target, 1, 0, RWF_NOWAIT) < 0 && errno == EAGAIN;
}

void ReadAheadOne(int directory, const char* name) {
    off_t size = 0;
    const common::FileDescriptor file = OpenToReadAhead(directory, name, size);
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
        m_jobs.clear();
    }
    m_work.notify_all();
    for (std::thread& helper : m_helpers) {
        helper.join();
    }
}

void ReadAhead::LookAhead(int directory, common::DirectoryReader& reader) {
    if (m_pause > 0) {
        --m_pause;
        return;
    }
    if (reader.AheadCount() >= kBatch / 2 || !enabled) {
        return;
    }
    std::vector<std::string> names;
    while (names.size() < kBatch) {
        const auto entry = reader.NextAhead();
        if (!entry) {
            break;
        }
        if (entry->type == DT_REG) {
            names.emplace_back(entry->name);
        }
    }
    if (names.empty()) {
        return;
    }
    if (m_coldBatches > 0) {
        --m_coldBatches;
    } else if (IsCold(directory, names.front().c_str())) {
        m_coldBatches = kBatchesPerLook;
        m_nextPause = kFirstPause;
    } else {
        m_pause = m_nextPause = std::clamp(2 * m_nextPause, kFirstPause, kLongestPause);
        return;
    }
    Submit(directory, std::move(names));
}

void ReadAhead::Submit(int directory, std::vector<std::string> names) {
    const auto shared =
        std::make_shared<common::FileDescriptor>(::fcntl(directory, F_DUPFD_CLOEXEC, 0));
    if (!*shared) {
        return;
    }
    StartHelpers();
    m_filesReadAhead += names.size();
    {
        const std::scoped_lock lock(m_mutex);
        for (std::string& name : names) {
            m_jobs.push_back({shared, std::move(name)});
        }
        // What the helpers did not get to in time has been scanned by now.
        while (m_jobs.size() > kWaitingJobs) {
            m_jobs.pop_front();
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
        m_work.wait(lock, [this] { return m_ending || !m_jobs.empty(); });
        if (m_ending) {
            return;
        }
        const Job job = std::move(m_jobs.front());
        m_jobs.pop_front();
        lock.unlock();
        ReadAheadOne(job.directory->Get(), job.name.c_str());
        lock.lock();
    }
}
