#include "widgets/event_dialog.h"

#include <utility>

#include <QCoreApplication>
#include <QThread>
#include <QTimerEvent>

namespace {

QEvent::Type WakeUpType() {
    static const int kType = QEvent::registerEventType();
    return static_cast<QEvent::Type>(kType);
}

}  // namespace

EventDialog::~EventDialog() {
    CloseEvents();
}

void EventDialog::Post(std::unique_ptr<ZqEvent> event, Room room) {
    const bool mayWait = room == Room::kWaitForIt && thread() != QThread::currentThread();
    if (m_events.Put(std::move(event), mayWait)) {
        auto wakeUp = std::make_unique<QEvent>(WakeUpType());
        m_wakeUps.fetch_add(1, std::memory_order_release);
        QCoreApplication::postEvent(this, wakeUp.release());
    }
}

bool EventDialog::event(QEvent* event) {
    m_wakeUps.load(std::memory_order_acquire);
    if (event->type() == WakeUpType()) {
        Deliver();
        return true;
    }
    return QDialog::event(event);
}

void EventDialog::timerEvent(QTimerEvent* event) {
    if (event->timerId() == m_nextHelping.timerId()) {
        Deliver();
    } else {
        QDialog::timerEvent(event);
    }
}

void EventDialog::Deliver() {
    auto taken = m_events.TakeAll();
    if (taken.empty() && m_helping.empty()) {
        m_nextHelping.stop();
        return;
    }
    // A timer and not another posted event: the loop handles those without end while there are any,
    // and nothing else.
    m_nextHelping.start(0, this);
    std::move(taken.begin(), taken.end(), std::back_inserter(m_helping));
    while (!m_helping.empty()) {
        // Taken out first: a question's event loop comes back here for what waits behind it.
        const std::unique_ptr<ZqEvent> next = std::move(m_helping.front());
        m_helping.pop_front();
        customEvent(next.get());
    }
}
