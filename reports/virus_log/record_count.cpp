#include "reports/virus_log/record_count.h"

#include <fcntl.h>
#include <limits>

#include "common/io.h"
#include "reports/virus_log/log_files.h"
#include "reports/virus_log/log_mutex.h"
#include "reports/virus_log/record_walk.h"

namespace virus_log {

namespace {

// How many records the file holds; none when one of them is torn.
std::optional<std::uint32_t> CountWhole(int fd) {
    const off_t size = SizeOf(fd);
    // Offsets have 32 bits, and no log is larger than they can tell.
    if (size < 0 || size > off_t{std::numeric_limits<std::uint32_t>::max()}) {
        return std::nullopt;
    }
    WindowedFile file(fd, static_cast<std::uint64_t>(size));
    const auto records = WalkByLengths(file);
    return records ? std::optional(static_cast<std::uint32_t>(records->size())) : std::nullopt;
}

std::optional<std::uint32_t> CorrectCount(const common::FileDescriptor& file) {
    tagVIRCOUNTER counter{};
    if (!file || !ReadAt(file.Get(), 0, common::BytesOf(counter))) {
        return std::nullopt;
    }
    const std::uint32_t whole = CountWhole(file.Get()).value_or(counter.count);
    if (whole != counter.count) {
        counter.count = whole;
        if (!WriteAt(file.Get(), 0, common::BytesOf(counter))) {
            return std::nullopt;
        }
    }
    return counter.count;
}

}  // namespace

std::optional<std::uint32_t> CorrectCounts() {
    const LogMutex mutex(kRecordMutex, kResetWait);
    return mutex.IsHeld() ? CorrectHeldCounts() : std::nullopt;
}

std::optional<std::uint32_t> CorrectHeldCounts() {
    // There need be no second file; one that cannot be set right is left for the merge to refuse.
    (void)CorrectCount(OpenExistingLogFile(kSecondRecordFile, O_RDWR));
    return CorrectCount(OpenLogFile(kRecordFile));
}

}  // namespace virus_log
