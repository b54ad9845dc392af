#include "reports/files/report_index.h"

#include <bit>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "common/file_descriptor.h"
#include "common/io.h"
#include "common/locks.h"
#include "common/retrying.h"
#include "reports/files/record_read.h"

static_assert(std::endian::native == std::endian::little);

namespace {

constexpr off_t kCountOffset = offsetof(tagReportIndexHeader, count);

// Everybody's scans are listed in the one index.
void OpenToEveryUser(int fd) {
    (void)common::Retrying([&] { return ::fchmod(fd, 0666); });
}

// A FIFO in the index's place must not keep anybody waiting.
common::FileDescriptor OpenIndex(const char* path, int flags, mode_t mode = 0) {
    return common::FileDescriptor(::open(path, flags | O_CLOEXEC | O_NONBLOCK, mode));
}

// Adds `difference` to the count of the index at `path`. False when that cannot be opened.
bool ChangeCount(const char* path, int difference, reports::IndexLock lock) {
    const common::FileDescriptor index = OpenIndex(path, O_RDWR);
    if (!index) {
        return false;
    }
    const int fd = index.Get();
    if (lock == reports::IndexLock::kWhileCounting) {
        (void)LockFileHandle(fd);
    }
    std::uint32_t count = 0;
    if (::lseek(fd, kCountOffset, SEEK_SET) < 0 ||
        common::ReadFull(fd, common::BytesOf(count)) != static_cast<std::ptrdiff_t>(sizeof count)) {
        count = 0;
    }
    count += static_cast<std::uint32_t>(difference);
    if (::lseek(fd, kCountOffset, SEEK_SET) >= 0) {
        common::WriteAll(fd, common::BytesOf(std::as_const(count)));
    }
    if (lock == reports::IndexLock::kWhileCounting) {
        (void)UnlockFileHandle(fd);
    }
    OpenToEveryUser(fd);
    return true;
}

// Appends the record in one write, so that it lands whole whoever else adds one. Of a record that
// found no room nothing is left: every record behind it would be read from the wrong place.
bool AppendWhole(int fd, const tagScanIndexEntry& entry) {
    const ssize_t written = common::Retrying([&] { return ::write(fd, &entry, sizeof entry); });
    if (written == static_cast<ssize_t>(sizeof entry)) {
        return true;
    }
    const off_t end = ::lseek(fd, 0, SEEK_CUR);
    struct stat status {};
    if (written > 0 && ::fstat(fd, &status) == 0 && status.st_size == end) {
        (void)common::Retrying([&] { return ::ftruncate(fd, end - written); });
    }
    return false;
}

}  // namespace

bool reports::CreateReportIndex(const char* path) {
    if (path == nullptr) {
        return false;
    }
    common::FileDescriptor index = OpenIndex(path, O_RDONLY);
    if (!index && errno == ENOENT) {
        index = OpenIndex(path, O_RDWR | O_CREAT | O_EXCL, 0600);
        if (index && !common::WriteAll(index.Get(), common::BytesOf(reports::kEmptyReportIndex))) {
            // An index without its header would pass for a good one at the next start.
            (void)::unlink(path);
            return false;
        }
        if (!index && errno == EEXIST) {
            index = OpenIndex(path, O_RDONLY);
        }
    }
    if (!index) {
        return false;
    }
    OpenToEveryUser(index.Get());
    return true;
}

bool reports::AppendReportIndexEntry(const char* path, const tagScanIndexEntry& entry,
                                     reports::IndexLock lock) {
    if (path == nullptr) {
        return false;
    }
    if (!ChangeCount(path, 1, lock)) {
        return false;
    }
    // Not locked here: nobody but a writer of the count has to wait.
    const common::FileDescriptor index = OpenIndex(path, O_WRONLY | O_APPEND);
    if (!index || !AppendWhole(index.Get(), entry)) {
        (void)ChangeCount(path, -1, lock);
        return false;
    }
    OpenToEveryUser(index.Get());
    return true;
}

bool reports::ReadReportIndex(const char* path, reports::IndexCount count,
                              std::vector<tagScanIndexEntry>& out) {
    out.clear();
    if (path == nullptr) {
        return false;
    }
    const common::FileDescriptor index = OpenIndex(path, O_RDONLY);
    if (!index) {
        return false;
    }
    tagReportIndexHeader header{};
    if (common::ReadFull(index.Get(), common::BytesOf(header)) ==
            static_cast<std::ptrdiff_t>(sizeof header) &&
        (count == reports::IndexCount::kIgnored || header.count != 0)) {
        tagScanIndexEntry entry{};
        while (out.size() < reports::kMaxIndexRecords &&
               reports::ReadRecord(index.Get(), common::BytesOf(entry)) > 0) {
            out.push_back(entry);
            entry = {};
        }
    }
    OpenToEveryUser(index.Get());
    return true;
}

bool reports::RewriteReportIndex(const char* path, std::span<const tagScanIndexEntry> entries) {
    if (path == nullptr) {
        return false;
    }
    const common::FileDescriptor index = OpenIndex(path, O_WRONLY);
    if (!index) {
        return false;
    }
    tagReportIndexHeader header = reports::kEmptyReportIndex;
    header.count = static_cast<std::uint32_t>(entries.size());
    const auto size =
        static_cast<off_t>(sizeof header + entries.size() * sizeof(tagScanIndexEntry));
    // Written over the old contents and cut afterwards: a disk that is full loses nothing.
    (void)LockFileHandle(index.Get());
    const bool written = common::WriteAll(index.Get(), common::BytesOf(std::as_const(header))) &&
                         common::WriteAll(index.Get(), std::as_bytes(entries)) &&
                         ::ftruncate(index.Get(), size) == 0;
    (void)UnlockFileHandle(index.Get());
    OpenToEveryUser(index.Get());
    return written;
}
