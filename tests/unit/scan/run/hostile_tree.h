#pragma once

#include <fcntl.h>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "tests/support/scratch.h"

// What a tree to scan may hold to trip a scanner up.

inline void MakeFolder(const std::string& path) {
    ::mkdir(path.c_str(), 0755);
}

inline void MakeFifo(const std::string& path) {
    ::mkfifo(path.c_str(), 0644);
}

inline void MakeLink(const std::string& target, const std::string& path) {
    (void)!::symlink(target.c_str(), path.c_str());
}

/// A socket in the file system; it stays there when nobody listens any more.
inline void MakeSocket(const std::string& path) {
    const common::FileDescriptor listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(static_cast<char*>(address.sun_path), sizeof(address.sun_path) - 1);
    (void)::bind(listener.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address));
}

/// Folders named "d", one in the other, with a file "f" in each, until a path has `length` bytes at
/// least. How many files lie at a path of at most 1,023 bytes.
inline int MakeDeepTree(const std::string& top, std::size_t length) {
    int fitting = 0;
    std::size_t pathLength = top.size();
    common::FileDescriptor folder(::open(top.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    while (pathLength < length) {
        ::mkdirat(folder.Get(), "d", 0755);
        folder.Reset(::openat(folder.Get(), "d", O_PATH | O_DIRECTORY | O_CLOEXEC));
        const common::FileDescriptor file(
            ::openat(folder.Get(), "f", O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
        pathLength += 2;
        fitting += file && pathLength + 2 <= 1023 ? 1 : 0;
    }
    return fitting;
}
