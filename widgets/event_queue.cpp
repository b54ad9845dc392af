#include "widgets/event_queue.h"

#include <utility>

bool EventQueue::Put(std::unique_ptr<ZqEvent> event, bool mayWait) {
    std::unique_lock lock(m_mutex);
    if (mayWait) {
        m_room.wait(lock, [this] { return m_events.size() < kRoom || m_closed; });
    }
    if (m_closed) {
        return false;
    }
    m_events.push_back(std::move(event));
    return !std::exchange(m_receiverKnows, true);
}

std::vector<std::unique_ptr<ZqEvent>> EventQueue::TakeAll() {
    std::vector<std::unique_ptr<ZqEvent>> taken;
    {
        const std::scoped_lock lock(m_mutex);
        taken.reserve(m_events.capacity());
        taken.swap(m_events);
        m_receiverKnows = !taken.empty();
    }
    m_room.notify_all();
    return taken;
}

void EventQueue::Close() {
    {
        const std::scoped_lock lock(m_mutex);
        m_closed = true;
        m_events.clear();
    }
    m_room.notify_all();
}

std::size_t EventQueue::Size() {
    const std::scoped_lock lock(m_mutex);
    return m_events.size();
}
