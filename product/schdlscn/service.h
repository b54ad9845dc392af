#pragma once

#include <memory>
#include <string>
#include <vector>

#include "common/file_descriptor.h"
#include "product/schdlscn/caller.h"
#include "product/schdlscn/planner.h"

namespace schdlscn {

/// The clocks that the service goes by.
class Clock {
public:
    Clock() = default;
    virtual ~Clock() = default;
    Clock(const Clock&) = delete;
    Clock& operator=(const Clock&) = delete;

    virtual Moment Read() = 0;
    /// Readable when the time to wake has come, and when the clock was set or the zone changed.
    [[nodiscard]] virtual int Descriptor() const = 0;
    /// To be called then.
    virtual void Heard() = 0;
    /// Sets the time to wake; none to sleep on.
    virtual void WakeAt(std::optional<std::chrono::sys_seconds> moment) = 0;
};

/// Keeps the list of tasks for everybody who asks, and has the tasks run. For one thread.
class Service {
public:
    /// `listening` is a socket that listens and does not block; clock and launcher outlive it.
    Service(common::FileDescriptor listening, std::string taskList, Clock& clock,
            Launcher& launcher);

    /// Serves until `endDescriptor` becomes readable; then what runs is ended.
    void Serve(int endDescriptor);

private:
    using Callers = std::vector<std::unique_ptr<Caller>>;

    bool Wait(int endDescriptor);
    void Accept();
    void Hear(Caller& caller);
    Answer AnswerTo(const Request& request, uid_t user);
    void DropGone();

    common::FileDescriptor m_listening;
    TaskList m_list;
    Clock& m_clock;
    Launcher& m_launcher;
    Planner m_planner;
    Callers m_callers;
    bool m_mustLook = true;
};

}  // namespace schdlscn
