#include "product/scanapi/database_loader.h"

#include <array>
#include <exception>
#include <utility>

#include "common/log.h"
#include "product/scanapi/engine_log.h"
#include "product/scanapi/left_behind.h"
#include "product/scanning/library_scan.h"
#include "product/scanning/scan_profile.h"

namespace scanapi {

namespace {

struct Setting {
    cl_engine_field field;
    long long value;
};

constexpr std::array<Setting, 7> kSettings{{
    {CL_ENGINE_MAX_FILESIZE, scanning::kMaxFileSize},
    {CL_ENGINE_MAX_SCANSIZE, scanning::kMaxScanSize},
    {CL_ENGINE_MAX_RECURSION, scanning::kMaxNesting},
    {CL_ENGINE_MAX_FILES, scanning::kMaxMembers},
    {CL_ENGINE_MAX_SCANTIME, scanning::kMaxScanMilliseconds},
    {CL_ENGINE_AC_ONLY, definitions::kEngineHasOneMatcher},
    // The library remembers clean contents without the options they were scanned with: what was
    // clean with archives unread would stay clean once they are read.
    {CL_ENGINE_DISABLE_CACHE, 1},
}};

}  // namespace

DatabaseLoader::DatabaseLoader(std::vector<Database> databases, std::string scratch)
    : m_databases(std::move(databases)), m_scratch(std::move(scratch)) {}

void DatabaseLoader::Start() {
    m_thread = std::thread([self = shared_from_this()] { self->Run(); });
}

void DatabaseLoader::Stop() {
    Cancel();
    if (!m_thread.joinable()) {
        return;
    }
    std::unique_lock lock(m_mutex);
    m_engine.reset();
    const bool ended = m_changed.wait_for(lock, kEndPatience, [this] { return m_finished; });
    lock.unlock();
    if (ended) {
        m_thread.join();
    } else {
        KeepLibraryLoaded();
        m_thread.detach();
    }
}

bool DatabaseLoader::WaitFor(std::chrono::milliseconds limit) {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, limit, [this] { return m_finished || m_cancelled; });
}

LibraryEngine DatabaseLoader::Loaded() {
    const std::lock_guard lock(m_mutex);
    return m_engine;
}

std::vector<Database> DatabaseLoader::Databases() {
    const std::lock_guard lock(m_mutex);
    return m_databases;
}

std::vector<Database> DatabaseLoader::LeftOut() {
    const std::lock_guard lock(m_mutex);
    return m_leftOut;
}

void DatabaseLoader::Cancel() {
    const std::lock_guard lock(m_mutex);
    m_cancelled = true;
    m_changed.notify_all();
}

void DatabaseLoader::Run() noexcept {
    LibraryEngine engine;
    try {
        engine = LoadAll();
    } catch (const std::exception& error) {
        WriteToLog(common::kCommonLog, error.what());
    } catch (...) {
        // What follows says that nothing was loaded.
        engine = nullptr;
    }
    if (engine == nullptr && !m_cancelled) {
        WriteToLog(common::kCommonLog,
                   "scanapi: no database could be loaded, files cannot be scanned");
    }
    const std::lock_guard lock(m_mutex);
    if (!m_cancelled) {
        m_engine = std::move(engine);
    }
    m_finished = true;
    m_changed.notify_all();
}

LibraryEngine DatabaseLoader::NewEngine() {
    LibraryEngine engine(cl_engine_new(), [](cl_engine* held) {
        if (held != nullptr) {
            cl_engine_free(held);
        }
    });
    if (engine == nullptr) {
        return nullptr;
    }
    for (const auto& [field, value] : kSettings) {
        if (cl_engine_set_num(engine.get(), field, value) != CL_SUCCESS) {
            return nullptr;
        }
    }
    if (cl_engine_set_str(engine.get(), CL_ENGINE_TMPDIR, m_scratch.c_str()) != CL_SUCCESS) {
        return nullptr;
    }
    // Loading cannot be broken off, but it can be made to skip all that is left.
    cl_engine_set_clcb_sigload(
        engine.get(),
        [](const char*, const char*, unsigned int, void* loader) {
            return static_cast<DatabaseLoader*>(loader)->m_cancelled ? 1 : 0;
        },
        this);
    scanning::InstallScanCallbacks(engine.get());
    return engine;
}

bool DatabaseLoader::LoadInto(cl_engine* engine) {
    for (auto each = m_databases.begin(); each != m_databases.end(); ++each) {
        unsigned int signatures = 0;
        const auto result =
            cl_load(each->path.c_str(), engine, &signatures, definitions::kEngineLoadOptions);
        if (m_cancelled) {
            return false;
        }
        if (result != CL_SUCCESS) {
            LogLeftOut(each->path, cl_strerror(result));
            const std::lock_guard lock(m_mutex);
            m_leftOut.push_back(*each);
            m_databases.erase(each);
            return false;
        }
        m_signatures += signatures;
    }
    return true;
}

LibraryEngine DatabaseLoader::LoadAll() {
    while (!m_cancelled && !m_databases.empty()) {
        LibraryEngine engine = NewEngine();
        if (engine == nullptr) {
            return nullptr;
        }
        m_signatures = 0;
        if (!LoadInto(engine.get())) {
            // Half of a damaged database is in the engine by now: start again without it.
            continue;
        }
        if (m_signatures == 0 || cl_engine_compile(engine.get()) != CL_SUCCESS) {
            return nullptr;
        }
        return engine;
    }
    return nullptr;
}

}  // namespace scanapi
