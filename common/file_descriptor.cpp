#include "common/file_descriptor.h"

#include <unistd.h>

namespace common {

void FileDescriptor::Reset(int fd) {
    // Not retried on EINTR: Linux has let the descriptor go by then, and its number may already be
    // another thread's.
    if (m_fd >= 0 && m_fd != fd) {
        ::close(m_fd);
    }
    m_fd = fd;
}

}  // namespace common
