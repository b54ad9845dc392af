#include "scan/scan_event.h"

#include "scan/scan_dialog.h"

namespace {

/// The handler of a question runs an event loop of its own, and its thread waits for the answer.
bool IsQuestion(ZQEvent type) {
    return type == kEvtPrompt || type == kEvtConfirmStop;
}

EventDialog::Room RoomFor(ZQEvent type) {
    return IsQuestion(type) ? EventDialog::Room::kNotNeeded : EventDialog::Room::kWaitForIt;
}

}  // namespace

void PostZqEvent(ScanDialog* dialog, ZQEvent type, const tagZQFILEINFO* info) {
    dialog->Post(std::make_unique<ZqEvent>(type, info), RoomFor(type));
}

void PostZqEvent(ScanDialog* dialog, ZQEvent type, const char* text) {
    dialog->Post(std::make_unique<ZqEvent>(type, text), RoomFor(type));
}

const ZqEvent* AsScanEvent(const QEvent* event) {
    return AsZqEvent(event, kEvtScanningFile, kEvtFillBar);
}

scan::ScanStep StepOf(const ZqEvent& event) {
    return {static_cast<ZQEvent>(event.type()), event.Text(), event.Record()};
}
