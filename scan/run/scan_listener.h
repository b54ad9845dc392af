#pragma once

#include "abi/scanapi.h"
#include "scan/run/scan_events.h"

namespace scan {

/// One step of a scan. Text and record are bytes, at most one of them is there, and both are valid
/// only during the call that hands them over.
struct ScanStep {
    ZQEvent type;
    const char* text = nullptr;
    const tagZQFILEINFO* info = nullptr;
};

/// Who a scan is told to: the window, or a program for the shell. It hands every step to
/// ScanRun::Apply, in order, on whichever one thread it likes.
class ScanListener {
public:
    ScanListener() = default;
    virtual ~ScanListener() = default;
    ScanListener(const ScanListener&) = delete;
    ScanListener& operator=(const ScanListener&) = delete;

    /// Something happened. Called on the scanning and the counting thread; a listener that is far
    /// behind lets them wait here.
    virtual void Tell(const ScanStep& step) = 0;

    /// What the walk came to and could not read, a directory or a path too long, is passed over;
    /// `error` is as in errno. No step, and nothing in the report. Called on the scanning thread.
    virtual void PassedOver(const char* /*path*/, int /*error*/) {}

    /// A question: kEvtPrompt (its answer goes into ScanState::answer, or the stop flag is set) or
    /// kEvtConfirmStop (the stop flag is left, or cleared for no). The scan goes on with
    /// ScanRun::Answer(), which may be called from here or by another thread later.
    virtual void Ask(const ScanStep& question) = 0;
};

}  // namespace scan
