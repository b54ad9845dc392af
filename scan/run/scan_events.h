#pragma once

/// The steps of a scan, numbered as the window's events are.
enum ZQEvent : int {
    kEvtScanningFile = 1100,  ///< with the file, or the member of an archive
    kEvtScanFinished = 1101,
    kEvtInfected = 1102,
    kEvtPrompt = 1103,  ///< a question: what to do with this detection
    kEvtDeleted = 1104,
    kEvtRepaired = 1105,
    kEvtSkipped = 1106,
    kEvtPathStarted = 1108,  ///< with the top path
    kEvtPathDone = 1109,     ///< with the top path, without it for a single file
    kEvtUnreadable = 1110,
    kEvtNeedsDecision = 1111,
    kEvtConfirmStop = 1112,  ///< a question, with the directory: shall the scan stop
    kEvtAdvance = 1113,      ///< one more file for the progress bar
    kEvtCountingDone = 1114,
    kEvtFillBar = 1115,
};
