#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <sys/stat.h>
#include <sys/types.h>
#include <thread>
#include <vector>

#include "product/scanapi/file_scanner.h"
#include "product/scanapi/hint_line.h"
#include "product/scanapi/read_lease.h"

namespace scanapi {

/// Has files scanned that the program said it will open next, and keeps what was found until it
/// does. Any thread.
///
/// What was found counts only for the path that was told, and when the file that the program then
/// opens there is the same as the one that was scanned: device, inode, size and both times. Times
/// do not show every change, so a file is scanned ahead only when they say that nothing happened
/// for a minute, or under a read lease that nobody broke meanwhile; a writer who wants the file
/// gets it at once, and the file is left to be scanned when the program opens it. So is one on a
/// file system that may let its callers wait without end, as a network's (local_file_systems.h):
/// neither the thread nor Stop() ever waits for one of these.
class FilesAhead {
public:
    static constexpr std::size_t kMostUnderWay = 256;     ///< each is an open file
    static constexpr std::size_t kMostScanned = 512;      ///< under way or finished
    static constexpr std::size_t kMostHeld = 16U << 20U;  ///< bytes of names of members

    /// Whether both are states of the same file, unchanged: device, inode, size and both times.
    static bool IsSame(const struct stat& left, const struct stat& right);

    FilesAhead() = default;
    /// Stops.
    ~FilesAhead();
    FilesAhead(const FilesAhead&) = delete;
    FilesAhead& operator=(const FilesAhead&) = delete;

    /// The files `names` of the open folder `folder` with the path `path` come next, after those
    /// that were told before. Copies all three and waits for nothing.
    void Tell(int folder, const char* path, std::span<const char* const> names) {
        m_hints.Add(folder, path, names);
    }

    /// Nothing that was told counts any more. What is under way is broken off. Waits for nothing.
    void Forget() { m_hints.Forget(); }

    /// From here on files are scanned by `scanner` with `profile`; what others found is forgotten.
    /// Nothing is scanned ahead before the first call.
    void Use(const std::shared_ptr<FileScanner>& scanner, const scanning::ScanProfile& profile);

    /// The program has opened `file`. Its scan if that was begun ahead, under way or finished; null
    /// when it is to be scanned now. Files that were told before this one have been passed over and
    /// are forgotten.
    std::shared_ptr<PendingScan> Take(const std::shared_ptr<TargetFile>& file);

    /// Forgets, and ends the thread. Nothing is scanned ahead any more.
    void Stop();

private:
    struct OpenFile {
        std::shared_ptr<TargetFile> file;
        std::optional<ReadLease> lease;  // ends before the file is closed
    };
    struct Scan {
        std::string path;
        struct stat opened {};
        std::shared_ptr<PendingScan> pending;  ///< null once finished
        std::unique_ptr<OpenFile> open;        ///< null once finished
        // When it has finished.
        std::vector<std::string> members;
        scanning::ScanOutcome outcome;
        std::size_t held = 0;
    };

    void ForgetScans();
    bool IsStillToOpen(const std::string& path);
    void DropFirst(std::size_t count);

    void StartThread();
    void Run() noexcept;
    [[nodiscard]] bool HasRoom() const;
    bool OpenNext(std::unique_lock<std::mutex>& lock);
    void WaitForMore(std::unique_lock<std::mutex>& lock);
    bool Begin(const HintLine::Hint& hint, FileScanner& scanner,
               const scanning::ScanProfile& profile, Scan& scan);
    std::shared_ptr<TargetFile> Open(const HintLine::Hint& hint);
    void Sweep();
    bool IsWorthless(Scan& scan);
    void GiveUp(Scan& scan, bool force);
    void LetGoOfTooMuch();

    HintLine m_hints;

    // Of the thread: the folder it opened a file in last, and whether it does so there.
    std::weak_ptr<const common::FileDescriptor> m_folder;
    bool m_isFolderLocal = false;

    std::mutex m_mutex;  ///< guards what follows; held when m_hints is asked, never the other way
    std::weak_ptr<FileScanner> m_scanner;
    scanning::ScanProfile m_profile;
    std::deque<Scan> m_scans;  ///< in the order in which they were told, before m_hints
    std::size_t m_underWay = 0;
    std::string m_opening;  ///< path of the file that the thread opens now, behind all of m_scans
    bool m_isOpening = false;
    bool m_isOpeningWanted = false;
    std::thread m_thread;
};

}  // namespace scanapi
