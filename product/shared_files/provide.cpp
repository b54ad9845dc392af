#include "product/shared_files/provide.h"

#include <array>
#include <cerrno>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <string>
#include <string_view>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/owners.h"

namespace shared_files {

namespace {

constexpr std::string_view kTemporaryPrefix = ".create-shared-files-";
constexpr mode_t kModeBits = 07777;

/// A name that nobody can foresee, and so nobody can take beforehand.
std::string TemporaryName() {
    std::uint64_t number = 0;
    if (::getrandom(&number, sizeof number, 0) != static_cast<ssize_t>(sizeof number)) {
        return {};
    }
    std::array<char, 17> digits{};
    (void)std::snprintf(digits.data(), digits.size(), "%016" PRIx64, number);
    return std::string(kTemporaryPrefix) + digits.data();
}

/// -1, which leaves things as they are, for a null name and one that nobody has here. Only root can
/// give files away.
uid_t UserOf(const Owner& owner) {
    const passwd* user =
        owner.user != nullptr && ::geteuid() == 0 ? ::getpwnam(owner.user) : nullptr;
    return user != nullptr ? user->pw_uid : static_cast<uid_t>(-1);
}
gid_t GroupOf(const Owner& owner) {
    const char* name = owner.group != nullptr ? owner.group : owner.user;
    const group* group = name != nullptr && ::geteuid() == 0 ? ::getgrnam(name) : nullptr;
    return group != nullptr ? group->gr_gid : static_cast<gid_t>(-1);
}

bool GiveTo(int fd, const Owner& owner) {
    return ::fchown(fd, UserOf(owner), GroupOf(owner)) == 0;
}

/// Whether another run took the file for a leftover before it was locked.
bool IsRemoved(int fd) {
    struct stat status {};
    return ::fstat(fd, &status) == 0 && status.st_nlink == 0;
}

/// A new file that goes away with the object unless it is given its name. It is locked while it has
/// the name of a temporary one, so that no other run takes it for a leftover. (Whoever may open the
/// folder could lock that, and keep an installation waiting; nobody else can open this file.)
class TemporaryFile {
public:
    explicit TemporaryFile(int folder) : m_folder(folder) {
        do {
            m_name = TemporaryName();
            if (m_name.empty()) {
                return;
            }
            m_file.Reset(::openat(folder, m_name.c_str(),
                                  O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
            if (!m_file) {
                return;
            }
            // Not every file system has locks.
            (void)::flock(m_file.Get(), LOCK_EX);
        } while (IsRemoved(m_file.Get()));
    }
    ~TemporaryFile() {
        if (m_file) {
            const int reason = errno;
            (void)::unlinkat(m_folder, m_name.c_str(), 0);
            errno = reason;
        }
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    [[nodiscard]] bool Fill(const SharedFile& file) const {
        return m_file && file.write(m_file.Get()) && GiveTo(m_file.Get(), file.owner) &&
               ::fchmod(m_file.Get(), file.mode) == 0 && ::fsync(m_file.Get()) == 0;
    }

    /// Gives the file its name; `flags` as for renameat2.
    bool Rename(const char* name, unsigned int flags) {
        int result = ::renameat2(m_folder, m_name.c_str(), m_folder, name, flags);
        if (result != 0 && errno == EINVAL && flags != 0) {
            // Not every file system can look before it renames.
            result = ::renameat(m_folder, m_name.c_str(), m_folder, name);
        }
        if (result != 0) {
            return false;
        }
        m_file.Reset();
        return ::fsync(m_folder) == 0;
    }

private:
    int m_folder;
    std::string m_name;
    common::FileDescriptor m_file;
};

bool HasOwnerAndMode(const SharedFile& file, const struct stat& status) {
    const uid_t user = UserOf(file.owner);
    return (user == static_cast<uid_t>(-1) || user == status.st_uid) &&
           (status.st_mode & kModeBits) == file.mode;
}

/// An empty file can be right, but where its mode is not set later, not one that was left before it
/// got it.
bool IsSound(const struct stat& status, FolderOwner owner, const SharedFile& file) {
    return status.st_size >= file.minimumSize &&
           (status.st_size > 0 || owner == FolderOwner::kAdministrator ||
            (status.st_mode & kModeBits) == file.mode);
}

/// In the administrator's folder, where nobody can put another file there meanwhile.
bool SetOwnerAndMode(int folder, const SharedFile& file, const struct stat& status) {
    return ::fchownat(folder, file.name, UserOf(file.owner), GroupOf(file.owner),
                      AT_SYMLINK_NOFOLLOW) == 0 &&
           ((status.st_mode & kModeBits) == file.mode ||
            ::fchmodat(folder, file.name, file.mode, 0) == 0);
}

bool LeadsToFile(int folder, const SharedLink& link) {
    struct stat status {};
    return ::fstatat(folder, link.target, &status, 0) == 0 && S_ISREG(status.st_mode);
}

/// Whether a run that is still alive works on it. What cannot be opened is no run's own.
bool IsAtWork(int folder, const char* name) {
    const common::FileDescriptor file(
        ::openat(folder, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    return file && ::flock(file.Get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

}  // namespace

Provided Provide(int folder, FolderOwner owner, const SharedFile& file) {
    struct stat status {};
    const bool isThere = ::fstatat(folder, file.name, &status, AT_SYMLINK_NOFOLLOW) == 0;
    if (!isThere && errno != ENOENT) {
        return Provided::kFailed;
    }
    if (isThere && !S_ISREG(status.st_mode)) {
        return Provided::kLeftAlone;
    }
    const bool isTakenBack =
        isThere && owner == FolderOwner::kUpdater && !HasOwnerAndMode(file, status);
    if (isThere && !isTakenBack && IsSound(status, owner, file)) {
        const bool isAsItShould =
            owner != FolderOwner::kAdministrator || SetOwnerAndMode(folder, file, status);
        return isAsItShould ? Provided::kSound : Provided::kFailed;
    }
    TemporaryFile temporary(folder);
    if (!temporary.Fill(file)) {
        return Provided::kFailed;
    }
    if (!temporary.Rename(file.name, isThere ? 0 : RENAME_NOREPLACE)) {
        return errno == EEXIST ? Provided::kLeftAlone : Provided::kFailed;
    }
    return isTakenBack ? Provided::kTakenBack : isThere ? Provided::kRepaired : Provided::kMade;
}

Provided ProvideLink(int folder, const SharedLink& link) {
    if (::symlinkat(link.target, folder, link.name) == 0) {
        return ::fsync(folder) == 0 ? Provided::kMade : Provided::kFailed;
    }
    struct stat status {};
    if (errno != EEXIST || ::fstatat(folder, link.name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
        return Provided::kFailed;
    }
    if (!S_ISREG(status.st_mode)) {
        return S_ISLNK(status.st_mode) ? Provided::kSound : Provided::kLeftAlone;
    }
    if (!LeadsToFile(folder, link)) {
        return Provided::kSound;
    }
    // Another run takes a half-made link for a leftover, and makes its own.
    constexpr int kTries = 3;
    for (int i = 0; i < kTries; ++i) {
        const std::string made = TemporaryName();
        if (made.empty() || ::symlinkat(link.target, folder, made.c_str()) != 0) {
            return Provided::kFailed;
        }
        if (::renameat(folder, made.c_str(), folder, link.name) == 0) {
            return ::fsync(folder) == 0 ? Provided::kMade : Provided::kFailed;
        }
        if (errno != ENOENT) {
            const int reason = errno;
            (void)::unlinkat(folder, made.c_str(), 0);
            errno = reason;
            return Provided::kFailed;
        }
    }
    return Provided::kFailed;
}

common::FileDescriptor ProvideFolder(int parent, FolderOwner parentOwner,
                                     const SharedFolder& folder) {
    if (::mkdirat(parent, folder.name, 0700) != 0 && errno != EEXIST) {
        return {};
    }
    const int follow = parentOwner == FolderOwner::kUpdater ? O_NOFOLLOW : 0;
    common::FileDescriptor open(
        ::openat(parent, folder.name, O_RDONLY | O_DIRECTORY | O_CLOEXEC | follow));
    struct stat status {};
    // The owner first: giving a folder away can take mode bits from it.
    if (open &&
        (!GiveTo(open.Get(), folder.owner) || ::fstat(open.Get(), &status) != 0 ||
         ((status.st_mode & kModeBits) != folder.mode && ::fchmod(open.Get(), folder.mode) != 0))) {
        open.Reset();
    }
    return open;
}

void RemoveLeftovers(int folder) {
    common::FileDescriptor copy(::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const common::DirectoryStream entries(copy ? ::fdopendir(copy.Get()) : nullptr);
    if (!entries) {
        return;
    }
    [[maybe_unused]] const int ownedByTheStream = copy.Release();
    while (const dirent* entry = ::readdir(entries.get())) {
        if (std::string_view(entry->d_name).starts_with(kTemporaryPrefix) &&
            !IsAtWork(folder, entry->d_name)) {
            (void)::unlinkat(folder, entry->d_name, 0);
        }
    }
}

}  // namespace shared_files
