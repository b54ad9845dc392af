#include "tests/support/silent_file_system.h"

#include <atomic>
#include <dirent.h>
#include <sys/types.h>

namespace {

std::atomic<bool> isSilent{false};
std::atomic<int> entriesWithheld{0};

}  // namespace

SilentFileSystem::SilentFileSystem() {
    entriesWithheld = 0;
    isSilent = true;
}

SilentFileSystem::~SilentFileSystem() {
    isSilent = false;
}

int SilentFileSystem::EntriesWithheld() {
    return entriesWithheld;
}

// What the linker puts in the place of getdents64, and where it puts the C library's own.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" ssize_t __real_getdents64(int directory, void* buffer, size_t size);

extern "C" ssize_t __wrap_getdents64(int directory, void* buffer, size_t size) {
    const ssize_t got = __real_getdents64(directory, buffer, size);
    for (ssize_t at = 0; isSilent && at < got;) {
        auto* entry = reinterpret_cast<dirent64*>(static_cast<char*>(buffer) + at);
        entry->d_type = DT_UNKNOWN;
        ++entriesWithheld;
        at += entry->d_reclen;
    }
    return got;
}
// NOLINTEND(bugprone-reserved-identifier)
