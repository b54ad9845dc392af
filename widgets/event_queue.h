#pragma once

#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

#include "widgets/zq_event.h"

/// The events of a run of work on their way from its threads to one receiver, in the order in which
/// they were posted.
///
/// The event loop is woken once for all that wait, not for each of them: on a tree of small files
/// waking it costs more than the walk. A thread waits when too many events do.
class EventQueue {
public:
    /// Events that may wait before the threads that post do.
    static constexpr std::size_t kRoom = 512;

    /// Adds an event. True when the receiver is to be woken: it does not know of any event yet.
    /// With `mayWait` this waits for room. After Close() the event is dropped.
    [[nodiscard]] bool Put(std::unique_ptr<ZqEvent> event, bool mayWait);

    /// Takes all that wait, which makes room. None left: the next Put() wakes the receiver again.
    std::vector<std::unique_ptr<ZqEvent>> TakeAll();

    /// Drops what waits and what comes, and lets no thread wait any more.
    void Close();

    /// How many events wait.
    [[nodiscard]] std::size_t Size();

private:
    std::mutex m_mutex;
    std::condition_variable m_room;
    std::vector<std::unique_ptr<ZqEvent>> m_events;
    bool m_receiverKnows = false;
    bool m_closed = false;
};
