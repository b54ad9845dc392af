#include "product/scanapi/scan_queue.h"

#include <algorithm>
#include <utility>

#include "product/scanwire/bounds.h"

namespace scanapi {

namespace {

// In bytes, unless a single file is larger: so that many small files cost one message, and the
// verdict on the first does not wait long for the last.
constexpr std::size_t kMaxBatch = std::size_t{256} * 1024;

static_assert(kMaxHandedOver <= scanwire::kSlotSize);

}  // namespace

void ScanQueue::Add(const std::shared_ptr<PendingScan>& scan) {
    std::optional<scanning::ScanOutcome> closed;
    {
        const std::lock_guard lock(m_mutex);
        closed = m_closed;
        if (!closed) {
            (scan->HowUrgent() == Urgency::kNow ? m_now : m_ahead).push_back(scan);
        }
    }
    if (closed) {
        scan->Finish(*std::move(closed));
    }
}

void ScanQueue::PutBack(Scans scans) {
    std::optional<scanning::ScanOutcome> closed;
    {
        const std::lock_guard lock(m_mutex);
        closed = m_closed;
        for (auto each = scans.rbegin(); each != scans.rend() && !closed; ++each) {
            (*each)->BeginAgain();
            ((*each)->HowUrgent() == Urgency::kNow ? m_now : m_ahead).push_front(std::move(*each));
        }
    }
    for (const auto& scan : scans) {
        if (closed) {
            scan->Finish(*closed);
        }
    }
}

Scans ScanQueue::TakeFrom(Line& line, std::size_t workers) {
    // Its share, rounded up, so that no worker idles while another has all that waits.
    const std::size_t share = (line.size() + workers - 1) / workers;
    const std::size_t most = std::min<std::size_t>(share, scanwire::kMaxItems);
    Scans batch;
    std::size_t bytes = 0;
    while (!line.empty() && batch.size() < most) {
        const auto& next = line.front();
        const std::size_t size = next->File().Size();
        // One that a worker did not come to the end of goes alone: should it end the next one too,
        // nobody else is meant.
        if (next->IsAbandoned()) {
            next->FinishStopped();
        } else if (batch.empty() ||
                   (next->TimesBegunAgain() == 0 && batch.front()->TimesBegunAgain() == 0 &&
                    next->Profile() == batch.front()->Profile() && bytes <= kMaxBatch &&
                    size <= kMaxBatch - bytes)) {
            bytes += size;
            batch.push_back(next);
        } else {
            break;
        }
        line.pop_front();
    }
    return batch;
}

Scans ScanQueue::TakeBatch(std::size_t workers) {
    const std::lock_guard lock(m_mutex);
    Scans batch = TakeFrom(m_now, workers);
    return batch.empty() ? TakeFrom(m_ahead, workers) : batch;
}

bool ScanQueue::HasAny() {
    const std::lock_guard lock(m_mutex);
    return !m_now.empty() || !m_ahead.empty();
}

void ScanQueue::Close(const scanning::ScanOutcome& outcome) {
    Line all;
    {
        const std::lock_guard lock(m_mutex);
        m_closed = outcome;
        all.swap(m_now);
        all.insert(all.end(), m_ahead.begin(), m_ahead.end());
        m_ahead.clear();
    }
    for (const auto& scan : all) {
        scan->Finish(outcome);
    }
}

void ScanQueue::Open() {
    const std::lock_guard lock(m_mutex);
    m_closed.reset();
}

}  // namespace scanapi
