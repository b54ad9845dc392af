#include "update/update_dialog.h"

#include <memory>

#include "update/upd_thrd.h"

UpdateDialog::~UpdateDialog() {
    CloseEvents();
    m_run.Stop();  // should the updater still call back
}

void UpdateDialog::Tell(UpdateEvent event) {
    if (UpdateDialog* receiver = g_receiver; receiver != nullptr) {
        receiver->Post(std::make_unique<ZqEvent>(event));
    }
}
