#pragma once

#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>

namespace scanapi {

// What the engine writes to the common log, or to the user's own where this process may not write
// there (user_log.h): each a line, "scanapi: " and then a text. Any thread.

/// `text` is our own words; what others chose in it was escaped. False when it could not be
/// written, for want of memory or of a descriptor perhaps.
bool LogLine(std::string_view text) noexcept;

/// What a scan host says, which may come from elsewhere. It says what it lacks each time one is
/// started; the same words are written once, and no more than fifty different ones.
void LogOfHost(std::string_view text);

/// A database that is left out. What `reason` holds may come from elsewhere.
void LogLeftOut(const std::string& path, std::string_view reason);

/// The files of a run that were not read, and why: a line each for so many, and then how many more
/// there were, with those whose line could not be written.
class UnreadLog {
public:
    static constexpr std::size_t kMaxLines = 1000;

    /// Tells how many were not told of.
    ~UnreadLog();
    UnreadLog() = default;
    UnreadLog(const UnreadLog&) = delete;
    UnreadLog& operator=(const UnreadLog&) = delete;

    void Add(const std::string& path, std::string_view reason) noexcept;

    /// Tells how many were not told of, and begins to count anew.
    void BeginRun() noexcept;

private:
    std::mutex m_mutex;
    std::size_t m_told = 0;
    std::size_t m_untold = 0;
};

}  // namespace scanapi
