#pragma once

#include <cstdint>

#include "scan/run/tree_cursor.h"

/// Results of a walk, as GetFileCount and ScanDirectory give them.
enum WalkResult : std::uint32_t {
    kWalkUnreadable = 0,
    kWalkDone = 1,
    kWalkStopped = 0xFFFFFFFF,
};

namespace scan {

/// What a walk asks of the one who started it.
class WalkVisitor {
public:
    WalkVisitor() = default;
    virtual ~WalkVisitor() = default;
    WalkVisitor(const WalkVisitor&) = delete;
    WalkVisitor& operator=(const WalkVisitor&) = delete;

    /// Before each entry of `directory` and at once after each file. False ends the walk.
    virtual bool GoOn(const char* directory) = 0;

    /// A regular file, at which `cursor` stands.
    virtual void OnFile(const TreeCursor& cursor) = 0;

    /// What is there and cannot be read, at which `cursor` stands.
    virtual void OnUnread(const TreeCursor& /*cursor*/) {}
};

/// Walks a tree in the order of TreeCursor, and goes on after all that is passed over.
class DirectoryWalker {
public:
    /// Both outlive it; the filter, which may be null, holds below the directory to walk.
    explicit DirectoryWalker(WalkVisitor& visitor, const PathFilter* filter = nullptr)
        : m_visitor(visitor), m_cursor(TreeCursor::kAnyDepth, filter) {}

    /// Walks `directory` itself, a link to one included. kWalkUnreadable when that cannot be
    /// opened, and Error() tells why; kWalkStopped as soon as the visitor says so.
    WalkResult Walk(const char* directory);

    [[nodiscard]] int Error() const { return m_cursor.Error(); }

private:
    WalkVisitor& m_visitor;
    TreeCursor m_cursor;
};

}  // namespace scan
