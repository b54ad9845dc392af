#include "product/scanapi/databases_in_use.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <exception>
#include <poll.h>
#include <string_view>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>
#include <utility>

#include "common/io.h"
#include "common/log.h"
#include "product/scanapi/engine_log.h"
#include "product/definitions/definition_folder.h"

namespace scanapi {

namespace {

// Where the system has no watch left to give.
constexpr int kLookInterval = 5000;  // milliseconds

std::string_view StemOf(std::string_view path) {
    const std::string_view name = path.substr(path.rfind('/') + 1);
    return name.substr(0, name.find('.'));
}

// The database that `active` has and `next` could not load, for want of memory perhaps; empty
// without.
std::string LostBy(DatabaseLoader& next, DatabaseLoader& active) {
    const std::vector<Database> had = active.Databases();
    for (const Database& lost : next.LeftOut()) {
        if (std::any_of(had.begin(), had.end(), [&](const Database& each) {
                return StemOf(each.path) == StemOf(lost.path);
            })) {
            return lost.path;
        }
    }
    return {};
}

}  // namespace

DatabasesInUse::DatabasesInUse(std::string engineDirectory, std::vector<Database> first,
                               std::string set, std::string scratch,
                               std::chrono::milliseconds retryInterval)
    : m_engineDirectory(std::move(engineDirectory)),
      m_scratch(std::move(scratch)),
      m_retryInterval(retryInterval),
      m_seen(std::move(set)),
      m_active(std::make_shared<DatabaseLoader>(std::move(first), m_scratch)),
      m_wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    OpenWatch();
    m_active->Start();
    m_watcher = std::thread([this] { Watch(); });
}

DatabasesInUse::~DatabasesInUse() {
    Stop();
}

void DatabasesInUse::OpenWatch() {
    m_changes.Reset(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    const std::string folder = m_engineDirectory + definitions::kFolderName;
    if (m_changes && ::inotify_add_watch(m_changes.Get(), folder.c_str(),
                                         IN_MOVED_TO | IN_CREATE | IN_ONLYDIR) < 0) {
        m_changes.Reset();
    }
}

void DatabasesInUse::Wake() const {
    constexpr std::uint64_t kOnce = 1;
    (void)!::write(m_wake.Get(), &kOnce, sizeof kOnce);
}

void DatabasesInUse::Watch() noexcept {
    while (!m_stopping) {
        std::array<pollfd, 2> events{{{m_wake.Get(), POLLIN, 0}, {m_changes.Get(), POLLIN, 0}}};
        const int wait = !m_changes    ? kLookInterval
                         : m_isToRetry ? static_cast<int>(m_retryInterval.count())
                                       : -1;
        if (::poll(events.data(), events.size(), wait) == 0 && m_isToRetry.exchange(false)) {
            const std::lock_guard looking(m_lookMutex);
            m_seen.clear();
        }
        // What it was is not looked at: where the link leads tells all.
        alignas(inotify_event) std::array<char, 4096> passed;
        while (::read(m_changes.Get(), passed.data(), passed.size()) > 0) {
        }
        (void)!::read(m_wake.Get(), passed.data(), sizeof(std::uint64_t));
        try {
            if (!m_stopping) {
                LookForChanges();
            }
            StopRetired();
        } catch (const std::exception& error) {
            WriteToLog(common::kCommonLog, error.what());
        }
    }
}

void DatabasesInUse::LookForChanges() {
    const std::lock_guard looking(m_lookMutex);
    std::string seen = definitions::CurrentSet(m_engineDirectory);
    if (seen == m_seen || m_stopping) {
        return;
    }
    m_seen = std::move(seen);
    // By the name of the set: through the link one listing could be of two sets.
    definitions::DatabaseList list = definitions::FindDatabases(m_engineDirectory, m_seen);
    for (const std::string& path : list.damaged) {
        LogLeftOut(path, "it is not a database");
    }
    if (!list.HasSignatures()) {
        WriteToLog(common::kCommonLog, "scanapi: no usable database in the new definitions");
        return;
    }
    auto loader = std::make_shared<DatabaseLoader>(std::move(list.usable), m_scratch);
    loader->Start();
    const std::lock_guard lock(m_mutex);
    Retire(std::exchange(m_next, std::move(loader)));
}

// Of the watching thread, so that letting go of a large set keeps no scan waiting.
void DatabasesInUse::Retire(std::shared_ptr<DatabaseLoader> loader) {
    if (loader != nullptr) {
        loader->Cancel();
        m_retired.push_back(std::move(loader));
        Wake();
    }
}

void DatabasesInUse::StopRetired() {
    std::vector<std::shared_ptr<DatabaseLoader>> retired;
    {
        const std::lock_guard lock(m_mutex);
        retired.swap(m_retired);
    }
    for (const auto& loader : retired) {
        loader->Stop();
    }
}

void DatabasesInUse::TakeLoaded() {
    constexpr std::chrono::milliseconds kNow(0);
    if (m_next == nullptr || !m_next->WaitFor(kNow)) {
        return;
    }
    // One that could not be loaded leaves the old one where it is.
    bool isUsable = m_next->Loaded() != nullptr;
    m_isToRetry = !isUsable;
    const std::string lost =
        isUsable && m_active->Loaded() != nullptr ? LostBy(*m_next, *m_active) : std::string();
    if (!lost.empty()) {
        const std::string line = "scanapi: the new definitions wait, for (" + lost +
                                 ") could not be loaded, and is in use as it was";
        WriteToLog(common::kCommonLog, line.c_str());
        isUsable = false;
        m_isToRetry = true;
    }
    Retire(std::exchange(isUsable ? m_active : m_next, isUsable ? m_next : nullptr));
    m_next = nullptr;
}

void DatabasesInUse::BeginScan() {
    const std::lock_guard lock(m_mutex);
    m_scanBegins = true;
}

std::shared_ptr<DatabaseLoader> DatabasesInUse::ForScan() {
    constexpr std::chrono::milliseconds kNow(0);
    const std::lock_guard lock(m_mutex);
    // A scan that has no databases at all has none to keep.
    const bool hasNone = m_active->WaitFor(kNow) && m_active->Loaded() == nullptr;
    if (m_scanBegins || hasNone) {
        TakeLoaded();
    }
    m_scanBegins = false;
    return m_active;
}

std::vector<Database> DatabasesInUse::Newest() {
    LookForChanges();
    const std::lock_guard lock(m_mutex);
    std::vector<Database> newest;
    if (m_next != nullptr) {
        newest = m_next->Databases();
    }
    return newest.empty() ? m_active->Databases() : newest;
}

void DatabasesInUse::Cancel() {
    m_stopping = true;
    Wake();
    const std::lock_guard lock(m_mutex);
    m_active->Cancel();
    if (m_next != nullptr) {
        m_next->Cancel();
    }
}

void DatabasesInUse::Stop() {
    Cancel();
    if (m_watcher.joinable()) {
        m_watcher.join();
    }
    {
        const std::lock_guard lock(m_mutex);
        Retire(std::exchange(m_next, nullptr));
    }
    StopRetired();
    m_active->Stop();
}

}  // namespace scanapi
