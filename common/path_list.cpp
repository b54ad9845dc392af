#include "common/path_list.h"

#include <string_view>

#include "common/text_field.h"

tagPathList* g_pPLstHead = nullptr;
tagPathList* g_pPLstCurr = nullptr;

bool AppendPath(tagPathList*& head, tagPathList*& tail, const char* path) {
    if (path == nullptr || std::string_view(path).size() >= kPathListPathSize) {
        return false;
    }
    auto* node = new tagPathList{};
    CopyToField(node->path, path);
    if (head == nullptr) {
        head = node;
    } else {
        tail->next = node;
    }
    tail = node;
    return true;
}

tagPathList* CopyPathList(const tagPathList* head) {
    tagPathList* copy = nullptr;
    tagPathList** end = &copy;
    for (; head != nullptr; head = head->next) {
        *end = new tagPathList(*head);
        (*end)->next = nullptr;
        end = &(*end)->next;
    }
    return copy;
}

void FreePathList(tagPathList*& head, tagPathList*& tail) {
    while (head != nullptr) {
        tagPathList* next = head->next;
        delete head;
        head = next;
    }
    tail = nullptr;
}
