#pragma once

#include "common/file_descriptor.h"

namespace scanapi {

/// Wakes one thread that polls. Whoever may have to wake it shares in this, so that it may outlive
/// the thread.
class Wakeup {
public:
    Wakeup();

    /// Makes Descriptor() readable until it is cleared. Any thread.
    void Wake() const;
    void Clear() const;

    /// -1 when the system had none to give: who polls then looks from time to time.
    [[nodiscard]] int Descriptor() const { return m_event.Get(); }

private:
    common::FileDescriptor m_event;
};

}  // namespace scanapi
