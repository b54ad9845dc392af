#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "product/scanapi/pending_scan.h"

namespace scanapi {

using Scans = std::vector<std::shared_ptr<PendingScan>>;

/// The bytes of files up to this size are handed to a worker; it reads larger ones itself.
inline constexpr std::size_t kMaxHandedOver = std::size_t{1} << 20U;

/// Files that wait for a worker: those that somebody waits for first. Any thread.
class ScanQueue {
public:
    /// Adds a scan. When the queue is closed it is finished at once instead.
    void Add(const std::shared_ptr<PendingScan>& scan);

    /// Puts scans back that were taken and not carried out, at the front and in their order.
    void PutBack(Scans scans);

    /// The scans that are to go to one of `workers` workers together: some small files, no more
    /// than its share of those that wait, or one larger one. Empty without any.
    Scans TakeBatch(std::size_t workers);

    /// Whether any wait.
    [[nodiscard]] bool HasAny();

    /// Finishes all that wait, and all that come, with this outcome; until Open().
    void Close(const scanning::ScanOutcome& outcome);
    void Open();

private:
    using Line = std::deque<std::shared_ptr<PendingScan>>;
    static Scans TakeFrom(Line& line, std::size_t workers);

    std::mutex m_mutex;  ///< guards what follows
    Line m_now;
    Line m_ahead;
    std::optional<scanning::ScanOutcome> m_closed;
};

}  // namespace scanapi
