#include "reports/files/record_read.h"

#include <unistd.h>

#include "common/io.h"

namespace reports {

std::ptrdiff_t ReadRecord(int fd, std::span<std::byte> record) {
    const std::ptrdiff_t got = common::ReadFull(fd, record);
    const auto missing = static_cast<std::ptrdiff_t>(record.size()) - got;
    if (got > 0 && missing > 0) {
        (void)::lseek(fd, missing, SEEK_CUR);
    }
    return got;
}

}  // namespace reports
