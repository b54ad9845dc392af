#pragma once

#include <cstddef>

namespace common {

inline constexpr std::size_t kPathListPathSize = 256;

}  // namespace common

/// One path to scan; a singly linked list of them is what a scan works on. Paths are bytes.
struct tagPathList {
    char path[common::kPathListPathSize];
    tagPathList* next;
};

/// Head and tail of the list that the folder picker builds and the main window frees.
/// GUI thread only while no scan runs; the scan threads read the nodes.
extern tagPathList* g_pPLstHead;
extern tagPathList* g_pPLstCurr;

namespace common {

/// Appends a node holding `path` to the list (`head`, `tail`).
/// False, with nothing appended, for a null path or one longer than 255 bytes: a cut path would be
/// another path.
bool AppendPath(tagPathList*& head, tagPathList*& tail, const char* path);

/// A copy of the whole list, null for an empty one.
tagPathList* CopyPathList(const tagPathList* head);

/// Frees every node and sets head and tail to null.
void FreePathList(tagPathList*& head, tagPathList*& tail);

}  // namespace common
