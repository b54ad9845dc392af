#pragma once

#include <atomic>
#include <chrono>
#include <clamav.h>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "product/definitions/engine_databases.h"

namespace scanapi {

using definitions::Database;

using LibraryEngine = std::shared_ptr<cl_engine>;

/// Loads databases into one libclamav engine on a thread of its own, which shares in the loader.
class DatabaseLoader : public std::enable_shared_from_this<DatabaseLoader> {
public:
    /// `scratch` is where the engine will unpack files.
    DatabaseLoader(std::vector<Database> databases, std::string scratch);

    /// Begins to load; called once.
    void Start();

    DatabaseLoader(const DatabaseLoader&) = delete;
    DatabaseLoader& operator=(const DatabaseLoader&) = delete;

    /// Waits at most `limit`; true when loading has ended or was given up. Any thread.
    bool WaitFor(std::chrono::milliseconds limit);

    /// What was loaded. Null while loading goes on and when it failed or was given up.
    LibraryEngine Loaded();

    /// The databases that are loaded; until loading ends, those that are to be.
    std::vector<Database> Databases();

    /// The databases that could not be loaded, so far.
    std::vector<Database> LeftOut();

    /// Makes the loading end soon and every wait return.
    void Cancel();

    /// Cancels and lets go of the engine. Returns soon in any case: a thread deep in a large
    /// database is left to end by itself.
    void Stop();

private:
    void Run() noexcept;
    LibraryEngine LoadAll();
    LibraryEngine NewEngine();
    bool LoadInto(cl_engine* engine);

    std::vector<Database> m_databases;
    std::vector<Database> m_leftOut;
    std::string m_scratch;
    unsigned int m_signatures = 0;  ///< loaded in this attempt
    std::atomic<bool> m_cancelled = false;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_finished = false;
    LibraryEngine m_engine;
    std::thread m_thread;
};

}  // namespace scanapi
