#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>

#include <QBasicTimer>
#include <QDialog>

#include "scan/event_queue.h"
#include "scan/run/stop_flag.h"

/// What the scan threads and the engine's callback know of the progress dialog: a receiver of
/// events with a stop flag. It travels through the engine as the `void*` of its `QDialog*`.
///
/// Every ZqEvent that PostZqEvent() was given arrives in customEvent(), in order, from the event
/// loop. Between two helpings of them the loop does its other work, so that a flood of events does
/// not keep the window from being painted or clicked.
class ScanDialog : public QDialog {
public:
    using QDialog::QDialog;
    ~ScanDialog() override;

    StopFlag m_stop;

    /// How many events wait to be taken. Any thread.
    [[nodiscard]] std::size_t WaitingEvents() { return m_events.Size(); }

protected:
    bool event(QEvent* event) override;
    void timerEvent(QTimerEvent* event) override;

    /// From now on events are dropped and no thread waits for room.
    void CloseEvents() { m_events.Close(); }

private:
    friend void PostZqEvent(ScanDialog* dialog, std::unique_ptr<ZqEvent> event);

    void Deliver();

    EventQueue m_events;
    // The event loop's lock orders a wake-up event too, but where the thread sanitizer cannot see
    // it.
    std::atomic<std::uint32_t> m_wakeUps{0};
    std::deque<std::unique_ptr<ZqEvent>> m_helping;  // taken and not delivered yet
    QBasicTimer m_nextHelping;
};
