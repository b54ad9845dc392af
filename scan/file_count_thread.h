#pragma once

#include <atomic>
#include <cstdint>

#include <QThread>

#include "common/path_list.h"

class ScanDialog;

/// The progress bar's total while it is not known, and for a tree without files.
inline constexpr std::uint64_t kUnknownTotal = 200000;

/// Adds the regular files under `directory` to g_totalfilestoscan. 1 done, 0 unreadable,
/// 0xFFFFFFFF when StopCount ended it. Any thread.
std::uint32_t GetFileCount(const char* directory);

/// Counts the files of a scan beside it, for the progress bar, and posts kEvtCountingDone.
class FileCountThrd : public QThread {
public:
    /// Neither the list nor the dialog is owned; both outlive the thread.
    FileCountThrd(const tagPathList* paths, ScanDialog* dialog);

    /// Waits until the thread has ended, at once when it was never started.
    void Join();

protected:
    void run() override;

private:
    const tagPathList* m_paths;
    ScanDialog* m_dialog;
    // QThread::wait() orders memory too, but where the thread sanitizer cannot see it.
    std::atomic<bool> m_ended{false};
};
