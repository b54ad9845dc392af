#pragma once

#include <atomic>
#include <cstdint>

#include <QThread>

class QDialog;
namespace scan {
class ScanRun;
}  // namespace scan

/// Hands one file, named by bytes, to the engine and tells the scan of `dialog`, which is a
/// ScanDialog. A null path does nothing. Scan thread.
void ScanFile(const char* path, QDialog* dialog);

/// Scans every regular file under `directory`. When the dialog's stop flag is set it asks there for
/// confirmation and waits for the answer. 1 done, 0 unreadable, 0xFFFFFFFF when a stop was
/// confirmed; StopCount is set then. Scan thread.
std::uint32_t ScanDirectory(char* directory, QDialog* dialog);

/// Carries out one scan, with a FileCountThrd beside it.
class ScanThrd : public QThread {
public:
    /// The run outlives the thread.
    explicit ScanThrd(scan::ScanRun& run) : m_run(run) {}

    /// Waits until the thread has ended.
    void Join();

protected:
    void run() override;

private:
    scan::ScanRun& m_run;
    // QThread::wait() orders memory too, but where the thread sanitizer cannot see it.
    std::atomic<bool> m_ended{false};
};
