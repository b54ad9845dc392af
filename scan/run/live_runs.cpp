#include "scan/run/live_runs.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <vector>

namespace {

struct Entry {
    const void* context;
    ScanRun* run;
    int users;
};

struct Registry {
    std::mutex mutex;
    std::condition_variable released;
    std::vector<Entry> entries;
};

Registry registry;

/// The entry of a context, with the registry locked; null when there is none.
Entry* Find(const void* context) {
    const auto entry = std::ranges::find(registry.entries, context, &Entry::context);
    return entry != registry.entries.end() ? &*entry : nullptr;
}

}  // namespace

LiveRun::LiveRun(const void* context, ScanRun& run) : m_context(context) {
    const std::scoped_lock lock(registry.mutex);
    registry.entries.push_back({context, &run, 0});
}

LiveRun::~LiveRun() {
    std::unique_lock lock(registry.mutex);
    Find(m_context)->run = nullptr;  // nobody new
    registry.released.wait(lock, [this] { return Find(m_context)->users == 0; });
    std::erase_if(registry.entries,
                  [this](const Entry& entry) { return entry.context == m_context; });
}

RunInUse::RunInUse(const void* context) : m_context(context) {
    const std::scoped_lock lock(registry.mutex);
    Entry* entry = Find(context);
    if (entry != nullptr && entry->run != nullptr) {
        m_run = entry->run;
        ++entry->users;
    }
}

RunInUse::~RunInUse() {
    if (m_run == nullptr) {
        return;
    }
    const std::scoped_lock lock(registry.mutex);
    if (--Find(m_context)->users == 0) {
        registry.released.notify_all();
    }
}
