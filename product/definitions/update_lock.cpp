#include "product/definitions/update_lock.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

#include "common/locks.h"
#include "common/regular_file.h"
#include "common/retrying.h"
#include "product/definitions/definition_folder.h"

namespace definitions {

UpdateLock::UpdateLock(int folder)
    : m_file(common::OpenRegularFileAt(folder, kLockName, O_RDWR | O_CREAT, common::Links::kNone,
                                       0600)) {
    if (!m_file) {
        m_error = errno;
        return;
    }
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;  // all of the file
    m_isHeld = common::Retrying([&] { return ::fcntl(m_file.Get(), F_SETLK, &lock); }) == 0;
    if (m_isHeld) {
        return;
    }
    if (errno != EAGAIN && errno != EACCES) {
        m_error = errno;
        return;
    }
    // Given back meanwhile, it has no holder any more.
    m_holder = common::LockHolder(m_file.Get()).value_or(common::kUnknownHolder);
}

}  // namespace definitions
