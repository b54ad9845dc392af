#include "reports/virus_log/delete_records.h"

#include <cstdint>
#include <fcntl.h>
#include <limits>
#include <span>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "common/io.h"
#include "reports/virus_log/log_files.h"

namespace {

// A record file with the table of where its records lie once they are kept.
struct Kept {
    common::FileDescriptor from;
    off_t fromSize = 0;
    tagVIRHEAD head{};
    std::vector<std::uint32_t> offsets;
};

// Reads the size of the record at `offset`. Lengths come from a file that others can write.
int ReadRecordSize(const Kept& kept, off_t offset, std::uint64_t& size) {
    tagVIRRECORD record{};
    if (!virus_log::ReadAt(kept.from.Get(), offset, common::BytesOf(record))) {
        return kDeleteIoFailed;
    }
    size = virus_log::RecordSize(record);
    return size <= static_cast<std::uint64_t>(kept.fromSize - offset) ? kDeleteDone
                                                                      : kDeleteBadRecord;
}

int Skip(const Kept& kept, unsigned int count, off_t& offset) {
    for (unsigned int i = 0; i < count; ++i) {
        std::uint64_t size = 0;
        if (const int result = ReadRecordSize(kept, offset, size); result != kDeleteDone) {
            return result;
        }
        offset += static_cast<off_t>(size);
    }
    return kDeleteDone;
}

// Copies what is left from `offset` on; the records are back to back, so they move as one.
int CopyRest(Kept& kept, off_t offset, int to) {
    const off_t first = offset;
    const off_t shift = offset - static_cast<off_t>(sizeof kept.head);
    for (std::uint32_t i = 0; i < kept.head.counter.count; ++i) {
        std::uint64_t size = 0;
        if (const int result = ReadRecordSize(kept, offset, size); result != kDeleteDone) {
            return result;
        }
        if (offset - shift > static_cast<off_t>(std::numeric_limits<std::uint32_t>::max())) {
            return kDeleteIoFailed;
        }
        kept.offsets.push_back(static_cast<std::uint32_t>(offset - shift));
        offset += static_cast<off_t>(size);
    }
    const auto length = static_cast<std::uint64_t>(offset - first);
    return virus_log::WriteAt(to, 0, common::BytesOf(kept.head)) &&
                   virus_log::CopyBytes(kept.from.Get(), first, to, sizeof kept.head, length) &&
                   virus_log::IsOnDisk(to)
               ? kDeleteDone
               : kDeleteIoFailed;
}

int MakeKeptFile(Kept& kept, unsigned int count, int to) {
    off_t offset = sizeof kept.head;
    if (const int result = Skip(kept, count, offset); result != kDeleteDone) {
        return result;
    }
    kept.head.counter.count -= count;
    return CopyRest(kept, offset, to);
}

// Gives the table room for the new offsets: once the records are replaced, storing them must not
// fail for want of it.
bool MakeRoom(int table, std::span<const std::uint32_t> offsets) {
    return offsets.empty() ||
           ::posix_fallocate(table, 0, static_cast<off_t>(offsets.size_bytes())) == 0;
}

// The offsets are stored only once the records lie there: a failure before leaves the table that
// fits the old file.
int PutInPlace(const Kept& kept, const char* fileName, int to, int table) {
    struct stat before {};
    const off_t tableSize = virus_log::SizeOf(table);
    if (tableSize < 0) {
        return kDeleteIoFailed;
    }
    if (!MakeRoom(table, kept.offsets)) {
        (void)::ftruncate(table, tableSize);
        return kDeleteIoFailed;
    }
    // Who could write the old file can write the new one.
    if (::fstat(kept.from.Get(), &before) != 0 ||
        !virus_log::TakeRights(kept.from.Get(), to, before.st_mode & 07777U) ||
        !virus_log::RenameLogFile(virus_log::kKeptRecordFile, fileName)) {
        (void)::ftruncate(table, tableSize);
        return kDeleteNotReplaced;
    }
    return virus_log::WriteAt(table, 0, std::as_bytes(std::span(kept.offsets))) ? kDeleteDone
                                                                                : kDeleteIoFailed;
}

}  // namespace

int DeleteRecords(const char* fileName, unsigned int count) {
    if (fileName == nullptr) {
        return kDeleteNotReadable;
    }
    Kept kept;
    kept.from = virus_log::OpenExistingLogFile(fileName, O_RDONLY);
    kept.fromSize = kept.from ? virus_log::SizeOf(kept.from.Get()) : -1;
    if (kept.fromSize < 0) {
        return kDeleteNotReadable;
    }
    if (!virus_log::ReadAt(kept.from.Get(), 0, common::BytesOf(kept.head))) {
        return kDeleteIoFailed;
    }
    if (kept.head.counter.count < count) {
        return kDeleteTooFew;
    }
    const common::FileDescriptor table(OpenRecordOffsetDatabaseFile());
    if (!table) {
        return kDeleteIoFailed;
    }
    const common::FileDescriptor to = virus_log::OpenTemporaryLogFile(virus_log::kKeptRecordFile);
    if (!to) {
        return kDeleteCannotCreate;
    }
    int result = MakeKeptFile(kept, count, to.Get());
    if (result == kDeleteDone) {
        result = PutInPlace(kept, fileName, to.Get(), table.Get());
    }
    if (result != kDeleteDone) {
        (void)virus_log::RemoveLogFile(virus_log::kKeptRecordFile);
    }
    return result;
}
