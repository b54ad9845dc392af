#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <sys/vfs.h>

#include "abi/scanapi.h"
#include "common/file_descriptor.h"

namespace scanapi {

/// One regular file held open for a scan, with the folder it was found in.
class TargetFile {
public:
    /// Opens `path` without blocking. Null on failure, with the reason in `status`: kOpenRefused
    /// for what is no regular file or lies on a pseudo file system, kOpenFailed for what is not
    /// there. A regular file that may not be read, or for which there is no descriptor or memory,
    /// is opened all the same and IsReadable() is false: its scan then says so.
    static std::shared_ptr<TargetFile> Open(const char* path, EngineOpenStatus& status);

    /// Opens a file that may never be asked for: its path is `path`, which ends in a bare name that
    /// begins at `name`. `folder` is the open folder that holds it.
    ///
    /// Follows no link, never blocks, and has no effect on what is no regular file. Null for that,
    /// for a file that may not be read, for one that is not local, and where Open() gives null. The
    /// folder has to be on a local file system: another one would be waited for.
    static std::shared_ptr<TargetFile> OpenAhead(int folder, const std::string& path,
                                                 std::size_t name);

    /// Opens the folder `path` to look in it for files ahead, from what the kernel knows by heart:
    /// no file system is waited for. Closed where that does not do.
    static common::FileDescriptor OpenFolderAhead(const std::string& path);

    [[nodiscard]] const std::string& Path() const { return m_path; }
    [[nodiscard]] const std::string& BaseName() const { return m_baseName; }
    [[nodiscard]] bool IsReadable() const { return m_file.IsOpen(); }
    /// In a few words, where it is not.
    [[nodiscard]] std::string_view WhyClosed() const { return m_whyClosed; }
    /// Whether reading it ends in any case (local_file_systems.h). Of any other file nothing is
    /// asked by a thread that more than one scan depends on.
    [[nodiscard]] bool IsLocal() const { return m_isLocal; }
    [[nodiscard]] int Descriptor() const { return m_file.Get(); }
    /// -1 when it was opened ahead.
    [[nodiscard]] int FolderDescriptor() const { return m_folder.Get(); }

    /// The file's state when it was opened, before a byte of it was read.
    [[nodiscard]] const struct stat& Opened() const { return m_opened; }
    [[nodiscard]] std::size_t Size() const { return static_cast<std::size_t>(m_opened.st_size); }

    /// Fills `buffer` from the start of the file; the bytes read, -1 when a read failed.
    [[nodiscard]] std::ptrdiff_t ReadStart(std::span<std::byte> buffer) const;

private:
    /// `target`, whose state is known; null with the status for what is no file to scan.
    static std::shared_ptr<TargetFile> Accepted(std::shared_ptr<TargetFile> target,
                                                const struct statfs& fileSystem,
                                                EngineOpenStatus& status);

    std::string m_path;
    std::string m_baseName;
    common::FileDescriptor m_folder;
    common::FileDescriptor m_file;
    std::string_view m_whyClosed = "it may not be read";
    struct stat m_opened {};
    bool m_isLocal = false;
};

/// True for a file system whose files are made up by the kernel as they are read.
bool IsPseudoFileSystem(unsigned long magic);

}  // namespace scanapi
