#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "common/directory_reader.h"
#include "common/file_descriptor.h"

/// Results of a walk, as GetFileCount and ScanDirectory give them.
enum WalkResult : std::uint32_t {
    kWalkUnreadable = 0,
    kWalkDone = 1,
    kWalkStopped = 0xFFFFFFFF,
};

namespace scan {

/// Room for a path and its terminator.
inline constexpr std::size_t kWalkPathSize = 1024;

/// What a walk asks of the one who started it.
class WalkVisitor {
public:
    WalkVisitor() = default;
    virtual ~WalkVisitor() = default;
    WalkVisitor(const WalkVisitor&) = delete;
    WalkVisitor& operator=(const WalkVisitor&) = delete;

    /// Before each entry of `directory` and at once after each file. False ends the walk.
    virtual bool GoOn(const char* directory) = 0;

    /// A regular file.
    virtual void OnFile(const char* path) = 0;

    /// Before OnFile: `directory` is open and `reader` can be asked what comes after the file.
    virtual void LookAhead(int directory, common::DirectoryReader& reader);
};

/// Walks a tree in the order in which the file system lists it, hidden entries included.
///
/// It goes down by descriptor and follows no link below the top, so no path is walked twice and a
/// directory swapped for a link is not entered. One descriptor is open for each level. What cannot
/// be opened, is gone, lies in a directory that may only be listed, or whose path does not fit
/// kWalkPathSize is passed over and the walk goes on.
class DirectoryWalker {
public:
    explicit DirectoryWalker(WalkVisitor& visitor) : m_visitor(visitor) {}

    /// Walks `directory` itself, a link to one included. kWalkUnreadable when that cannot be
    /// opened, kWalkStopped as soon as the visitor says so.
    WalkResult Walk(const char* directory);

private:
    /// Walks the open directory whose path is the first `length` bytes of m_path.
    WalkResult WalkLevel(const common::FileDescriptor& directory, std::size_t length,
                         std::size_t depth);

    /// Adds `name` to the directory in m_path. The new length, 0 when it does not fit.
    std::size_t Join(std::size_t length, std::string_view name);

    WalkVisitor& m_visitor;
    std::array<char, kWalkPathSize> m_path{};
    // One for each level that was reached, kept for the next directory there.
    std::vector<std::unique_ptr<common::DirectoryReader>> m_readers;
};

}  // namespace scan
