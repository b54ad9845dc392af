#include "product/scanhost/shared_mapping.h"

#include <sys/mman.h>
#include <sys/stat.h>

namespace scanhost {

std::optional<SharedMapping> SharedMapping::Make(int file, std::size_t size, Access access) {
    // Behind the end of the file there is nothing but a fatal signal.
    struct stat state {};
    if (size == 0 || ::fstat(file, &state) != 0 || !S_ISREG(state.st_mode) ||
        static_cast<std::size_t>(state.st_size) < size) {
        return std::nullopt;
    }
    const int protection = access == kWrite ? PROT_READ | PROT_WRITE : PROT_READ;
    void* memory = ::mmap(nullptr, size, protection, MAP_SHARED, file, 0);
    if (memory == MAP_FAILED) {
        return std::nullopt;
    }
    return SharedMapping(std::span(static_cast<std::byte*>(memory), size));
}

SharedMapping::~SharedMapping() {
    if (!m_bytes.empty()) {
        ::munmap(m_bytes.data(), m_bytes.size());
    }
}

}  // namespace scanhost
