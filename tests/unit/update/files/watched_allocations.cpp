#include "tests/unit/update/files/watched_allocations.h"

#include <cerrno>
#include <set>

namespace {

int allowed = -1;
std::size_t lastSize = 0;

// Lives as long as the process: blocks are freed after the last test, too.
std::set<void*>& Live() {
    static auto* live = new std::set<void*>;
    return *live;
}

}  // namespace

void AllowAllocations(int count) {
    allowed = count;
}

std::size_t LiveAllocations() {
    return Live().size();
}

std::size_t LastAllocationSize() {
    return lastSize;
}

extern "C" {

// The names are the linker's.
// NOLINTBEGIN(bugprone-reserved-identifier)
void* __real_calloc(std::size_t count, std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size);
void __real_free(void* block);
void __wrap_free(void* block);

void* __wrap_calloc(std::size_t count, std::size_t size) {
    if (allowed == 0) {
        errno = ENOMEM;
        return nullptr;
    }
    if (allowed > 0) {
        --allowed;
    }
    void* block = __real_calloc(count, size);
    Live().insert(block);
    lastSize = count * size;
    return block;
}

void __wrap_free(void* block) {
    Live().erase(block);
    __real_free(block);
}
// NOLINTEND(bugprone-reserved-identifier)

}  // extern "C"
