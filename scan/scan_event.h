#pragma once

#include "scan/run/scan_listener.h"
#include "widgets/zq_event.h"

class ScanDialog;

/// Posts an event to the progress dialog from a worker thread, as EventDialog::Post does. It never
/// waits for room with a question (kEvtPrompt, kEvtConfirmStop): its thread waits for the answer
/// anyway.
void PostZqEvent(ScanDialog* dialog, ZQEvent type, const tagZQFILEINFO* info);
void PostZqEvent(ScanDialog* dialog, ZQEvent type, const char* text = nullptr);

/// What customEvent() was given as the step of a scan it is, null for any other event.
const ZqEvent* AsScanEvent(const QEvent* event);

/// The step that such an event tells of, valid as long as the event.
scan::ScanStep StepOf(const ZqEvent& event);
