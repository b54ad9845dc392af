#include "scan/scan_dialog.h"

#include "scan/scan_event.h"

ScanDialog::~ScanDialog() {
    CloseEvents();
    m_run.Abandon();  // should the engine still be at a file of it
}

void ScanDialog::Tell(const scan::ScanStep& step) {
    if (step.info != nullptr) {
        PostZqEvent(this, step.type, step.info);
    } else {
        PostZqEvent(this, step.type, step.text);
    }
}

void ScanDialog::Ask(const scan::ScanStep& question) {
    Tell(question);
}
