#pragma once

#include "common/file_descriptor.h"
#include "product/schdlscn/service.h"

namespace schdlscn {

/// The clocks of this machine: wakes at a time of day, when the clock was set, and when
/// "/etc/localtime" became another zone. For one thread.
class MachineClock : public Clock {
public:
    MachineClock();

    /// Whether the machine could provide all of it; the reason is in errno.
    [[nodiscard]] bool IsWhole() const { return m_isWhole; }

    Moment Read() override { return ReadMoment(); }
    [[nodiscard]] int Descriptor() const override { return m_events.Get(); }
    void Heard() override;
    void WakeAt(std::optional<std::chrono::sys_seconds> moment) override;

private:
    common::FileDescriptor m_events;  ///< readable when one of the others is
    common::FileDescriptor m_timer;
    common::FileDescriptor m_zone;
    bool m_isWhole = false;
};

}  // namespace schdlscn
