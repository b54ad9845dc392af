#include "reports/files/save_copy.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <span>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "common/file_descriptor.h"
#include "common/io.h"
#include "common/retrying.h"

namespace reports {

namespace {

// Should the file turn into something else between the look at it and its opening.
constexpr int kCarefulFlags = O_CLOEXEC | O_NONBLOCK | O_NOCTTY;

SaveOutcome Failed(int error, SaveOutcome::Kind kind = SaveOutcome::kFailed) {
    return {kind, error};
}

bool FitsLimit(std::size_t size) {
    struct rlimit limit {};
    return ::getrlimit(RLIMIT_FSIZE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY ||
           size <= limit.rlim_cur;
}

// Reserves room for `size` bytes in a file of `oldSize`. True as well where reserving is unknown:
// the writing will tell.
bool Reserve(int fd, std::size_t size, off_t oldSize) {
    if (size == 0) {
        return true;
    }
    const int result = common::Retrying(
        [&] { return ::fallocate(fd, FALLOC_FL_KEEP_SIZE, 0, static_cast<off_t>(size)); });
    if (result == 0 || (errno != ENOSPC && errno != EDQUOT && errno != EFBIG && errno != EIO)) {
        return true;
    }
    const int error = errno;
    (void)::ftruncate(fd, oldSize);  // gives back what was reserved behind the end
    errno = error;
    return false;
}

// Whether everything written so far has reached the disk. Some file systems tell only when a
// descriptor is closed, so one is; ours stays open to put things right.
bool IsOnDisk(int fd) {
    if (::fsync(fd) != 0 && errno != EINVAL && errno != ENOSYS) {
        return false;
    }
    const int second = ::fcntl(fd, F_DUPFD_CLOEXEC, 0);
    return second < 0 || ::close(second) == 0;
}

bool WriteFromStart(int fd, std::string_view bytes) {
    return ::lseek(fd, 0, SEEK_SET) == 0 && common::WriteAll(fd, bytes);
}

// The first `size` bytes of the file.
bool ReadStart(int fd, std::string& bytes, std::size_t size) {
    bytes.resize(size);
    errno = EIO;
    return common::ReadFull(fd, std::as_writable_bytes(std::span(bytes))) ==
           static_cast<std::ptrdiff_t>(size);
}

SaveOutcome Overwrite(common::FileDescriptor file, std::string_view bytes) {
    const int fd = file.Get();
    struct stat status {};
    if (::fstat(fd, &status) != 0) {
        return Failed(errno);
    }
    if (!S_ISREG(status.st_mode)) {
        return {SaveOutcome::kNotRegular, 0};
    }
    std::string old;
    if (!ReadStart(fd, old, std::min(bytes.size(), static_cast<std::size_t>(status.st_size))) ||
        !Reserve(fd, bytes.size(), status.st_size)) {
        return Failed(errno);
    }
    // Cut last: up to there everything that the file held can be put back.
    if (WriteFromStart(fd, bytes) && IsOnDisk(fd) &&
        ::ftruncate(fd, static_cast<off_t>(bytes.size())) == 0) {
        return ::close(file.Release()) == 0 ? SaveOutcome{}
                                            : Failed(errno, SaveOutcome::kLostOldBytes);
    }
    const int error = errno;
    const bool isPutBack = WriteFromStart(fd, old) && ::ftruncate(fd, status.st_size) == 0;
    return Failed(error, isPutBack ? SaveOutcome::kFailed : SaveOutcome::kLostOldBytes);
}

SaveOutcome FillNew(common::FileDescriptor file, const std::string& path, std::string_view bytes) {
    if (Reserve(file.Get(), bytes.size(), 0) && common::WriteAll(file.Get(), bytes) &&
        IsOnDisk(file.Get()) && ::close(file.Release()) == 0) {
        return {};
    }
    const int error = errno;
    (void)::unlink(path.c_str());
    return Failed(error);
}

}  // namespace

SaveOutcome SaveCopy(const std::string& path, std::string_view bytes) {
    if (!FitsLimit(bytes.size())) {
        return Failed(EFBIG);
    }
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0) {
        if (!S_ISREG(status.st_mode)) {
            return {SaveOutcome::kNotRegular, 0};
        }
        common::FileDescriptor file(::open(path.c_str(), O_RDWR | kCarefulFlags));
        return file ? Overwrite(std::move(file), bytes) : Failed(errno);
    }
    if (errno != ENOENT) {
        return Failed(errno);
    }
    common::FileDescriptor file(
        ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | kCarefulFlags, mode_t{0666}));
    if (!file) {
        const int error = errno;
        const bool isDanglingLink = ::lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
        return Failed(isDanglingLink ? ENOENT : error);
    }
    return FillNew(std::move(file), path, bytes);
}

}  // namespace reports
