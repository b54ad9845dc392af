#include "product/definitions/file_copy.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "common/file_descriptor.h"
#include "common/io.h"
#include "common/retrying.h"
#include "product/definitions/watched_sync.h"
#include "product/signed_index/sha256.h"

namespace definitions {

namespace {

constexpr std::size_t kBlock = std::size_t{256} * 1024;
// Handed to the disk on the way, so that the end is not one long wait in which nobody is asked.
constexpr std::uint64_t kHandOver = std::uint64_t{8} * 1024 * 1024;
constexpr mode_t kFileMode = 0644;

common::FileDescriptor MakeFile(int target, const std::string& name) {
    return common::FileDescriptor(common::Retrying([&] {
        return ::openat(target, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                        kFileMode);
    }));
}

bool Finish(int file, const GoOn& goOn) {
    return common::Retrying([&] { return ::fchmod(file, kFileMode); }) == 0 &&
           SyncWatched(file, goOn);
}

}  // namespace

Copied CopyInto(int target, const std::string& name, int source, std::uint64_t limit,
                const GoOn& goOn) {
    Copied copied;
    const common::FileDescriptor file = MakeFile(target, name);
    if (!file) {
        copied.result = CopyResult::kUnwritable;
        return copied;
    }
    signed_index::Sha256 digest;
    std::vector<std::byte> buffer(kBlock);
    std::uint64_t handedOver = 0;
    while (true) {
        if (!goOn()) {
            copied.result = CopyResult::kStopped;
            return copied;
        }
        const ssize_t got =
            common::Retrying([&] { return ::read(source, buffer.data(), buffer.size()); });
        if (got < 0) {
            copied.result = CopyResult::kUnreadable;
            return copied;
        }
        if (got == 0) {
            break;
        }
        const auto bytes = std::span(buffer).first(static_cast<std::size_t>(got));
        copied.size += bytes.size();
        if (copied.size > limit) {
            copied.result = CopyResult::kTooLarge;
            return copied;
        }
        digest.Add(bytes);
        if (!common::WriteAll(file.Get(), bytes)) {
            copied.result = CopyResult::kUnwritable;
            return copied;
        }
        if (copied.size - handedOver >= kHandOver) {
            // No more than a hint: what could not be written is told by fsync.
            (void)::sync_file_range(file.Get(), static_cast<off64_t>(handedOver),
                                    static_cast<off64_t>(copied.size - handedOver),
                                    SYNC_FILE_RANGE_WRITE);
            handedOver = copied.size;
        }
    }
    if (Finish(file.Get(), goOn)) {
        copied.result = CopyResult::kCopied;
    } else {
        copied.result = errno == ECANCELED ? CopyResult::kStopped : CopyResult::kUnwritable;
    }
    copied.sha256 = digest.Finish();
    return copied;
}

bool WriteInto(int target, const std::string& name, std::span<const std::byte> content,
               const GoOn& goOn) {
    const common::FileDescriptor file = MakeFile(target, name);
    return file && common::WriteAll(file.Get(), content) && Finish(file.Get(), goOn);
}

}  // namespace definitions
