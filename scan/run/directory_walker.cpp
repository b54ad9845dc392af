#include "scan/run/directory_walker.h"

WalkResult scan::DirectoryWalker::Walk(const char* directory) {
    if (!m_cursor.Start(directory)) {
        return kWalkUnreadable;
    }
    while (m_visitor.GoOn(m_cursor.Directory())) {
        const TreeCursor::Step step = m_cursor.Advance();
        if (step == TreeCursor::Step::kEnd) {
            return kWalkDone;
        }
        if (step == TreeCursor::Step::kUnread) {
            m_visitor.OnUnread(m_cursor);
        }
        if (step == TreeCursor::Step::kFile) {
            m_visitor.OnFile(m_cursor);
            if (!m_visitor.GoOn(m_cursor.Directory())) {
                break;
            }
        }
    }
    return kWalkStopped;
}
