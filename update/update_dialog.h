#pragma once

#include "update/run/update_callback.h"
#include "update/run/update_run.h"
#include "widgets/event_dialog.h"

/// One update and its way into a window: what the update tells on its threads becomes events on the
/// GUI thread. It travels through the updater as the `void*` of its `QDialog*`.
class UpdateDialog : public EventDialog, private update::UpdateListener {
public:
    using EventDialog::EventDialog;
    ~UpdateDialog() override;

    /// The update that is shown here.
    [[nodiscard]] update::UpdateRun& Run() { return m_run; }

private:
    void Tell(UpdateEvent event) override;

    update::UpdateRun m_run{*this, static_cast<QDialog*>(this)};
    update::LiveUpdate m_live{static_cast<QDialog*>(this), m_run};
};
