#include "product/scanapi/target_file.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <linux/magic.h>
#include <linux/openat2.h>
#include <string_view>
#include <sys/syscall.h>
#include <sys/vfs.h>
#include <unistd.h>

#include "product/scanapi/local_file_systems.h"

namespace scanapi {

namespace {

// Those that <linux/magic.h> does not name.
constexpr unsigned long kConfigFsMagic = 0x62656570;
constexpr unsigned long kMessageQueueMagic = 0x19800202;
constexpr unsigned long kFuseControlMagic = 0x65735543;
constexpr unsigned long kRpcPipeMagic = 0x67596969;
constexpr unsigned long kNfsControlMagic = 0x6E667364;

// Errors that tell nothing of the file, but that there is no descriptor or memory for it.
bool IsShortage(int error) {
    return error == EMFILE || error == ENFILE || error == ENOMEM;
}

// Errors that tell of a file that is there and may not be read, or may be.
bool IsThereButClosed(int error) {
    return error == EACCES || error == EPERM || error == EIO || error == EWOULDBLOCK ||
           error == ESTALE || error == EOVERFLOW || IsShortage(error);
}

constexpr std::string_view kShortage = "there was no descriptor or memory for it";

bool HasOpenEffects(mode_t mode) {
    return S_ISFIFO(mode) || S_ISCHR(mode) || S_ISBLK(mode);
}

struct SplitPath {
    std::string folder;
    std::string baseName;
};

SplitPath Split(std::string_view path) {
    const auto slash = path.rfind('/');
    if (slash == std::string_view::npos) {
        return {".", std::string(path)};
    }
    return {std::string(path.substr(0, std::max<std::size_t>(slash, 1))),
            std::string(path.substr(slash + 1))};
}

}  // namespace

bool IsPseudoFileSystem(unsigned long magic) {
    static constexpr std::array<unsigned long, 22> kMagics{
        PROC_SUPER_MAGIC,    SYSFS_MAGIC,      DEVPTS_SUPER_MAGIC, DEBUGFS_MAGIC,
        TRACEFS_MAGIC,       SECURITYFS_MAGIC, CGROUP_SUPER_MAGIC, CGROUP2_SUPER_MAGIC,
        BPF_FS_MAGIC,        PSTOREFS_MAGIC,   EFIVARFS_MAGIC,     BINFMTFS_MAGIC,
        SELINUX_MAGIC,       SMACK_MAGIC,      NSFS_MAGIC,         SOCKFS_MAGIC,
        ANON_INODE_FS_MAGIC, kConfigFsMagic,   kMessageQueueMagic, kFuseControlMagic,
        kRpcPipeMagic,       kNfsControlMagic,
    };
    return std::find(kMagics.begin(), kMagics.end(), magic) != kMagics.end();
}

std::shared_ptr<TargetFile> TargetFile::Open(const char* path, EngineOpenStatus& status) {
    status = kOpenFailed;
    const std::string_view name(path);
    // A longer name would be cut in the messages and become another file's.
    if (name.empty() || name.size() >= kEngineFileNameSize) {
        return nullptr;
    }
    auto [folder, baseName] = Split(name);
    auto target = std::make_shared<TargetFile>();
    target->m_path = name;
    target->m_baseName = std::move(baseName);
    // The folder is held from here on, so that a folder swapped later changes nothing.
    target->m_folder.Reset(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (target->m_baseName.empty()) {
        return nullptr;
    }
    struct statfs fileSystem {};
    if (!target->m_folder) {
        target->m_whyClosed = kShortage;
        const bool isSeen = IsShortage(errno) && stat(path, &target->m_opened) == 0 &&
                            statfs(path, &fileSystem) == 0;
        return isSeen ? Accepted(std::move(target), fileSystem, status) : nullptr;
    }
    // Opening is not without effect on what is no file: a writer that waits at a FIFO would be let
    // go, a tape would be wound back, a watchdog set off. What comes under the name only after this
    // look is still refused below.
    struct stat named {};
    if (fstatat(target->m_folder.Get(), target->m_baseName.c_str(), &named, 0) == 0 &&
        HasOpenEffects(named.st_mode)) {
        status = kOpenRefused;
        return nullptr;
    }
    // A link is followed: the program hands one over only as the path that the user picked.
    target->m_file.Reset(openat(target->m_folder.Get(), target->m_baseName.c_str(),
                                O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!target->m_file && IsShortage(errno)) {
        target->m_whyClosed = kShortage;
    }
    if (target->m_file) {
        if (fstat(target->m_file.Get(), &target->m_opened) != 0 ||
            fstatfs(target->m_file.Get(), &fileSystem) != 0) {
            return nullptr;
        }
    } else if (!IsThereButClosed(errno) ||
               fstatat(target->m_folder.Get(), target->m_baseName.c_str(), &target->m_opened, 0) !=
                   0 ||
               fstatfs(target->m_folder.Get(), &fileSystem) != 0) {
        return nullptr;
    }
    return Accepted(std::move(target), fileSystem, status);
}

std::shared_ptr<TargetFile> TargetFile::Accepted(std::shared_ptr<TargetFile> target,
                                                 const struct statfs& fileSystem,
                                                 EngineOpenStatus& status) {
    const auto magic = static_cast<unsigned long>(fileSystem.f_type);
    if (!S_ISREG(target->m_opened.st_mode) || IsPseudoFileSystem(magic)) {
        status = kOpenRefused;
        return nullptr;
    }
    target->m_isLocal = IsLocalFileSystem(magic);
    return target;
}

common::FileDescriptor TargetFile::OpenFolderAhead(const std::string& path) {
    open_how how{};
    how.flags = O_PATH | O_DIRECTORY | O_CLOEXEC;
    how.resolve = RESOLVE_CACHED;
    return common::FileDescriptor(
        static_cast<int>(syscall(SYS_openat2, AT_FDCWD, path.c_str(), &how, sizeof(how))));
}

std::shared_ptr<TargetFile> TargetFile::OpenAhead(int folder, const std::string& path,
                                                  std::size_t name) {
    auto target = std::make_shared<TargetFile>();
    target->m_path = path;
    target->m_baseName = path.substr(name);
    const char* baseName = target->m_baseName.c_str();
    // Opening is not without effect on what is no file; see above.
    struct stat named {};
    if (path.size() >= kEngineFileNameSize ||
        fstatat(folder, baseName, &named, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISREG(named.st_mode)) {
        return nullptr;
    }
    target->m_file.Reset(
        openat(folder, baseName, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | O_NOFOLLOW));
    struct statfs fileSystem {};
    if (!target->m_file || fstat(target->m_file.Get(), &target->m_opened) != 0 ||
        !S_ISREG(target->m_opened.st_mode) || fstatfs(target->m_file.Get(), &fileSystem) != 0 ||
        !IsLocalFileSystem(static_cast<unsigned long>(fileSystem.f_type))) {
        return nullptr;
    }
    target->m_isLocal = true;
    return target;
}

std::ptrdiff_t TargetFile::ReadStart(std::span<std::byte> buffer) const {
    std::size_t filled = 0;
    while (filled < buffer.size()) {
        const auto got = pread(m_file.Get(), buffer.data() + filled, buffer.size() - filled,
                               static_cast<off_t>(filled));
        if (got > 0) {
            filled += static_cast<std::size_t>(got);
        } else if (got == 0) {
            break;
        } else if (errno != EINTR) {
            return -1;
        }
    }
    return static_cast<std::ptrdiff_t>(filled);
}

}  // namespace scanapi
