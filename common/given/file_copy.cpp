#include "common/given/file_copy.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "common/io.h"

namespace {

constexpr std::size_t kBlockSize = 1024;

struct CopyEnds {
    common::FileDescriptor source;
    common::FileDescriptor destination;
};

bool IsSameFile(int a, int b) {
    struct stat first {};
    struct stat second {};
    return ::fstat(a, &first) == 0 && ::fstat(b, &second) == 0 && first.st_dev == second.st_dev &&
           first.st_ino == second.st_ino;
}

// Opens both ends; the destination is emptied only once it is known not to be the source.
bool OpenEnds(const char* source, const char* destination, CopyEnds& ends) {
    if (source == nullptr || destination == nullptr) {
        return false;
    }
    ends.source.Reset(::open(source, O_RDONLY | O_CLOEXEC));
    if (!ends.source) {
        return false;
    }
    ends.destination.Reset(::open(destination, O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (!ends.destination || IsSameFile(ends.source.Get(), ends.destination.Get())) {
        return false;
    }
    // What has no length to cut, such as a device, refuses with EINVAL and is written as it is.
    return ::ftruncate(ends.destination.Get(), 0) == 0 || errno == EINVAL;
}

bool CopyBlocks(const CopyEnds& ends) {
    std::array<std::byte, kBlockSize> block{};
    for (;;) {
        const std::ptrdiff_t got = common::ReadFull(ends.source.Get(), block);
        if (got < 1) {
            return true;
        }
        if (!common::WriteAll(ends.destination.Get(),
                              std::span(block).first(static_cast<std::size_t>(got)))) {
            return false;
        }
    }
}

}  // namespace

int CopyFile(const char* source, const char* destination) {
    CopyEnds ends;
    if (!OpenEnds(source, destination, ends)) {
        return 0;
    }
    if (!CopyBlocks(ends)) {
        (void)::unlink(destination);
        return 0;
    }
    (void)::fchmod(ends.destination.Get(), 0755);
    return 1;
}

int ZQCopyFile(const char* source, const char* destination) {
    // On purpose unlike CopyFile: a partial copy stays, and so does the mode.
    CopyEnds ends;
    return OpenEnds(source, destination, ends) && CopyBlocks(ends) ? 1 : 0;
}
