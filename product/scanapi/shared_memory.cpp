#include "product/scanapi/shared_memory.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

namespace scanapi {

namespace {

// Of Linux 6.3. A system may insist on it (vm.memfd_noexec); older ones do not know it.
constexpr unsigned int kNeverExecuted = 0x0008;

int MemoryFile(const char* name) {
    constexpr unsigned int kFlags = MFD_CLOEXEC | MFD_ALLOW_SEALING;
    const int file = ::memfd_create(name, kFlags | kNeverExecuted);
    return file >= 0 || errno != EINVAL ? file : ::memfd_create(name, kFlags);
}

}  // namespace

SharedMemory::SharedMemory(const char* name, std::size_t size, Other other)
    : m_file(MemoryFile(name)) {
    if (!m_file || ::ftruncate(m_file.Get(), static_cast<off_t>(size)) != 0) {
        return;
    }
    void* const mapped = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, m_file.Get(), 0);
    if (mapped == MAP_FAILED) {
        return;
    }
    m_bytes = {static_cast<std::byte*>(mapped), size};
    // What is mapped already stays writable.
    const int seals = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL |
                      (other == Other::kReads ? F_SEAL_FUTURE_WRITE : 0);
    if (::fcntl(m_file.Get(), F_ADD_SEALS, seals) != 0) {
        ::munmap(mapped, size);
        m_bytes = {};
    }
}

SharedMemory::~SharedMemory() {
    if (!m_bytes.empty()) {
        ::munmap(m_bytes.data(), m_bytes.size());
    }
}

SharedMemory::SharedMemory(SharedMemory&& moved) noexcept
    : m_file(std::move(moved.m_file)), m_bytes(std::exchange(moved.m_bytes, {})) {}

}  // namespace scanapi
