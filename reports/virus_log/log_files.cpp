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
    common::CopyToField(main.fileName, fileName);
    return virus_log::WriteAt(fd, 0, common::BytesOf(main));
}

bool ReadMain(tagVIRMAIN& main) {
    const common::FileDescriptor file =
        virus_log::OpenExistingLogFile(virus_log::kMainFile, O_RDONLY);
    return file && virus_log::ReadAt(file.Get(), 0, common::BytesOf(main));
}

// Everybody may write the file, and what it names is opened for writing.
bool IsNameInFolder(std::string_view name) {
    return !name.empty() && name.find('/') == std::string_view::npos && name != "." && name != "..";
}

bool HandOut(const tagVIRMAIN& main, char* name) {
    const std::string_view fileName = common::FieldText(main.fileName);
    return IsNameInFolder(fileName) &&
           common::CopyToField(std::span(name, virus_log::kLogFileNameSize), fileName);
}

}  // namespace

std::string virus_log::VirusLogPath(std::string_view name) {
    return common::InProgramDirectory("reports/").append(name);
}

void virus_log::MakeVirusLogFolder() {
    const std::string folder = virus_log::VirusLogPath("");
    if (::mkdir(folder.c_str(), kFolderMode) == 0) {
        // Kept as it always was, although a folder that lacks the right to be searched serves root
        // alone: the folder that installation makes is the one that users share.
        (void)::chmod(folder.c_str(), kMadeFolderMode);
    }
}

common::FileDescriptor virus_log::OpenLogFile(std::string_view name) {
    return common::OpenSharedFile(virus_log::VirusLogPath(name).c_str(), O_RDWR, kLogFileMode);
}

common::FileDescriptor virus_log::OpenExistingLogFile(std::string_view name, int flags) {
    return common::OpenRegularFile(virus_log::VirusLogPath(name).c_str(), flags,
                                   common::Links::kNone);
}

common::FileDescriptor virus_log::OpenTemporaryLogFile(std::string_view name) {
    (void)virus_log::RemoveLogFile(name);
    common::FileDescriptor file = virus_log::OpenLogFile(name);
    if (file && ::ftruncate(file.Get(), 0) != 0) {
        file.Reset();
    }
    return file;
}

bool virus_log::RemoveLogFile(std::string_view name) {
    return ::unlink(virus_log::VirusLogPath(name).c_str()) == 0 || errno == ENOENT;
}

bool virus_log::ReadAt(int fd, off_t offset, std::span<std::byte> bytes) {
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

bool virus_log::WriteAt(int fd, off_t offset, std::span<const std::byte> bytes) {
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

void virus_log::ShareAsRecords(int fd) {
    constexpr mode_t kShared = 0666;
    const common::FileDescriptor records =
        virus_log::OpenExistingLogFile(virus_log::kRecordFile, O_RDONLY);
    struct stat status {};
    if (records && ::fstat(records.Get(), &status) == 0 && (status.st_mode & kShared) == kShared) {
        (void)::fchmod(fd, kShared);
    }
}

bool virus_log::IsMainRecordFile(std::string_view name) {
    return text::ContainsIgnoringCase(name, virus_log::kRecordFile);
}

bool virus_log::IsSecondRecordFile(std::string_view name) {
    return text::ContainsIgnoringCase(name, virus_log::kSecondRecordFile);
}

bool virus_log::CopyContent(int from, int to) {
    constexpr mode_t kCopiedMode = 0755;
    const off_t size = virus_log::SizeOf(from);
    if (size < 0 || !virus_log::CopyBytes(from, 0, to, 0, static_cast<std::uint64_t>(size)) ||
        ::ftruncate(to, size) != 0) {
        return false;
    }
    (void)::fchmod(to, kCopiedMode);
    return true;
}

bool virus_log::TakeRights(int from, int to, mode_t mode) {
    struct stat status {};
    if (::fstat(from, &status) == 0) {
        [[maybe_unused]] const int given = ::fchown(to, status.st_uid, status.st_gid);
    }
    return ::fchmod(to, mode) == 0;
}

bool virus_log::IsOnDisk(int fd) {
    // Some file systems have nothing to wait for, and say so.
    return ::fsync(fd) == 0 || errno == EINVAL || errno == ENOSYS;
}

bool virus_log::RenameLogFile(std::string_view name, std::string_view target) {
    if (std::rename(virus_log::VirusLogPath(name).c_str(),
                    virus_log::VirusLogPath(target).c_str()) != 0) {
        return false;
    }
    const common::FileDescriptor folder(
        ::open(virus_log::VirusLogPath("").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    (void)(folder && virus_log::IsOnDisk(folder.Get()));
    return true;
}

off_t virus_log::SizeOf(int fd) {
    struct stat status {};
    return ::fstat(fd, &status) == 0 ? status.st_size : -1;
}

bool virus_log::CopyBytes(int from, off_t fromOffset, int to, off_t toOffset,
                          std::uint64_t length) {
    std::array<std::byte, kCopyBlockSize> block{};
    while (length > 0) {
        const auto part = std::span(block).first(
            static_cast<std::size_t>(std::min<std::uint64_t>(length, block.size())));
        if (!virus_log::ReadAt(from, fromOffset, part) || !virus_log::WriteAt(to, toOffset, part)) {
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
    const virus_log::LogMutex mutex(virus_log::kMainFileMutex, virus_log::kMainFileWait);
    if (!mutex.IsHeld()) {
        return false;
    }
    if (ReadMain(main)) {
        return HandOut(main, name);
    }
    const common::FileDescriptor file = virus_log::OpenLogFile(virus_log::kMainFile);
    return file && RestoreMainFileHeader(file.Get()) &&
           common::CopyToField(std::span(name, virus_log::kLogFileNameSize),
                               virus_log::kRecordFile);
}

bool virus_log::WriteResetMainFileHeader(int fd) {
    return WriteMain(fd, 1, virus_log::kSecondRecordFile);
}

bool RestoreMainFileHeader(int fd) {
    return WriteMain(fd, 0, virus_log::kRecordFile);
}

int OpenRecordOffsetDatabaseFile() {
    return virus_log::OpenLogFile(virus_log::kOffsetFile).Release();
}

bool WriteRecordOffsetDatabaseFile(int fd, long offset, unsigned int index) {
    if (offset < 0 || offset > static_cast<long>(std::numeric_limits<std::uint32_t>::max())) {
        return false;
    }
    const auto entry = static_cast<std::uint32_t>(offset);
    return virus_log::WriteAt(fd, static_cast<off_t>(index) * static_cast<off_t>(sizeof entry),
                              common::BytesOf(entry));
}
