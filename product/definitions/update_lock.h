#pragma once

#include <sys/types.h>

#include "common/file_descriptor.h"

namespace definitions {

/// The updater's own lock on the folder of definitions, which only its user can take: unlike a lock
/// file that every user may open, nobody else can hold it for ever. Given back with the object and
/// when the process ends. One process never shuts itself out. An object is for one thread.
class UpdateLock {
public:
    /// Tries to take the lock in the open folder of definitions, without waiting.
    explicit UpdateLock(int folder);

    [[nodiscard]] bool IsHeld() const { return m_isHeld; }

    /// Who holds it otherwise: a process, or 0 when that cannot be told.
    [[nodiscard]] pid_t Holder() const { return m_holder; }

    /// Why the lock file itself could not be used, as errno has it; 0 when it could.
    [[nodiscard]] int Error() const { return m_error; }

private:
    common::FileDescriptor m_file;
    bool m_isHeld = false;
    pid_t m_holder = 0;
    int m_error = 0;
};

}  // namespace definitions
