#include "product/rapidupdate/update_lock.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <syslog.h>

#include "common/regular_file.h"

namespace rapidupdate {

bool UpdateLock::TryAcquire() {
    if (m_lock.AcquireLock() == 0) {
        return true;
    }
    LogHolder();
    return false;
}

void UpdateLock::LogHolder() {
    const common::FileDescriptor file =
        common::OpenRegularFile(m_path, O_RDONLY, common::Links::kNone);
    if (!file) {
        if (m_loggedHolder != 0) {
            ::syslog(LOG_WARNING, "%s cannot be opened: %s", m_path, std::strerror(errno));
        }
        m_loggedHolder = 0;
        return;
    }
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_len = 1;
    if (::fcntl(file.Get(), F_GETLK, &lock) != 0 || lock.l_type == F_UNLCK ||
        lock.l_pid == m_loggedHolder) {
        return;
    }
    m_loggedHolder = lock.l_pid;
    ::syslog(LOG_NOTICE, "process %d is updating already (it holds %s); waiting for it",
             static_cast<int>(lock.l_pid), m_path);
}

}  // namespace rapidupdate
