#include "common/io.h"

#include <cerrno>
#include <unistd.h>

namespace common {

bool WriteAll(int fd, std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(fd, bytes.data(), bytes.size());
        if (written < 0) {
            if (errno == EINTR) {
                continue;
            }
            return false;
        }
        if (written == 0) {
            errno = ENOSPC;
            return false;
        }
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
    return true;
}

bool WriteAll(int fd, std::string_view text) {
    return WriteAll(fd, std::as_bytes(std::span(text.data(), text.size())));
}

std::ptrdiff_t ReadFull(int fd, std::span<std::byte> buffer) {
    std::size_t total = 0;
    while (total < buffer.size()) {
        const ssize_t got = ::read(fd, buffer.data() + total, buffer.size() - total);
        if (got < 0) {
            if (errno == EINTR) {
                continue;
            }
            return total > 0 ? static_cast<std::ptrdiff_t>(total) : -1;
        }
        if (got == 0) {
            break;
        }
        total += static_cast<std::size_t>(got);
    }
    return static_cast<std::ptrdiff_t>(total);
}

}  // namespace common
