#include "tests/support/failing_new.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

// How many requests of this thread are still granted; below 0 all.
thread_local int left = -1;

void* Allocate(std::size_t size) {
    void* memory = left == 0 ? nullptr : std::malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    left -= left > 0 ? 1 : 0;
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
    left = on ? 0 : -1;
}

void SetRequestsGranted(int granted) {
    left = granted;
}
