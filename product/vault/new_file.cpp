#include "product/vault/new_file.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>

#include "product/vault/free_name.h"

namespace vault {

namespace {

bool SyncFolder(int folder) {
    // It may be open for its name only, and need not be readable for whoever may write to it.
    const common::FileDescriptor self(openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return !self || fsync(self.Get()) == 0;
}

}  // namespace

NewFile::NewFile(int folder) : m_folder(folder) {
    std::uint64_t random = 0;
    if (getrandom(&random, sizeof(random), 0) != sizeof(random)) {
        return;
    }
    char name[40];
    std::snprintf(name, sizeof(name), ".corvane-%016llx", static_cast<unsigned long long>(random));
    m_file.Reset(openat(folder, name, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (m_file) {
        m_name = name;
    }
}

NewFile::~NewFile() {
    if (!m_name.empty()) {
        (void)unlinkat(m_folder, m_name.c_str(), 0);
    }
}

bool NewFile::Finish(const std::string& name) {
    if (fsync(m_file.Get()) != 0 || !MoveToFreeName(m_folder, m_name.c_str(), name.c_str())) {
        return false;
    }
    m_name.clear();
    return SyncFolder(m_folder);
}

}  // namespace vault
