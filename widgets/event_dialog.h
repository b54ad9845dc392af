#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>

#include <QBasicTimer>
#include <QDialog>

#include "widgets/event_queue.h"

/// A dialog that shows what other threads do: what they post becomes events on the GUI thread.
///
/// Every ZqEvent that Post() was given arrives in customEvent(), in order, from the event loop.
/// Between two helpings of them the loop does its other work, so that a flood of events does not
/// keep the window from being painted or clicked.
class EventDialog : public QDialog {
public:
    using QDialog::QDialog;
    ~EventDialog() override;

    enum class Room {
        kWaitForIt,  ///< for as long as about a thousand events wait: memory stays flat
        kNotNeeded,
    };
    /// Hands an event over. Any thread; the dialog's own never waits.
    void Post(std::unique_ptr<ZqEvent> event, Room room = Room::kWaitForIt);

    /// How many events wait to be taken. Any thread.
    [[nodiscard]] std::size_t WaitingEvents() { return m_events.Size(); }

protected:
    bool event(QEvent* event) override;
    void timerEvent(QTimerEvent* event) override;

    /// Hands what waits to customEvent().
    void Deliver();

    /// Drops what waits and what comes, and lets no thread wait any more.
    void CloseEvents() { m_events.Close(); }

private:
    EventQueue m_events;
    // The event loop's lock orders a wake-up event too, but where the thread sanitizer cannot see
    // it.
    std::atomic<std::uint32_t> m_wakeUps{0};
    std::deque<std::unique_ptr<ZqEvent>> m_helping;  // taken and not delivered yet
    QBasicTimer m_nextHelping;
};
