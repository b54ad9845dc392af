#include "reports/files/scheduled_index.h"

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <span>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "common/io.h"
#include "common/locks.h"
#include "common/paths.h"
#include "common/regular_file.h"
#include "common/shared_file.h"
#include "common/text_field.h"
#include "reports/files/record_read.h"

namespace {

constexpr off_t kHeaderOffset = 8;
constexpr mode_t kIndexMode = 0644;

#pragma pack(push, 1)
// The header behind the eight-byte hole at the start of the file.
struct IndexHeader {
    std::uint32_t count;
    std::uint8_t reserved[7];
};
#pragma pack(pop)
static_assert(sizeof(IndexHeader) == 11);

// Everybody may write in the index's folder: a link in its place leads nowhere, and a FIFO must not
// keep anybody waiting.
common::FileDescriptor OpenIndexToRead() {
    return common::FileDescriptor(
        open(reports::kScheduledIndexPath, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
}

// The same to write, which only a regular file without further names is for. Missing, it is made:
// separately, since the kernel refuses to open what another user made there for creating.
common::FileDescriptor OpenOrMakeIndex(int flags) {
    return common::OpenSharedFile(reports::kScheduledIndexPath, flags, kIndexMode);
}

common::FileDescriptor OpenIndexToWrite(int flags) {
    return common::OpenRegularFile(reports::kScheduledIndexPath, flags, common::Links::kNone);
}

bool WriteHeader(const common::FileDescriptor& index, const IndexHeader& header) {
    return lseek(index.Get(), kHeaderOffset, SEEK_SET) == kHeaderOffset &&
           common::WriteAll(index.Get(), common::BytesOf(header));
}

bool ReadHeader(const common::FileDescriptor& index, IndexHeader& header) {
    return common::ReadFull(index.Get(), common::BytesOf(header)) ==
           static_cast<std::ptrdiff_t>(sizeof header);
}

bool CreateIndex() {
    const common::FileDescriptor created = OpenOrMakeIndex(O_RDWR);
    return created.IsOpen() && WriteHeader(created, {});
}

bool CountOneMore() {
    const common::FileDescriptor index = OpenIndexToWrite(O_RDWR);
    IndexHeader header{};
    if (!index.IsOpen() || lseek(index.Get(), kHeaderOffset, SEEK_SET) != kHeaderOffset ||
        !ReadHeader(index, header)) {
        return false;
    }
    // The reserved bytes go back as they came.
    ++header.count;
    const bool written = WriteHeader(index, header);
    fchmod(index.Get(), kIndexMode);
    return written;
}

}  // namespace

bool reports::AppendScheduledEntry(const tagReportIndexEntry* entry) {
    if (entry == nullptr) {
        return false;
    }
    if (IsValidPath(reports::kScheduledIndexPath) == 0 && !CreateIndex()) {
        return false;
    }
    if (!CountOneMore()) {
        return false;
    }
    const common::FileDescriptor index = OpenIndexToWrite(O_WRONLY | O_APPEND);
    const bool written = index.IsOpen() && common::WriteAll(index.Get(), common::BytesOf(*entry));
    if (index.IsOpen()) {
        fchmod(index.Get(), kIndexMode);
    }
    return written;
}

bool ReadIndexEntry(short /*kind*/, std::vector<tagReportIndexEntry>& out, unsigned int uid,
                    unsigned int* err) {
    if (err == nullptr) {
        return false;
    }
    *err = kIndexOk;
    if (IsValidPath(reports::kScheduledIndexPath) == 0) {
        *err = kIndexMissing;
        return false;
    }
    const common::FileDescriptor index = OpenIndexToRead();
    if (!index.IsOpen()) {
        *err = kIndexOpenFailed;
        return false;
    }
    if (lseek(index.Get(), kHeaderOffset, SEEK_SET) != kHeaderOffset) {
        *err = kIndexSeekFailed;
        return false;
    }
    IndexHeader header{};
    if (!ReadHeader(index, header)) {
        *err = kIndexHeaderUnreadable;
        return false;
    }
    tagReportIndexEntry entry{};
    for (std::size_t records = 0; records < reports::kMaxScheduledRecords; ++records) {
        const std::ptrdiff_t got = reports::ReadRecord(index.Get(), common::BytesOf(entry));
        if (got <= 0) {
            break;
        }
        // A record that is torn, or just being written, is passed over.
        if (got == static_cast<std::ptrdiff_t>(sizeof entry) && (uid == 0 || entry.userId == uid)) {
            out.push_back(entry);
        }
    }
    return true;
}

bool WriteIndexEntry(short /*kind*/, std::vector<tagReportIndexEntry>& entries, unsigned int* err) {
    if (err == nullptr) {
        return false;
    }
    *err = kIndexOk;
    const common::FileDescriptor index = OpenOrMakeIndex(O_WRONLY);
    if (!index.IsOpen()) {
        *err = kIndexOpenFailed;
        return false;
    }
    std::vector<std::byte> image(kHeaderOffset);
    const IndexHeader header{.count = static_cast<std::uint32_t>(entries.size()), .reserved = {}};
    const auto append = [&image](std::span<const std::byte> bytes) {
        image.insert(image.end(), bytes.begin(), bytes.end());
    };
    append(common::BytesOf(header));
    append(std::as_bytes(std::span(entries)));

    // Written over the old contents and cut afterwards, not emptied first: whoever appends or reads
    // meanwhile, without a lock, always finds a header and whole records.
    LockFileHandle(index.Get());
    const bool written = common::WriteAll(index.Get(), image) &&
                         ftruncate(index.Get(), static_cast<off_t>(image.size())) == 0;
    UnlockFileHandle(index.Get());
    fchmod(index.Get(), kIndexMode);
    return written;
}

bool DeleteReportForFile(short kind, const char* path, unsigned int uid, unsigned int* err) {
    if (err == nullptr) {
        return false;
    }
    if (path == nullptr) {
        *err = kIndexNullPath;
        return false;
    }
    std::vector<tagReportIndexEntry> entries;
    if (!ReadIndexEntry(kind, entries, uid, err)) {
        return false;
    }
    if (entries.empty()) {
        return true;
    }
    const auto found = std::find_if(entries.begin(), entries.end(), [&](const auto& entry) {
        return common::FieldText(entry.reportPath) == path && (uid == 0 || entry.userId == uid);
    });
    if (found == entries.end()) {
        *err = kIndexNoSuchReport;
        return false;
    }
    std::remove(std::string(common::FieldText(found->reportPath)).c_str());
    entries.erase(found);
    // The records were filtered by user, so another user's records vanish from the index here. A
    // user's list is theirs alone, and other programs count on it.
    return WriteIndexEntry(kind, entries, err);
}
