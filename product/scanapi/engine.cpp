#include "product/scanapi/engine.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <new>
#include <string_view>
#include <utility>

#include "common/text_field.h"
#include "product/scanapi/host_process.h"
#include "product/scanapi/verdict_file.h"
#include "product/scanapi/version_record.h"
#include "product/scanning/unread_reasons.h"

namespace scanapi {

namespace {

using std::chrono::milliseconds;

constexpr int kOpened = 1;

// How often the program is asked whether to stop while a scan says nothing.
constexpr milliseconds kPollInterval(25);
// How long opening the first file waits for the databases.
constexpr milliseconds kOpenPatience(500);

scanning::ScanOutcome StoppedOutcome() {
    scanning::ScanOutcome outcome;
    outcome.verdict = scanning::Verdict::Stopped;
    return outcome;
}

}  // namespace

std::shared_ptr<Engine> Engine::Start(const tagSCANAPI_OPTIONS& options) {
    // The heads of databases are read here, and nothing is printed of what is wrong with them.
    scanning::SilenceLibrary();
    const std::string directory(common::FieldText(options.engineDirectory));
    const std::string set = definitions::CurrentSet(directory);
    definitions::DatabaseList list = definitions::FindDatabases(directory, set);
    for (const std::string& path : list.damaged) {
        LogLeftOut(path, "it is not a database");
    }
    if (!list.HasSignatures()) {
        LogLine("no usable database found");
        return nullptr;
    }
    return std::shared_ptr<Engine>(new Engine(options, std::move(list.usable), set));
}

Engine::Engine(const tagSCANAPI_OPTIONS& options, std::vector<Database> databases,
               const std::string& set)
    : m_engineDirectory(common::FieldText(options.engineDirectory)),
      m_temporaryDirectory(common::FieldText(options.temporaryDirectory)),
      m_host(PathOfScanHost()),
      m_cacheFolder(PathOfVerdicts()),
      m_settings(ReadEngineSettings(m_engineDirectory)),
      m_databases(std::make_unique<DatabasesInUse>(m_engineDirectory, std::move(databases), set,
                                                   SettingsOfPools(m_settings))),
      m_profile(scanning::ProfileFromOptions(options)) {}

PoolSettings Engine::SettingsOfPools(const EngineSettings& settings) const {
    PoolSettings pool;
    pool.host = m_host;
    pool.scratchBase = m_temporaryDirectory;
    pool.workers = settings.scanning.workers;
    pool.memoryMiB = settings.scanning.memoryMiB;
    pool.cache = settings.cache;
    pool.cacheFolder = m_cacheFolder;
    pool.clamd = settings.clamd;
    return pool;
}

void Engine::Close() {
    m_closing = true;
    m_databases->Cancel();
    m_ahead.Stop();
    const std::lock_guard scanning(m_scanMutex);
    m_databases->Stop();
    m_brokenOff.reset();
    const std::lock_guard lock(m_stateMutex);
    m_files.clear();
}

tagZQVERINFO Engine::Version() const {
    return ReadVersion(m_engineDirectory, m_databases->Newest());
}

void Engine::SetCallback(PFNZQCALLBACK callback) {
    const std::lock_guard lock(m_stateMutex);
    m_callback = callback;
}

void Engine::SetOptions(const tagSCANAPI_OPTIONS& options) {
    const std::lock_guard lock(m_stateMutex);
    m_profile = scanning::ProfileFromOptions(options);
}

int Engine::OpenFile(const char* name, std::uint64_t& handle) {
    // Most of the wait for the databases; the rest is waited for in the scan of the file, where the
    // program can be asked whether to stop.
    m_databases->ForScan()->WaitFor(kOpenPatience);
    EngineOpenStatus status = kOpenFailed;
    if (m_closing) {
        return status;
    }
    auto file = TargetFile::Open(name, status);
    if (file == nullptr) {
        return status;
    }
    const std::lock_guard lock(m_stateMutex);
    handle = ++m_lastHandle;
    m_files.emplace(handle, std::move(file));
    return kOpened;
}

bool Engine::CloseFile(std::uint64_t handle) {
    const std::lock_guard lock(m_stateMutex);
    return m_files.erase(handle) != 0;
}

bool Engine::ScanFile(std::uint64_t handle, void* context) {
    const std::lock_guard scanning(m_scanMutex);
    std::shared_ptr<TargetFile> file;
    PFNZQCALLBACK callback = nullptr;
    scanning::ScanProfile profile;
    {
        const std::lock_guard lock(m_stateMutex);
        const auto found = m_files.find(handle);
        if (found == m_files.end() || m_callback == nullptr || m_closing) {
            return false;
        }
        file = found->second;
        callback = m_callback;
        profile = m_profile;
    }
    m_brokenOff.reset();
    Conversation conversation(callback, context, *file, [this](const std::string& virusName) {
        return DisposalOf(virusName);
    });
    try {
        const scanning::ScanOutcome outcome = Scan(file, profile, conversation);
        if (outcome.verdict == scanning::Verdict::Stopped && !file->IsLocal()) {
            m_brokenOff = file;
        }
        return conversation.Conclude(outcome);
    } catch (const std::bad_alloc&) {
        m_unread.Add(file->Path(), scanning::kNoMemory);
        conversation.SayUnread(scanning::kNoMemory);
        return false;
    }
}

// Null when none are loaded, or the program wants to stop before they are.
std::shared_ptr<ScanPool> Engine::WaitForDatabases(Conversation& conversation, bool& isStopped) {
    while (!isStopped) {
        auto pool = m_databases->ForScan();
        if (!pool->WaitFor(kPollInterval)) {
            isStopped = conversation.StopWanted();
        } else if (pool->IsLoaded()) {
            return pool;
        } else if (pool == m_databases->ForScan()) {
            return nullptr;
        }
    }
    return nullptr;
}

scanning::ScanOutcome Engine::Scan(const std::shared_ptr<TargetFile>& file,
                                   const scanning::ScanProfile& profile,
                                   Conversation& conversation) {
    bool isStopped = false;
    const auto pool = WaitForDatabases(conversation, isStopped);
    if (isStopped) {
        return StoppedOutcome();
    }
    if (pool == nullptr) {
        if (!m_closing && !m_failureLogged.exchange(true)) {
            LogLine("no database was loaded, files are not scanned");
        }
        scanning::ScanOutcome outcome;
        outcome.reason = kReasonNoDefinitions;
        return outcome;
    }
    m_ahead.Use(pool, profile);
    auto scan = m_ahead.Take(file);
    if (scan == nullptr) {
        scan = pool->Submit(file, profile, Urgency::kNow);
    }
    scanning::ScanOutcome outcome = Await(*scan, conversation);
    if (outcome.verdict == scanning::Verdict::Unreadable ||
        outcome.verdict == scanning::Verdict::Stopped) {
        m_unread.Add(file->Path(), WhyUnread(outcome));
    }
    return outcome;
}

scanning::ScanOutcome Engine::Await(PendingScan& scan, Conversation& conversation) {
    // Whatever ends this function, also an exception, no worker goes on for nobody.
    struct Abandoner {
        PendingScan& scan;
        ~Abandoner() { scan.Abandon(true); }
    } const abandoner{scan};
    while (true) {
        const auto news = scan.WaitForNews(kPollInterval);
        bool isStopped = m_closing;
        for (const std::string& member : news.members) {
            isStopped = isStopped || !conversation.Member(member);
        }
        if (news.finished) {
            return scan.TakeOutcome();
        }
        if (isStopped || (news.members.empty() && conversation.StopWanted())) {
            return StoppedOutcome();
        }
    }
}

void Engine::TellAhead(int folder, const char* path, std::span<const char* const> names) {
    if (names.empty()) {
        m_ahead.Forget();
        return;
    }
    m_ahead.Tell(folder, path, names);
}

Disposal Engine::DisposalOf(const std::string& virusName) {
    const tagZQVERINFO version = Version();
    std::array<char, 32> database{};
    std::snprintf(database.data(), database.size(), "%u.%02u", version.major, version.minor);
    const std::lock_guard lock(m_stateMutex);
    return {m_settings.vault, virusName, database.data()};
}

void Engine::ResetRunFlags() {
    m_failureLogged = false;
    m_unread.BeginRun();
    m_ahead.Forget();
    // Here, so that what an administrator sets holds from the next scan on.
    const EngineSettings settings = ReadEngineSettings(m_engineDirectory);
    m_databases->BeginRun(SettingsOfPools(settings));
    const std::lock_guard lock(m_stateMutex);
    m_settings = settings;
}

}  // namespace scanapi
