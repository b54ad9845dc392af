#pragma once

#include <atomic>
#include <cstdint>

#include <QThread>

#include "common/path_list.h"

class QDialog;
class dlgScnPrgrs;

/// Hands one file, named by bytes, to the engine and posts its steps to `dialog`, which is the
/// ScanDialog of the scan. A null path does nothing. Scan thread.
void ScanFile(const char* path, QDialog* dialog);

/// Scans every regular file under `directory`. When the dialog's stop flag is set it asks there for
/// confirmation and waits for the answer. 1 done, 0 unreadable, 0xFFFFFFFF when a stop was
/// confirmed; StopCount is set then. Scan thread.
std::uint32_t ScanDirectory(char* directory, QDialog* dialog);

/// One on-demand scan: walks the dialog's paths and hands each file to the engine, with a
/// FileCountThrd beside it. Owned by the dialog.
class ScanThrd : public QThread {
public:
    explicit ScanThrd(dlgScnPrgrs* dialog);

    /// Waits until the thread has ended.
    void Join();

protected:
    void run() override;

private:
    void ScanPaths();

    dlgScnPrgrs* m_dialog;
    tagPathList* m_paths = nullptr;    // the main window's, which frees it after the scan
    tagPathList* m_current = nullptr;  // the node being scanned
    // QThread::wait() orders memory too, but where the thread sanitizer cannot see it.
    std::atomic<bool> m_ended{false};
};
