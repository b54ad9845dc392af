#include "product/rapidupdate/update_lock.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <optional>
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
    const std::optional<pid_t> holder = common::LockHolder(file.Get());
    if (!holder || *holder == m_loggedHolder) {
        return;
    }
    m_loggedHolder = *holder;
    ::syslog(LOG_NOTICE, "process %d is updating already (it holds %s); waiting for it",
             static_cast<int>(*holder), m_path);
}

}  // namespace rapidupdate
