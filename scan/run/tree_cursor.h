#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

#include "common/directory_reader.h"
#include "common/file_descriptor.h"
#include "scan/run/path_filter.h"

namespace scan {

/// Room for a path and its terminator.
inline constexpr std::size_t kWalkPathSize = 1024;

/// Goes through a tree entry by entry, in the order in which the file system lists it, hidden
/// entries included.
///
/// It goes down by descriptor and follows no link below the top, so no path is met twice and a
/// directory swapped for a link is not entered. One descriptor is open for each level. What cannot
/// be opened, is gone, lies in a directory that may only be listed, or whose path does not fit
/// kWalkPathSize is passed over. For one thread.
class TreeCursor {
public:
    static constexpr std::size_t kAnyDepth = static_cast<std::size_t>(-1);

    /// What lies more than `mostLevels` directories deep, the top included, is passed over, and
    /// below the top what `filter` leaves out, which may be null and outlives the cursor.
    explicit TreeCursor(std::size_t mostLevels = kAnyDepth, const PathFilter* filter = nullptr)
        : m_mostLevels(mostLevels), m_filter(filter) {}

    /// Begins before the first entry of `directory`, a link to one included. False, at the end of
    /// everything, when that cannot be opened; Error() tells why.
    bool Start(const char* directory);

    /// Begins where `other` stands, in the same tree, and leaves that as it is.
    void StartAt(const TreeCursor& other);

    enum class Step {
        kFile,    ///< a regular file: Path() is its
        kUnread,  ///< what is there and cannot be read: Path() is its, or where the whole path does
                  ///< not fit its directory's; Error() tells why
        kOther,   ///< some other entry, or the end of a directory below the top
        kEnd,     ///< nothing is left
    };
    /// Takes one entry.
    Step Advance();

    /// After Step::kFile and Step::kUnread, until the call of Directory().
    [[nodiscard]] const char* Path() const { return m_path.data(); }
    [[nodiscard]] const char* Name() const { return m_path.data() + m_name; }

    /// After Step::kUnread and where Start() failed: as in errno.
    [[nodiscard]] int Error() const { return m_error; }

    /// The path of the directory whose entry comes next, before the end. Ends the look at a file.
    const char* Directory();

    /// That directory, open.
    [[nodiscard]] const std::shared_ptr<const common::FileDescriptor>& Folder() const {
        return m_levels[m_depth - 1].folder;
    }

private:
    struct Level {
        std::shared_ptr<const common::FileDescriptor> folder;
        std::size_t length = 0;  ///< of its path in m_path
        bool isSearchable = false;
        // Kept for the next directory at this depth.
        std::unique_ptr<common::DirectoryReader> reader;
    };

    void Push(common::FileDescriptor folder, std::size_t length);
    Step Unread(int error);
    Step GoDown(int folder, const char* name, std::size_t length);
    void Pop();

    /// Adds `name` to the directory in m_path. The new length, 0 when it does not fit.
    std::size_t Join(std::size_t length, std::string_view name);

    std::size_t m_mostLevels;
    const PathFilter* m_filter;
    int m_error = 0;
    std::array<char, kWalkPathSize> m_path{};
    std::size_t m_name = 0;  // where the file's name begins
    std::vector<Level> m_levels;
    std::size_t m_depth = 0;  // how many of them are in use
};

}  // namespace scan
