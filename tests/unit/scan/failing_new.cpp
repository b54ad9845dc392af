#include "tests/unit/scan/failing_new.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

thread_local bool outOfMemory = false;

void* Allocate(std::size_t size) {
    void* memory = outOfMemory ? nullptr : std::malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

}  // namespace

void* operator new(std::size_t size) {
    return Allocate(size);
}
void* operator new[](std::size_t size) {
    return Allocate(size);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}

void SetOutOfMemory(bool on) {
    outOfMemory = on;
}
