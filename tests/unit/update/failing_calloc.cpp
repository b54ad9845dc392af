#include "tests/unit/update/failing_calloc.h"

#include <cerrno>
#include <cstddef>

namespace {

thread_local int allowed = -1;

}  // namespace

void AllowAllocations(int count) {
    allowed = count;
}

extern "C" {

// The names are the linker's.
// NOLINTBEGIN(bugprone-reserved-identifier)
void* __real_calloc(std::size_t count, std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size);

void* __wrap_calloc(std::size_t count, std::size_t size) {
    if (allowed == 0) {
        errno = ENOMEM;
        return nullptr;
    }
    if (allowed > 0) {
        --allowed;
    }
    return __real_calloc(count, size);
}
// NOLINTEND(bugprone-reserved-identifier)

}  // extern "C"
