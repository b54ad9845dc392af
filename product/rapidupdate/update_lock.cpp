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
    const int error = errno;
    const std::string path = m_path;
    if (!file) {
        LogOnce(LOG_WARNING, path + " cannot be opened: " + std::strerror(error));
        return;
    }
    const std::optional<pid_t> holder = common::LockHolder(file.Get());
    if (!holder) {
        return;
    }
    const bool isKnown = *holder != common::kUnknownHolder;
    const std::string who = isKnown ? "process " + std::to_string(*holder) : "another process";
    const std::string unknown = isKnown ? "" : ", and which one it is cannot be told";
    LogOnce(LOG_NOTICE,
            who + " is updating already (it holds " + path + unknown + "); waiting for it");
}

void UpdateLock::LogOnce(int level, const std::string& text) {
    if (text != m_logged) {
        m_logged = text;
        ::syslog(level, "%s", text.c_str());
    }
}

}  // namespace rapidupdate
