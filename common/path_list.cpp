#include "common/path_list.h"

#include <string_view>

#include "common/text_field.h"

tagPathList* g_pPLstHead = nullptr;
tagPathList* g_pPLstCurr = nullptr;

bool common::AppendPath(tagPathList*& head, tagPathList*& tail, const char* path) {
    if (path == nullptr || std::string_view(path).size() >= common::kPathListPathSize) {
        return false;
    }
    auto* node = new tagPathList{};
    common::CopyToField(node->path, path);
    if (head == nullptr) {
        head = node;
    } else {
        tail->next = node;
    }
    tail = node;
    return true;
}

tagPathList* common::CopyPathList(const tagPathList* head) {
    tagPathList* copy = nullptr;
    tagPathList** end = &copy;
    for (; head != nullptr; head = head->next) {
        *end = new tagPathList(*head);
        (*end)->next = nullptr;
        end = &(*end)->next;
    }
    return copy;
}

void common::FreePathList(tagPathList*& head, tagPathList*& tail) {
    while (head != nullptr) {
        tagPathList* next = head->next;
        delete head;
        head = next;
    }
    tail = nullptr;
}
