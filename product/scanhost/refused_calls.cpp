// The functions below are defined, and not the checked versions of them inlined.
#undef _FORTIFY_SOURCE

#include "product/scanhost/refused_calls.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <sys/uio.h>
#include <unistd.h>

// Libraries find a function in the program only if it is shown to them.
#define CORVANE_SHOWN __attribute__((visibility("default")))

// A sanitizer has the allocator to itself.
#if defined(CORVANE_SANITIZED)
#define CORVANE_NOTES_MEMORY 0
#else
#define CORVANE_NOTES_MEMORY 1
#endif

// A size and an offset are one register each.
static_assert(sizeof(long) == 8);

namespace scanhost {

namespace {

std::atomic<int> g_first = 0;  // an errno value

// A signal came, there is nothing now, and for an attempt at a new name: it is taken.
bool IsNoRefusal(int error) {
    return error == EINTR || error == EAGAIN || error == EEXIST;
}

void Note(int error) {
    if (!IsNoRefusal(error)) {
        int none = 0;
        g_first.compare_exchange_strong(none, error);
    }
}

template <typename Result>
Result Noted(Result result) {
    if (result < 0) {
        Note(errno);
    }
    return result;
}

template <typename Pointer>
Pointer* NotedNull(Pointer* result) {
    if (result == nullptr) {
        Note(errno);
    }
    return result;
}

// Half of a write that nothing interrupted: what is left finds no room either, should it be tried.
ssize_t NotedWrite(ssize_t written, std::size_t wanted) {
    if (written >= 0 && static_cast<std::size_t>(written) < wanted) {
        Note(ENOSPC);
    }
    return Noted(written);
}

template <typename... Arguments>
long Ask(long call, Arguments... arguments) {
    return ::syscall(call, (long)(arguments)...);
}

// What is not there cannot be read; what is to be made there can be refused by that alone.
int OpenNoted(int folder, const char* path, int flags, mode_t mode) {
    const long fd = Ask(SYS_openat, folder, path, flags, mode);
    if (fd < 0 && (errno != ENOENT || (flags & O_CREAT) != 0)) {
        Note(errno);
    }
    return static_cast<int>(fd);
}

template <typename Function>
Function* Next(const char* name) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

void ForgetRefusals() {
    g_first = 0;
}

std::string FirstRefusal() {
    switch (g_first.load()) {
        case 0:
            return {};
        case ENOMEM:
            return "out of memory";
        case ENOSPC:
        case EDQUOT:
        case EFBIG:
        case ENOENT:  // the scratch itself is gone
            return "no room to unpack";
        case EMFILE:
        case ENFILE:
            return "too many open files";
        case EACCES:
        case EPERM:
        case EROFS:
            return "a file was refused to the scan";
        default:
            return "a file could not be read or written";
    }
}

bool NotesRefusedMemory() {
    return CORVANE_NOTES_MEMORY != 0;
}

}  // namespace scanhost

using scanhost::Ask;
using scanhost::Next;
using scanhost::Noted;
using scanhost::NotedNull;
using scanhost::NotedWrite;
using scanhost::OpenNoted;

extern "C" {

#if CORVANE_NOTES_MEMORY

// The allocator of the C library, under the names that it keeps for who stands before it.
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* held, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);

CORVANE_SHOWN void* malloc(std::size_t size) noexcept {
    return NotedNull(__libc_malloc(size));
}

CORVANE_SHOWN void* calloc(std::size_t count, std::size_t size) noexcept {
    return NotedNull(__libc_calloc(count, size));
}

// To size 0 it is a way to free.
CORVANE_SHOWN void* realloc(void* held, std::size_t size) noexcept {
    void* const result = __libc_realloc(held, size);
    return size == 0 ? result : NotedNull(result);
}

CORVANE_SHOWN void* reallocarray(void* held, std::size_t count, std::size_t size) noexcept {
    std::size_t bytes = 0;
    if (__builtin_mul_overflow(count, size, &bytes)) {
        errno = ENOMEM;
        return NotedNull<void>(nullptr);
    }
    return realloc(held, bytes);
}

CORVANE_SHOWN void* memalign(std::size_t alignment, std::size_t size) noexcept {
    return NotedNull(__libc_memalign(alignment, size));
}

CORVANE_SHOWN void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
    return NotedNull(__libc_memalign(alignment, size));
}

CORVANE_SHOWN int posix_memalign(void** result, std::size_t alignment, std::size_t size) noexcept {
    if (alignment % sizeof(void*) != 0 || (alignment & (alignment - 1)) != 0 || alignment == 0) {
        return EINVAL;
    }
    const int before = errno;
    void* const memory = NotedNull(__libc_memalign(alignment, size));
    errno = before;
    if (memory == nullptr) {
        return ENOMEM;
    }
    *result = memory;
    return 0;
}

CORVANE_SHOWN void* mmap(void* address, std::size_t size, int protection, int flags, int fd,
                         off_t offset) noexcept {
    const long result = Noted(Ask(SYS_mmap, address, size, protection, flags, fd, offset));
    return result < 0 ? MAP_FAILED : reinterpret_cast<void*>(result);
}

CORVANE_SHOWN void* mmap64(void* address, std::size_t size, int protection, int flags, int fd,
                           off64_t offset) noexcept {
    return mmap(address, size, protection, flags, fd, offset);
}

#endif

// The mode comes with the flags that make a file.
#define CORVANE_MODE_AFTER(last)                   \
    mode_t mode = 0;                               \
    if (((last) & (O_CREAT | __O_TMPFILE)) != 0) { \
        va_list rest;                              \
        va_start(rest, last);                      \
        mode = va_arg(rest, mode_t);               \
        va_end(rest);                              \
    }

CORVANE_SHOWN int open(const char* path, int flags, ...) {
    CORVANE_MODE_AFTER(flags)
    return OpenNoted(AT_FDCWD, path, flags, mode);
}

CORVANE_SHOWN int open64(const char* path, int flags, ...) {
    CORVANE_MODE_AFTER(flags)
    return OpenNoted(AT_FDCWD, path, flags, mode);
}

CORVANE_SHOWN int openat(int folder, const char* path, int flags, ...) {
    CORVANE_MODE_AFTER(flags)
    return OpenNoted(folder, path, flags, mode);
}

CORVANE_SHOWN int openat64(int folder, const char* path, int flags, ...) {
    CORVANE_MODE_AFTER(flags)
    return OpenNoted(folder, path, flags, mode);
}

// By these names a library asks that was built with checks.
CORVANE_SHOWN int __open_2(const char* path, int flags) {
    return OpenNoted(AT_FDCWD, path, flags, 0);
}

CORVANE_SHOWN int __open64_2(const char* path, int flags) {
    return OpenNoted(AT_FDCWD, path, flags, 0);
}

CORVANE_SHOWN int __openat_2(int folder, const char* path, int flags) {
    return OpenNoted(folder, path, flags, 0);
}

CORVANE_SHOWN int __openat64_2(int folder, const char* path, int flags) {
    return OpenNoted(folder, path, flags, 0);
}

CORVANE_SHOWN int dup(int fd) noexcept {
    return static_cast<int>(Noted(Ask(SYS_dup, fd)));
}

CORVANE_SHOWN int mkdir(const char* path, mode_t mode) noexcept {
    return static_cast<int>(Noted(Ask(SYS_mkdirat, AT_FDCWD, path, mode)));
}

CORVANE_SHOWN int ftruncate(int fd, off_t size) noexcept {
    return static_cast<int>(Noted(Ask(SYS_ftruncate, fd, size)));
}

CORVANE_SHOWN int ftruncate64(int fd, off64_t size) noexcept {
    return ftruncate(fd, size);
}

CORVANE_SHOWN ssize_t write(int fd, const void* bytes, std::size_t size) {
    return NotedWrite(Ask(SYS_write, fd, bytes, size), size);
}

CORVANE_SHOWN ssize_t pwrite(int fd, const void* bytes, std::size_t size, off_t offset) {
    return NotedWrite(Ask(SYS_pwrite64, fd, bytes, size, offset), size);
}

CORVANE_SHOWN ssize_t pwrite64(int fd, const void* bytes, std::size_t size, off64_t offset) {
    return pwrite(fd, bytes, size, offset);
}

CORVANE_SHOWN ssize_t writev(int fd, const iovec* pieces, int count) {
    std::size_t size = 0;
    for (int i = 0; i < count; ++i) {
        size += pieces[i].iov_len;
    }
    return NotedWrite(Ask(SYS_writev, fd, pieces, count), size);
}

CORVANE_SHOWN ssize_t read(int fd, void* bytes, std::size_t size) {
    return Noted(Ask(SYS_read, fd, bytes, size));
}

CORVANE_SHOWN ssize_t pread(int fd, void* bytes, std::size_t size, off_t offset) {
    return Noted(Ask(SYS_pread64, fd, bytes, size, offset));
}

CORVANE_SHOWN ssize_t pread64(int fd, void* bytes, std::size_t size, off64_t offset) {
    return pread(fd, bytes, size, offset);
}

CORVANE_SHOWN FILE* fopen64(const char* path, const char* mode) {
    static auto* const next = Next<FILE*(const char*, const char*)>("fopen64");
    FILE* const file = next(path, mode);
    if (file == nullptr && (errno != ENOENT || *mode != 'r')) {
        scanhost::Note(errno);
    }
    return file;
}

CORVANE_SHOWN FILE* fopen(const char* path, const char* mode) {
    return fopen64(path, mode);
}

CORVANE_SHOWN FILE* fdopen(int fd, const char* mode) noexcept {
    static auto* const next = Next<FILE*(int, const char*)>("fdopen");
    return NotedNull(next(fd, mode));
}

CORVANE_SHOWN std::size_t fread(void* bytes, std::size_t size, std::size_t count, FILE* file) {
    static auto* const next = Next<std::size_t(void*, std::size_t, std::size_t, FILE*)>("fread");
    const std::size_t got = next(bytes, size, count, file);
    if (got < count && ::ferror(file) != 0) {
        scanhost::Note(errno);
    }
    return got;
}

CORVANE_SHOWN std::size_t fwrite(const void* bytes, std::size_t size, std::size_t count,
                                 FILE* file) {
    static auto* const next =
        Next<std::size_t(const void*, std::size_t, std::size_t, FILE*)>("fwrite");
    const std::size_t put = next(bytes, size, count, file);
    if (put < count && size != 0) {
        scanhost::Note(errno);
    }
    return put;
}

CORVANE_SHOWN int fflush(FILE* file) {
    static auto* const next = Next<int(FILE*)>("fflush");
    return Noted(next(file));
}

CORVANE_SHOWN int fclose(FILE* file) {
    static auto* const next = Next<int(FILE*)>("fclose");
    return Noted(next(file));
}

CORVANE_SHOWN DIR* opendir(const char* path) {
    static auto* const next = Next<DIR*(const char*)>("opendir");
    return NotedNull(next(path));
}

CORVANE_SHOWN DIR* fdopendir(int fd) {
    static auto* const next = Next<DIR*(int)>("fdopendir");
    return NotedNull(next(fd));
}

}  // extern "C"
