#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "product/scanapi/database_loader.h"
#include "product/scanapi/target_file.h"
#include "product/scanning/library_scan.h"

namespace scanapi {

/// A file's bytes, read whole, in a buffer that is used again for the next file.
struct FileBytes {
    std::unique_ptr<std::byte[]> buffer;
    std::size_t size = 0;
};

/// The file as a scan needs it; `file` must outlive that.
scanning::ScanInput InputOf(const TargetFile& file);

/// The scan of one file on a worker thread. Worker and program's thread each hold a share of it, so
/// that a worker that cannot be stopped at once may be left behind.
class ScanJob {
public:
    ScanJob(LibraryEngine engine, const scanning::ScanProfile& profile,
            std::shared_ptr<TargetFile> file, FileBytes bytes);

    /// Carries the scan out. On the worker thread.
    void Run() noexcept;

    /// Ends the scan at the next chance. Any thread.
    void Stop();

    struct News {
        std::vector<std::string> members;  ///< scanning of these has begun
        bool finished = false;
    };
    /// What has happened since the last call; waits for something at most `limit`.
    News WaitForNews(std::chrono::milliseconds limit);

    [[nodiscard]] bool IsFinished();

    /// The result and the buffer, once finished.
    scanning::ScanOutcome TakeOutcome();
    FileBytes TakeBytes();

private:
    void Announce(std::string member);

    LibraryEngine m_engine;
    scanning::ScanProfile m_profile;
    std::shared_ptr<TargetFile> m_file;
    FileBytes m_bytes;
    std::atomic<bool> m_stop = false;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::string> m_members;
    bool m_finished = false;
    scanning::ScanOutcome m_outcome;
};

}  // namespace scanapi
