#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// Turns reading ahead on or off for what is scanned afterwards; on by default. Any thread.
void SetReadAhead(bool on);

/// Reads files ahead of a scan, so that a cold disk works on several of them at once instead of one
/// after the other. Looks into every few files first and stays away while they are in memory
/// already, or where the file system cannot tell: a warm scan pays next to nothing.
///
/// Used by one thread; its helpers end with it.
class ReadAhead {
public:
    ReadAhead() = default;
    ~ReadAhead();
    ReadAhead(const ReadAhead&) = delete;
    ReadAhead& operator=(const ReadAhead&) = delete;

    /// The files `names` of the directory with the path `directory` come next. No more than these,
    /// and only regular files, are opened.
    void Ahead(const std::string& directory, const std::vector<std::string>& names);

    /// How many files were handed to the helpers.
    [[nodiscard]] std::size_t FilesReadAhead() const { return m_filesReadAhead; }

private:
    void Submit(const std::string& directory, const std::vector<std::string>& names);
    void StartHelpers();
    void Help();

    // How many files to let pass before the next look into one, and after the one after that.
    std::size_t m_pause = 0;
    std::size_t m_nextPause = 0;
    std::size_t m_coldFiles = 0;  // to read ahead without looking again
    std::size_t m_filesReadAhead = 0;

    std::mutex m_mutex;
    std::condition_variable m_work;
    std::deque<std::string> m_paths;  // to read
    bool m_ending = false;
    std::vector<std::thread> m_helpers;
};
