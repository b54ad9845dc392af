#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "scan/run/read_ahead.h"
#include "scan/run/stop_flag.h"
#include "scan/run/tree_cursor.h"

namespace scan {

class ScanEngine;

/// Runs some hundreds of files ahead of a walk and tells the engine of them, in the order in which
/// the walk will come to them, also across directories and from one path to scan to the next.
///
/// It lists the directories for itself, so the walk is what it would be without: a tree that
/// changes between the two only makes for hints that come to nothing. What was told and is still to
/// come is known by its path's digest: where the scout has lost the walk, it begins again where
/// that is. On the scan thread.
class WalkScout {
public:
    /// All outlive it; the filter is that of the walk and may be null.
    WalkScout(ScanEngine& engine, const StopFlag& stop, const PathFilter* filter = nullptr);
    ~WalkScout() { Forget(); }
    WalkScout(const WalkScout&) = delete;
    WalkScout& operator=(const WalkScout&) = delete;

    /// Before the walk of a path: `next` are those that are scanned after it. Files among them are
    /// scanned, too, when `hasFiles`.
    void SetPathsBehind(std::span<const char* const> next, bool hasFiles) {
        m_behind = next;
        m_hasFiles = hasFiles;
    }

    /// Before the file at which the cursor of the walk stands is scanned.
    void BeforeFile(const TreeCursor& walk);
    /// Before the path of SetPathsBehind(), which is a file, is scanned.
    void BeforeListedFile(const char* path);

    /// The walk may end here: nothing told counts any more. Should it go on, so does this.
    void Forget();

private:
    [[nodiscard]] bool MustStartAt(const char* path);
    void GoAhead();
    bool StartNextPath();
    void Take();
    void TakeListed(std::string_view path);
    void Tell();

    ScanEngine& m_engine;
    const StopFlag& m_stop;
    const bool m_mayRun;
    ReadAhead m_readAhead;
    TreeCursor m_cursor;
    std::span<const char* const> m_behind;  // the walk's path
    std::span<const char* const> m_next;    // what m_cursor goes through after its own tree
    bool m_hasFiles = false;                // among those
    std::deque<std::size_t> m_told;         // digests of the paths that are still to come
    std::size_t m_missed = 0;               // files of the walk since the last that had been told
    bool m_hasTold = false;

    // Files of one directory that were not yet told.
    std::vector<std::string> m_names;
    std::string m_path;
    std::shared_ptr<const common::FileDescriptor> m_folder;
};

}  // namespace scan
