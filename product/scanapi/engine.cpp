#include "product/scanapi/engine.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <new>
#include <span>
#include <string_view>
#include <thread>
#include <utility>

#include "common/log.h"
#include "product/scanapi/engine_log.h"
#include "common/text_field.h"
#include "product/scanapi/version_record.h"

namespace scanapi {

namespace {

using std::chrono::milliseconds;

constexpr int kOpened = 1;

// Files up to this size are read into one buffer that is used again and again; mapping them costs
// more than scanning them.
constexpr std::size_t kBufferSize = 1U << 20U;

// How often the program is asked whether to stop while a long scan says nothing.
constexpr milliseconds kPollInterval(100);
// How long opening the first file waits for the databases.
constexpr milliseconds kOpenPatience(500);
// How long a scan that is to stop may take to notice before it is left behind.
constexpr milliseconds kStopPatience(500);
constexpr std::size_t kMaxWorkers = 3;

}  // namespace

std::shared_ptr<Engine> Engine::Start(const tagSCANAPI_OPTIONS& options) {
    scanning::SilenceLibrary();
    if (cl_init(CL_INIT_DEFAULT) != CL_SUCCESS) {
        return nullptr;
    }
    const std::string directory(common::FieldText(options.engineDirectory));
    std::string set = definitions::CurrentSet(directory);
    definitions::DatabaseList list = definitions::FindDatabases(directory, set);
    for (const std::string& path : list.damaged) {
        LogLeftOut(path, "it is not a database");
    }
    if (!list.HasSignatures()) {
        WriteToLog(common::kCommonLog, "scanapi: no usable database found");
        return nullptr;
    }
    auto scratch =
        ScratchDirectory::Make(std::string(common::FieldText(options.temporaryDirectory)));
    if (scratch == nullptr) {
        WriteToLog(common::kCommonLog, "scanapi: no place to unpack files in");
        return nullptr;
    }
    return std::shared_ptr<Engine>(
        new Engine(options, std::move(list.usable), std::move(set), std::move(scratch)));
}

Engine::Engine(const tagSCANAPI_OPTIONS& options, std::vector<Database> databases, std::string set,
               std::unique_ptr<ScratchDirectory> scratch)
    : m_engineDirectory(common::FieldText(options.engineDirectory)),
      m_scratch(std::move(scratch)),
      m_databases(std::make_unique<DatabasesInUse>(m_engineDirectory, std::move(databases),
                                                   std::move(set), m_scratch->Path())),
      m_profile(scanning::ProfileFromOptions(options)),
      m_settings(ReadEngineSettings(m_engineDirectory)) {}

void Engine::Close() {
    m_closing = true;
    m_databases->Cancel();
    const std::lock_guard scanning(m_scanMutex);
    for (const auto& worker : m_workers) {
        worker->End();
    }
    m_workers.clear();
    m_databases->Stop();
    m_scratch.reset();
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
    Conversation conversation(callback, context, *file, [this](const std::string& virusName) {
        return DisposalOf(virusName);
    });
    scanning::ScanOutcome outcome;
    try {
        outcome = Scan(file, profile, conversation);
    } catch (const std::bad_alloc&) {
        outcome = {};
    }
    return conversation.Conclude(outcome);
}

scanning::ScanOutcome Engine::Scan(const std::shared_ptr<TargetFile>& file,
                                   const scanning::ScanProfile& profile,
                                   Conversation& conversation) {
    const auto loader = m_databases->ForScan();
    while (!loader->WaitFor(kPollInterval)) {
        if (conversation.StopWanted()) {
            return {scanning::Verdict::Stopped, {}, {}};
        }
    }
    const LibraryEngine engine = loader->Loaded();
    if (engine == nullptr) {
        if (!m_closing && !m_failureLogged.exchange(true)) {
            WriteToLog(common::kCommonLog,
                       "scanapi: no database was loaded, files are not scanned");
        }
        return {};
    }
    if (!file->IsReadable() || file->Size() > static_cast<std::size_t>(scanning::kMaxFileSize)) {
        return {};
    }
    FileBytes bytes;
    if (file->Size() <= kBufferSize) {
        if (m_buffer.buffer == nullptr) {
            m_buffer.buffer = std::make_unique_for_overwrite<std::byte[]>(kBufferSize);
        }
        const auto got = file->ReadStart(std::span(m_buffer.buffer.get(), file->Size()));
        if (got != static_cast<std::ptrdiff_t>(file->Size())) {
            return {};
        }
        m_buffer.size = file->Size();
        scanning::ScanOutcome outcome =
            scanning::ScanBytes(engine.get(), profile, InputOf(*file),
                                std::span(m_buffer.buffer.get(), m_buffer.size), {});
        if (outcome.verdict != scanning::Verdict::NeedsThread) {
            return outcome;
        }
        bytes = std::move(m_buffer);
    }
    const auto job = std::make_shared<ScanJob>(engine, profile, file, std::move(bytes));
    return ScanOnWorker(job, conversation);
}

scanning::ScanOutcome Engine::ScanOnWorker(const std::shared_ptr<ScanJob>& job,
                                           Conversation& conversation) {
    // Whatever ends this function, also an exception, the worker must not wait for it.
    struct Stopper {
        ScanJob& job;
        ~Stopper() { job.Stop(); }
    } const stopper{*job};
    if (!Dispatch(job, conversation)) {
        return {scanning::Verdict::Stopped, {}, {}};
    }
    bool stopping = false;
    auto deadline = std::chrono::steady_clock::time_point::max();
    while (std::chrono::steady_clock::now() < deadline) {
        const auto news = job->WaitForNews(kPollInterval);
        for (const std::string& member : news.members) {
            stopping = stopping || !conversation.Member(member);
        }
        if (news.finished) {
            if (FileBytes bytes = job->TakeBytes(); bytes.buffer != nullptr) {
                m_buffer = std::move(bytes);
            }
            return job->TakeOutcome();
        }
        stopping = stopping || m_closing || (news.members.empty() && conversation.StopWanted());
        if (stopping && deadline == std::chrono::steady_clock::time_point::max()) {
            job->Stop();
            deadline = std::chrono::steady_clock::now() + kStopPatience;
        }
    }
    // Deep in one large member nothing asks the scan to end. It goes on alone to the bounds set for
    // it, and its result is thrown away.
    return {scanning::Verdict::Stopped, {}, {}};
}

Disposal Engine::DisposalOf(const std::string& virusName) {
    const tagZQVERINFO version = Version();
    std::array<char, 32> database{};
    std::snprintf(database.data(), database.size(), "%u.%02u", version.major, version.minor);
    const std::lock_guard lock(m_stateMutex);
    return {m_settings.vault, virusName, database.data()};
}

bool Engine::Dispatch(const std::shared_ptr<ScanJob>& job, Conversation& conversation) {
    while (true) {
        for (const auto& worker : m_workers) {
            if (worker->Start(job)) {
                return true;
            }
        }
        if (m_workers.size() < kMaxWorkers) {
            m_workers.push_back(ScanWorker::Make());
            continue;
        }
        // All of them are still at files that were left behind.
        if (m_closing || conversation.StopWanted()) {
            return false;
        }
        std::this_thread::sleep_for(kPollInterval);
    }
}

void Engine::ResetRunFlags() {
    m_failureLogged = false;
    m_databases->BeginScan();
    // Here, so that what an administrator sets holds from the next scan on.
    EngineSettings settings = ReadEngineSettings(m_engineDirectory);
    const std::lock_guard lock(m_stateMutex);
    m_settings = settings;
}

}  // namespace scanapi
