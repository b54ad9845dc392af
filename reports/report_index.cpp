#include "reports/report_index.h"

#include <bit>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "common/file_descriptor.h"
#include "common/io.h"
#include "common/locks.h"

static_assert(std::endian::native == std::endian::little);

namespace {

constexpr tagReportIndexHeader kEmptyIndex{{'Z', 'Q', 'R', 'F'}, 0, 0};
constexpr off_t kCountOffset = offsetof(tagReportIndexHeader, count);

// Everybody's scans are listed in the one index.
void OpenToEveryUser(int fd) {
    (void)::fchmod(fd, 0666);
}

// Sets room for one more record aside, so that a full disk shows before the record is counted.
// False only when there is no room: many file systems cannot tell.
bool ReserveRecord(int fd) {
    struct stat status {};
    if (::fstat(fd, &status) != 0) {
        return true;
    }
    int result = 0;
    do {
        result = ::fallocate(fd, FALLOC_FL_KEEP_SIZE, status.st_size, sizeof(tagScanIndexEntry));
    } while (result != 0 && errno == EINTR);
    return result == 0 || (errno != ENOSPC && errno != EDQUOT && errno != EFBIG);
}

void CountOneMore(int fd) {
    std::uint32_t count = 0;
    if (::lseek(fd, kCountOffset, SEEK_SET) < 0 ||
        ReadFull(fd, BytesOf(count)) != static_cast<std::ptrdiff_t>(sizeof count)) {
        count = 0;
    }
    ++count;
    if (::lseek(fd, kCountOffset, SEEK_SET) >= 0) {
        WriteAll(fd, BytesOf(std::as_const(count)));
    }
}

}  // namespace

bool CreateReportIndex(const char* path) {
    if (path == nullptr) {
        return false;
    }
    FileDescriptor index(::open(path, O_RDONLY | O_CLOEXEC));
    if (!index && errno == ENOENT) {
        index.Reset(::open(path, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
        if (index && !WriteAll(index.Get(), BytesOf(kEmptyIndex))) {
            // An index without its header would pass for a good one at the next start.
            (void)::unlink(path);
            return false;
        }
        if (!index && errno == EEXIST) {
            index.Reset(::open(path, O_RDONLY | O_CLOEXEC));
        }
    }
    if (!index) {
        return false;
    }
    OpenToEveryUser(index.Get());
    return true;
}

bool AppendReportIndexEntry(const char* path, const tagScanIndexEntry& entry, IndexLock lock) {
    if (path == nullptr) {
        return false;
    }
    {
        const FileDescriptor index(::open(path, O_RDWR | O_CLOEXEC));
        if (!index) {
            return false;
        }
        if (lock == IndexLock::kWhileCounting) {
            (void)LockFileHandle(index.Get());
        }
        const bool hasRoom = ReserveRecord(index.Get());
        if (hasRoom) {
            CountOneMore(index.Get());
        }
        if (lock == IndexLock::kWhileCounting) {
            (void)UnlockFileHandle(index.Get());
        }
        if (!hasRoom) {
            return false;
        }
        OpenToEveryUser(index.Get());
    }
    // Unlocked from here on: a record lands whole at the end of the file whoever else adds one.
    const FileDescriptor index(::open(path, O_WRONLY | O_APPEND | O_CLOEXEC));
    if (!index) {
        return false;
    }
    const bool written = WriteAll(index.Get(), BytesOf(entry));
    OpenToEveryUser(index.Get());
    return written;
}

bool ReadReportIndex(const char* path, std::vector<tagScanIndexEntry>& out) {
    out.clear();
    if (path == nullptr) {
        return false;
    }
    const FileDescriptor index(::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!index) {
        return false;
    }
    tagReportIndexHeader header{};
    if (ReadFull(index.Get(), BytesOf(header)) == static_cast<std::ptrdiff_t>(sizeof header) &&
        header.count != 0) {
        tagScanIndexEntry entry{};
        while (out.size() < kMaxIndexRecords && ReadFull(index.Get(), BytesOf(entry)) > 0) {
            out.push_back(entry);
            entry = {};
        }
    }
    OpenToEveryUser(index.Get());
    return true;
}

bool RewriteReportIndex(const char* path, std::span<const tagScanIndexEntry> entries) {
    if (path == nullptr) {
        return false;
    }
    const FileDescriptor index(::open(path, O_WRONLY | O_CLOEXEC));
    if (!index) {
        return false;
    }
    tagReportIndexHeader header = kEmptyIndex;
    header.count = static_cast<std::uint32_t>(entries.size());
    const off_t size =
        static_cast<off_t>(sizeof header + entries.size() * sizeof(tagScanIndexEntry));
    // Written over the old contents and cut afterwards: a disk that is full loses nothing.
    (void)LockFileHandle(index.Get());
    const bool written = WriteAll(index.Get(), BytesOf(std::as_const(header))) &&
                         WriteAll(index.Get(), std::as_bytes(entries)) &&
                         ::ftruncate(index.Get(), size) == 0;
    (void)UnlockFileHandle(index.Get());
    OpenToEveryUser(index.Get());
    return written;
}
