#pragma once

#include <memory>
#include <string>

#include <QEvent>

#include "abi/scanapi.h"
#include "scan/run/scan_listener.h"

class ScanDialog;

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
    /// The step it tells of, valid as long as the event.
    [[nodiscard]] ScanStep Step() const;

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

/// What customEvent() was given as the ZqEvent it is, null for any other event and for a type that
/// is no step of a scan.
const ZqEvent* AsZqEvent(const QEvent* event);
