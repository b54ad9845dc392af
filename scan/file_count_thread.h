#pragma once

#include <atomic>
#include <cstdint>

#include <QThread>

#include "scan/run/scan_run.h"

/// Adds the regular files under `directory` to g_totalfilestoscan. 1 done, 0 unreadable,
/// 0xFFFFFFFF when StopCount ended it. Any thread.
std::uint32_t GetFileCount(const char* directory);

/// Counts the files of a scan beside it, for the progress bar.
class FileCountThrd : public QThread, public scan::CountingThread {
public:
    /// The run outlives the thread.
    explicit FileCountThrd(scan::ScanRun& run) : m_run(run) {}

    void Start() override { start(); }
    void Join() override;

protected:
    void run() override;

private:
    scan::ScanRun& m_run;
    // QThread::wait() orders memory too, but where the thread sanitizer cannot see it.
    std::atomic<bool> m_ended{false};
};
