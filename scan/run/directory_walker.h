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
};

/// Walks a tree in the order of TreeCursor, and goes on after all that is passed over.
class DirectoryWalker {
public:
    explicit DirectoryWalker(WalkVisitor& visitor) : m_visitor(visitor) {}

    /// Walks `directory` itself, a link to one included. kWalkUnreadable when that cannot be
    /// opened, kWalkStopped as soon as the visitor says so.
    WalkResult Walk(const char* directory);

private:
    WalkVisitor& m_visitor;
    TreeCursor m_cursor;
};

}  // namespace scan
