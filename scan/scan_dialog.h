#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>

#include <QBasicTimer>
#include <QDialog>

#include "scan/dialog_engine.h"
#include "scan/event_queue.h"
#include "scan/run/live_runs.h"
#include "scan/run/scan_run.h"

/// One scan and its way into a window: what the scan tells on its threads becomes events on the GUI
/// thread. It travels through the engine as the `void*` of its `QDialog*`.
///
/// Every ZqEvent that PostZqEvent() was given arrives in customEvent(), in order, from the event
/// loop. Between two helpings of them the loop does its other work, so that a flood of events does
/// not keep the window from being painted or clicked.
class ScanDialog : public QDialog, private ScanListener {
public:
    using QDialog::QDialog;
    ~ScanDialog() override;

    /// The scan that is shown here.
    [[nodiscard]] ScanRun& Run() { return m_run; }

    /// How many events wait to be taken. Any thread.
    [[nodiscard]] std::size_t WaitingEvents() { return m_events.Size(); }

protected:
    bool event(QEvent* event) override;
    void timerEvent(QTimerEvent* event) override;

    /// Hands what waits to customEvent().
    void Deliver();

private:
    friend void PostZqEvent(ScanDialog* dialog, std::unique_ptr<ZqEvent> event);

    void Tell(const ScanStep& step) override;
    void Ask(const ScanStep& question) override;

    EventQueue m_events;
    // The event loop's lock orders a wake-up event too, but where the thread sanitizer cannot see
    // it.
    std::atomic<std::uint32_t> m_wakeUps{0};
    std::deque<std::unique_ptr<ZqEvent>> m_helping;  // taken and not delivered yet
    QBasicTimer m_nextHelping;
    DialogEngine m_engine{this};
    ScanRun m_run{*this, m_engine};
    LiveRun m_live{static_cast<QDialog*>(this), m_run};

public:
    /// The scan's, set for as long as somebody wants it to end, and after it. Any thread.
    StopFlag& m_stop = m_run.Stop();
};
