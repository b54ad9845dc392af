#pragma once

#include "product/rapidupdate/alarm.h"
#include "product/rapidupdate/service_loop.h"

namespace rapidupdate {

/// The machine as it is: its clock, its options, its network, its updates. Main thread.
class Machine : public Surroundings {
public:
    explicit Machine(const Alarm& alarm) : m_alarm(alarm) {}

    Seconds Now() override { return Alarm::Now(); }
    bool WaitUntil(Seconds due) override { return m_alarm.WaitUntil(due); }
    double Random() override;
    bool AreUpdatesOn() override;
    bool IsMetered() override;
    Outcome Update() override;
    void Log(const char* message) override;

private:
    const Alarm& m_alarm;
};

}  // namespace rapidupdate
