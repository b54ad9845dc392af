#pragma once

#include "scan/dialog_engine.h"
#include "scan/run/live_runs.h"
#include "scan/run/scan_run.h"
#include "widgets/event_dialog.h"

/// One scan and its way into a window: what the scan tells on its threads becomes events on the GUI
/// thread. It travels through the engine as the `void*` of its `QDialog*`.
class ScanDialog : public EventDialog, private scan::ScanListener {
public:
    using EventDialog::EventDialog;
    ~ScanDialog() override;

    /// The scan that is shown here.
    [[nodiscard]] scan::ScanRun& Run() { return m_run; }

private:
    void Tell(const scan::ScanStep& step) override;
    void Ask(const scan::ScanStep& question) override;

    DialogEngine m_engine{this};
    scan::ScanRun m_run{*this, m_engine};
    scan::LiveRun m_live{static_cast<QDialog*>(this), m_run};

public:
    /// The scan's, set for as long as somebody wants it to end, and after it. Any thread.
    scan::StopFlag& m_stop = m_run.Stop();
};
