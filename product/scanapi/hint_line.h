#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>

#include "common/file_descriptor.h"

namespace scanapi {

/// Files that the program said it will open next, and that nobody has looked at yet.
///
/// Whoever tells never waits for a file system: nothing is asked of one while the line's lock is
/// held. Any thread may tell; one thread takes.
class HintLine {
public:
    static constexpr std::size_t kMostFiles = 512;   ///< what is told beyond is not remembered
    static constexpr std::size_t kMostFolders = 64;  ///< open until their files are taken

    struct Hint {
        std::shared_ptr<const common::FileDescriptor> folder;  ///< null: to be opened by its path
        std::string path;                                      ///< of the file
        std::size_t name = 0;                                  ///< where its name begins
    };

    /// As PFNFILESAHEAD says, for one name at least; copies all three.
    void Add(int folder, const char* path, std::span<const char* const> names);

    /// Nothing told so far counts any more, nor what was taken: TakeForgotten() says so once.
    void Forget();

    /// The program has opened the file at `path`: drops what was told before it, and it. False,
    /// with nothing dropped, when it is not in the line.
    bool PassOver(const std::string& path);

    /// Drops all, adds nothing any more, and ends every wait.
    void Close();
    [[nodiscard]] bool IsClosed();

    /// Whether all that was taken is to be forgotten.
    bool TakeForgotten();

    struct Next {
        bool forget = false;  ///< all that was taken before this
        std::optional<Hint> hint;
    };
    /// The first of the line, unless that is empty.
    Next TakeNext();

    /// Waits until something is to be forgotten, the line is closed, somebody calls Wake(), or, for
    /// one who `wantsHint`, a hint is there. At most `limit`, for ever without one.
    void Wait(bool wantsHint, std::optional<std::chrono::milliseconds> limit);
    void Wake();

private:
    std::shared_ptr<const common::FileDescriptor> Kept(int folder) const;

    std::mutex m_mutex;  ///< guards what follows
    std::condition_variable m_changed;
    std::deque<Hint> m_hints;
    bool m_isToForget = false;
    bool m_isWoken = false;
    bool m_isClosed = false;
};

}  // namespace scanapi
