#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include "product/scanapi/clamd_config.h"
#include "product/scanapi/clamd_connection.h"
#include "product/scanapi/clamd_settings.h"
#include "product/scanning/library_scan.h"

namespace scanapi {

/// What is to be said about a clamd, once for as long as it lasts. Any thread.
class ClamdLog {
public:
    /// One line in the common log, unless it is the one that was written last.
    void Complain(const std::string& what);
    /// What was complained of is over.
    void AllIsWell();

private:
    std::mutex m_mutex;
    std::string m_last;
};

/// How long a clamd is waited for.
struct ClamdPatience {
    std::chrono::milliseconds connecting{2'000};
    /// Beyond what its own bound on the time of a scan allows.
    std::chrono::milliseconds beyondItsBound{10'000};
    /// Nothing is asked of one that could not be reached, or gave no answer in time.
    std::chrono::milliseconds pause{5'000};
};

/// Has plain files scanned by a running clamd, through one session. What it answers is read as from
/// an enemy: a wrong answer, or none in time, costs the file it was about (it is unreadable), and
/// the session. What a clamd cannot or may not be asked is for our own workers, and so is
/// everything while there is none, or when it goes away.
///
/// Its verdicts are not for the verdict cache: nobody tells which signatures they stand on. An
/// object is for one thread.
class ClamdBackend {
public:
    ClamdBackend(ClamdSettings settings, std::shared_ptr<ClamdLog> log, ClamdPatience patience = {})
        : m_settings(std::move(settings)), m_log(std::move(log)), m_patience(patience) {}

    /// Scans the open file `file` with the contents `all`. None when our own workers have to scan
    /// it. `isStopWanted` ends the scan with Verdict::Stopped. That the file is unchanged
    /// afterwards is for the caller to see.
    std::optional<scanning::ScanOutcome> Scan(int file, std::span<const std::byte> all,
                                              const scanning::ScanProfile& profile,
                                              const StopWanted& isStopWanted);

private:
    using Clock = std::chrono::steady_clock;

    bool Connect(const StopWanted& isStopWanted);
    std::optional<ClamdLimits> ReadLimits();
    ClamdConnection::Result Ask(int file, std::span<const std::byte> all,
                                const StopWanted& isStopWanted, std::string& reply,
                                std::uint32_t& number);
    std::optional<scanning::ScanOutcome> Judge(const std::string& answer, std::uint32_t number,
                                               const scanning::ScanProfile& profile,
                                               bool wasTimeUp);
    scanning::ScanOutcome Drop(const std::string& reason);
    void Pause();

    const ClamdSettings m_settings;
    const std::shared_ptr<ClamdLog> m_log;
    const ClamdPatience m_patience;
    ClamdLimits m_limits;  ///< of the clamd that the session is with
    std::optional<ClamdConnection> m_connection;
    Clock::time_point m_notBefore{};
};

}  // namespace scanapi
