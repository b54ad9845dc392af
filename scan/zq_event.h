#pragma once

#include <memory>
#include <string>

#include <QEvent>

#include "abi/scanapi.h"

class ScanDialog;

/// The events of a scan run, posted by its threads to the progress dialog.
enum ZQEvent : int {
    kEvtScanningFile = 1100,
    kEvtScanFinished = 1101,
    kEvtInfected = 1102,
    kEvtPrompt = 1103,
    kEvtDeleted = 1104,
    kEvtRepaired = 1105,
    kEvtSkipped = 1106,
    kEvtPathStarted = 1108,
    kEvtPathDone = 1109,
    kEvtUnreadable = 1110,
    kEvtNeedsDecision = 1111,
    kEvtConfirmStop = 1112,
    kEvtAdvance = 1113,
    kEvtCountingDone = 1114,
    kEvtFillBar = 1115,
};

/// One step of a scan on its way to the progress dialog. Text and file names are bytes.
class ZqEvent : public QEvent {
public:
    /// With a copy of the engine's record; a null record counts as zero.
    ZqEvent(ZQEvent type, const tagZQFILEINFO* info);
    /// With an owned copy of `text` (may be null), without one when there is no memory for it; the
    /// record is zero.
    ZqEvent(ZQEvent type, const char* text);
    ~ZqEvent() override;

    /// The text, null when the event carries none.
    [[nodiscard]] const char* Text() const;
    /// The record, all zero when the event carries only a text.
    [[nodiscard]] const tagZQFILEINFO& Info() const;

private:
    std::unique_ptr<std::string> m_text;
    std::unique_ptr<tagZQFILEINFO> m_info;  // most events carry none, and it is a kilobyte
};

/// Posts an event to the progress dialog from a worker thread. When about a thousand events wait
/// there this waits too, so that memory stays flat whatever the size of the tree. It never waits on
/// the dialog's own thread, nor for a question (kEvtPrompt, kEvtConfirmStop): its thread waits for
/// the answer anyway.
void PostZqEvent(ScanDialog* dialog, ZQEvent type, const tagZQFILEINFO* info);
void PostZqEvent(ScanDialog* dialog, ZQEvent type, const char* text = nullptr);

/// What customEvent() was given as the ZqEvent it is, null when its type is none of them.
const ZqEvent* AsZqEvent(const QEvent* event);
