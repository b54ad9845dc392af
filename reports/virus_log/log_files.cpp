#include "reports/virus_log/log_files.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <limits>
#include <sys/stat.h>
#include <unistd.h>

#include "common/io.h"
#include "common/paths.h"
#include "common/regular_file.h"
#include "common/shared_file.h"
#include "common/string_algorithms.h"
#include "common/text_field.h"
#include "reports/virus_log/log_mutex.h"

namespace {

constexpr mode_t kLogFileMode = 0644;
constexpr mode_t kFolderMode = 0777;
constexpr mode_t kMadeFolderMode = 0666;
constexpr std::size_t kCopyBlockSize = 65'536;

bool WriteMain(int fd, std::uint32_t isResetting, const char* fileName) {
    tagVIRMAIN main{};
    main.isResetting = isResetting;
    CopyToField(main.fileName, fileName);
    return WriteAt(fd, 0, BytesOf(main));
}

bool ReadMain(tagVIRMAIN& main) {
    const FileDescriptor file = OpenExistingLogFile(kMainFile, O_RDONLY);
    return file && ReadAt(file.Get(), 0, BytesOf(main));
}

// Everybody may write the file, and what it names is opened for writing.
bool IsNameInFolder(std::string_view name) {
    return !name.empty() && name.find('/') == std::string_view::npos && name != "." && name != "..";
}

bool HandOut(const tagVIRMAIN& main, char* name) {
    const std::string_view fileName = FieldText(main.fileName);
    return IsNameInFolder(fileName) && CopyToField(std::span(name, kLogFileNameSize), fileName);
}

}  // namespace

std::string VirusLogPath(std::string_view name) {
    return common::InProgramDirectory("reports/").append(name);
}

void MakeVirusLogFolder() {
    const std::string folder = VirusLogPath("");
    if (::mkdir(folder.c_str(), kFolderMode) == 0) {
        // Kept as it always was, although a folder that lacks the right to be searched serves root
        // alone: the folder that installation makes is the one that users share.
        (void)::chmod(folder.c_str(), kMadeFolderMode);
    }
}

FileDescriptor OpenLogFile(std::string_view name) {
    return OpenSharedFile(VirusLogPath(name).c_str(), O_RDWR, kLogFileMode);
}

FileDescriptor OpenExistingLogFile(std::string_view name, int flags) {
    return common::OpenRegularFile(VirusLogPath(name).c_str(), flags, common::Links::kNone);
}

FileDescriptor OpenTemporaryLogFile(std::string_view name) {
    (void)RemoveLogFile(name);
    FileDescriptor file = OpenLogFile(name);
    if (file && ::ftruncate(file.Get(), 0) != 0) {
        file.Reset();
    }
    return file;
}

bool RemoveLogFile(std::string_view name) {
    return ::unlink(VirusLogPath(name).c_str()) == 0 || errno == ENOENT;
}

bool ReadAt(int fd, off_t offset, std::span<std::byte> bytes) {
    while (!bytes.empty()) {
        const ssize_t got = ::pread(fd, bytes.data(), bytes.size(), offset);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            return false;
        }
        bytes = bytes.subspan(static_cast<std::size_t>(got));
        offset += got;
    }
    return true;
}

bool WriteAt(int fd, off_t offset, std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::pwrite(fd, bytes.data(), bytes.size(), offset);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return false;
        }
        bytes = bytes.subspan(static_cast<std::size_t>(written));
        offset += written;
    }
    return true;
}

void ShareAsRecords(int fd) {
    constexpr mode_t kShared = 0666;
    const FileDescriptor records = OpenExistingLogFile(kRecordFile, O_RDONLY);
    struct stat status {};
    if (records && ::fstat(records.Get(), &status) == 0 && (status.st_mode & kShared) == kShared) {
        (void)::fchmod(fd, kShared);
    }
}

bool IsMainRecordFile(std::string_view name) {
    return text::ContainsIgnoringCase(name, kRecordFile);
}

bool IsSecondRecordFile(std::string_view name) {
    return text::ContainsIgnoringCase(name, kSecondRecordFile);
}

bool CopyContent(int from, int to) {
    constexpr mode_t kCopiedMode = 0755;
    const off_t size = SizeOf(from);
    if (size < 0 || !CopyBytes(from, 0, to, 0, static_cast<std::uint64_t>(size)) ||
        ::ftruncate(to, size) != 0) {
        return false;
    }
    (void)::fchmod(to, kCopiedMode);
    return true;
}

bool TakeRights(int from, int to, mode_t mode) {
    struct stat status {};
    if (::fstat(from, &status) == 0) {
        [[maybe_unused]] const int given = ::fchown(to, status.st_uid, status.st_gid);
    }
    return ::fchmod(to, mode) == 0;
}

bool IsOnDisk(int fd) {
    // Some file systems have nothing to wait for, and say so.
    return ::fsync(fd) == 0 || errno == EINVAL || errno == ENOSYS;
}

bool RenameLogFile(std::string_view name, std::string_view target) {
    if (std::rename(VirusLogPath(name).c_str(), VirusLogPath(target).c_str()) != 0) {
        return false;
    }
    const FileDescriptor folder(
        ::open(VirusLogPath("").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    (void)(folder && IsOnDisk(folder.Get()));
    return true;
}

off_t SizeOf(int fd) {
    struct stat status {};
    return ::fstat(fd, &status) == 0 ? status.st_size : -1;
}

bool CopyBytes(int from, off_t fromOffset, int to, off_t toOffset, std::uint64_t length) {
    std::array<std::byte, kCopyBlockSize> block{};
    while (length > 0) {
        const auto part = std::span(block).first(
            static_cast<std::size_t>(std::min<std::uint64_t>(length, block.size())));
        if (!ReadAt(from, fromOffset, part) || !WriteAt(to, toOffset, part)) {
            return false;
        }
        fromOffset += static_cast<off_t>(part.size());
        toOffset += static_cast<off_t>(part.size());
        length -= part.size();
    }
    return true;
}

bool GetFileNameFromMainFile(char* name) {
    if (name == nullptr) {
        return false;
    }
    tagVIRMAIN main{};
    if (ReadMain(main)) {
        return HandOut(main, name);
    }
    const LogMutex mutex(kMainFileMutex, kMainFileWait);
    if (!mutex.IsHeld()) {
        return false;
    }
    if (ReadMain(main)) {
        return HandOut(main, name);
    }
    const FileDescriptor file = OpenLogFile(kMainFile);
    return file && RestoreMainFileHeader(file.Get()) &&
           CopyToField(std::span(name, kLogFileNameSize), kRecordFile);
}

bool WriteResetMainFileHeader(int fd) {
    return WriteMain(fd, 1, kSecondRecordFile);
}

bool RestoreMainFileHeader(int fd) {
    return WriteMain(fd, 0, kRecordFile);
}

int OpenRecordOffsetDatabaseFile() {
    return OpenLogFile(kOffsetFile).Release();
}

bool WriteRecordOffsetDatabaseFile(int fd, long offset, unsigned int index) {
    if (offset < 0 || offset > static_cast<long>(std::numeric_limits<std::uint32_t>::max())) {
        return false;
    }
    const auto entry = static_cast<std::uint32_t>(offset);
    return WriteAt(fd, static_cast<off_t>(index) * static_cast<off_t>(sizeof entry),
                   BytesOf(entry));
}
