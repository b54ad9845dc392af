#include "tests/unit/product/scanhost/refusing_calls.h"

#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <dlfcn.h>
#include <sys/syscall.h>

namespace {

struct Plan {
    Asked what = Asked::kMemory;
    int left = 0;
    int error = 0;
};
Plan g_plan;

bool IsRefused(Asked what) {
    if (g_plan.what != what || g_plan.left == 0 || --g_plan.left != 0) {
        return false;
    }
    errno = g_plan.error;
    return true;
}

bool IsRefused(long call) {
    switch (call) {
        case SYS_mmap:
            return IsRefused(Asked::kMapping);
        case SYS_openat:
            return IsRefused(Asked::kOpen);
        case SYS_mkdirat:
            return IsRefused(Asked::kFolder);
        case SYS_write:
        case SYS_pwrite64:
        case SYS_writev:
            return IsRefused(Asked::kWrite);
        case SYS_read:
        case SYS_pread64:
            return IsRefused(Asked::kRead);
        default:
            return false;
    }
}

template <typename Function>
Function* Real(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

void RefuseNth(Asked what, int nth, int error) {
    g_plan = {.what = what, .left = nth, .error = error};
}

int RefuseNothing() {
    const int left = g_plan.left;
    g_plan = {};
    return left;
}

extern "C" {

long syscall(long call, ...) noexcept {
    static auto* const real = Real<long(long, long, long, long, long, long, long)>("syscall");
    va_list rest;
    va_start(rest, call);
    long arguments[6];
    for (long& argument : arguments) {
        argument = va_arg(rest, long);
    }
    va_end(rest);
    if (IsRefused(call)) {
        if (g_plan.error != 0 || call != SYS_write) {
            return -1;
        }
        arguments[2] /= 2;
    }
    return real(call, arguments[0], arguments[1], arguments[2], arguments[3], arguments[4],
                arguments[5]);
}

#if !defined(CORVANE_SANITIZED)

void* __libc_malloc(std::size_t size) {
    static auto* const real = Real<void*(std::size_t)>("__libc_malloc");
    return IsRefused(Asked::kMemory) ? nullptr : real(size);
}

void* __libc_calloc(std::size_t count, std::size_t size) {
    static auto* const real = Real<void*(std::size_t, std::size_t)>("__libc_calloc");
    return IsRefused(Asked::kMemory) ? nullptr : real(count, size);
}

void* __libc_realloc(void* held, std::size_t size) {
    static auto* const real = Real<void*(void*, std::size_t)>("__libc_realloc");
    return IsRefused(Asked::kMemory) ? nullptr : real(held, size);
}

void* __libc_memalign(std::size_t alignment, std::size_t size) {
    static auto* const real = Real<void*(std::size_t, std::size_t)>("__libc_memalign");
    return IsRefused(Asked::kMemory) ? nullptr : real(alignment, size);
}

#endif
}
