#include "reports/virus_log/size_limit.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <limits>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "common/io.h"
#include "common/paths.h"
#include "common/profile.h"
#include "reports/virus_log/log_files.h"

namespace {

constexpr off_t kNarrowEntry = sizeof(std::uint32_t);
constexpr off_t kHeadSize = sizeof(tagVIRHEAD);

bool ReadLimit(const char* key, int* value) {
    const std::string path = common::InProgramDirectory("section.ini");
    std::array<char, 32> text{};
    if (GetPrivateProfileString("LOGLIMIT", key, "", text.data(), text.size(), path.c_str()) == 0) {
        return false;
    }
    *value = static_cast<int>(std::clamp<long>(std::strtol(text.data(), nullptr, 10),
                                               std::numeric_limits<int>::min(),
                                               std::numeric_limits<int>::max()));
    return true;
}

// The old files of a log, and from where on its records are kept.
struct Cut {
    common::FileDescriptor records;
    common::FileDescriptor offsets;
    tagVIRHEAD head{};
    std::int64_t firstKept = 0;
    off_t nextEntry = 0;  // in the table of offsets, after that of the first record kept
};

// The offset of the first record to keep. The table's entries are 4 bytes wide and are read 8 bytes
// at a time: so programs of the product always read it, and a log that one of them may cut must not
// be cut otherwise by another. It follows that a table of ordinary entries gives no usable offset.
bool FindFirstKept(Cut& cut, int limit) {
    const off_t size = virus_log::SizeOf(cut.offsets.Get());
    const off_t entry = size - off_t{limit} * kNarrowEntry;
    if (size < 0 || entry < 0 ||
        !virus_log::ReadAt(cut.offsets.Get(), entry, common::BytesOf(cut.firstKept))) {
        return false;
    }
    cut.nextEntry = entry + static_cast<off_t>(sizeof cut.firstKept);
    return cut.firstKept > 0 && cut.firstKept < virus_log::SizeOf(cut.records.Get());
}

bool WriteTrimmedRecords(const Cut& cut, int to, int limit) {
    tagVIRHEAD head = cut.head;
    head.counter.count = static_cast<std::uint32_t>(limit);
    const auto length =
        static_cast<std::uint64_t>(virus_log::SizeOf(cut.records.Get()) - cut.firstKept);
    return virus_log::WriteAt(to, 0, common::BytesOf(head)) &&
           virus_log::CopyBytes(cut.records.Get(), cut.firstKept, to, kHeadSize, length);
}

// Entries of the new table are 8 bytes wide, as the old ones were read. It ends early where the old
// one does: 8 bytes at a time there are fewer entries in it than records counted.
bool WriteTrimmedOffsets(const Cut& cut, int to, int limit) {
    const std::int64_t shift = cut.firstKept - kHeadSize;
    std::int64_t entry = kHeadSize;
    off_t from = cut.nextEntry;
    off_t at = 0;
    for (int i = 0; i < limit; ++i) {
        if (i > 0) {
            if (!virus_log::ReadAt(cut.offsets.Get(), from, common::BytesOf(entry))) {
                break;
            }
            from += static_cast<off_t>(sizeof entry);
            entry -= shift;
        }
        if (!virus_log::WriteAt(to, at, common::BytesOf(entry))) {
            return false;
        }
        at += static_cast<off_t>(sizeof entry);
    }
    return true;
}

// A temporary file that serves the next user's trim too, should this one not come to remove it.
common::FileDescriptor MakeTemporary(const char* name) {
    common::FileDescriptor file = virus_log::OpenTemporaryLogFile(name);
    if (file) {
        virus_log::ShareAsRecords(file.Get());
    }
    return file;
}

// Copies the temporary file over the log's own and removes it. Where this user may, one rename does
// both, so that no moment is left at which the log is half there.
bool PutInPlace(const char* temporary, std::string_view file, int from) {
    const common::FileDescriptor old = virus_log::OpenExistingLogFile(file, O_RDWR);
    struct stat before {};
    if (!old || ::fstat(old.Get(), &before) != 0) {
        return false;
    }
    // A copy has mode 0755; what all users could write they still can.
    constexpr mode_t kCopiedMode = 0755;
    constexpr mode_t kSharedBits = 0066;
    const mode_t mode = kCopiedMode | (before.st_mode & kSharedBits);
    if (virus_log::TakeRights(old.Get(), from, mode) && virus_log::RenameLogFile(temporary, file)) {
        return true;
    }
    if (!virus_log::CopyContent(from, old.Get())) {
        return false;
    }
    (void)::fchmod(old.Get(), mode);
    if (!virus_log::RemoveLogFile(temporary)) {
        // Another user's, left by a trim that gave up, in a folder as "/tmp" is.
        (void)::ftruncate(from, 0);
    }
    return true;
}

}  // namespace

bool GetLogCount(int* maxLimit, int* limit) {
    return maxLimit != nullptr && limit != nullptr && ReadLimit("MAXLIMIT", maxLimit) &&
           ReadLimit("LIMIT", limit);
}

bool ResetVirusLog(char* fileName) {
    if (fileName == nullptr) {
        return false;
    }
    Cut cut;
    cut.records = virus_log::OpenExistingLogFile(fileName, O_RDONLY);
    int maxLimit = 0;
    int limit = 0;
    if (!cut.records || !virus_log::ReadAt(cut.records.Get(), 0, common::BytesOf(cut.head)) ||
        !GetLogCount(&maxLimit, &limit)) {
        return false;
    }
    if (std::int64_t{maxLimit} > cut.head.counter.count) {
        return true;
    }
    const common::FileDescriptor records = MakeTemporary(virus_log::kTrimmedRecordFile);
    cut.offsets = virus_log::OpenExistingLogFile(virus_log::kOffsetFile, O_RDONLY);
    if (!records || !cut.offsets || !FindFirstKept(cut, limit)) {
        // The empty temporary stays behind: other programs of the product take it for granted.
        return false;
    }
    const common::FileDescriptor offsets = MakeTemporary(virus_log::kTrimmedOffsetFile);
    if (!offsets || !WriteTrimmedRecords(cut, records.Get(), limit) ||
        !WriteTrimmedOffsets(cut, offsets.Get(), limit) || !virus_log::IsOnDisk(records.Get()) ||
        !virus_log::IsOnDisk(offsets.Get())) {
        (void)virus_log::RemoveLogFile(virus_log::kTrimmedRecordFile);
        (void)virus_log::RemoveLogFile(virus_log::kTrimmedOffsetFile);
        return false;
    }
    return PutInPlace(virus_log::kTrimmedRecordFile, fileName, records.Get()) &&
           PutInPlace(virus_log::kTrimmedOffsetFile, virus_log::kOffsetFile, offsets.Get());
}
