#include "product/scanhost/scratch.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sched.h>
#include <string_view>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <system_error>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "common/io.h"

namespace scanhost {

namespace {

constexpr std::uint64_t kMebibyte = 1U << 20U;

// libclamav makes at most 10,000 files of one, each in a folder of its own at worst.
constexpr const char* kMostFiles = "65536";

bool WriteTo(const char* path, std::string_view text) {
    const common::FileDescriptor file(::open(path, O_WRONLY | O_CLOEXEC));
    return file && common::WriteAll(file.Get(), text);
}

// The same user and group inside as outside.
std::string SameId(unsigned int id) {
    return std::to_string(id) + ' ' + std::to_string(id) + " 1";
}

bool EnterUserNamespace() {
    const uid_t user = ::geteuid();
    const gid_t group = ::getegid();
    return ::unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0 &&
           WriteTo("/proc/self/uid_map", SameId(user)) && WriteTo("/proc/self/setgroups", "deny") &&
           WriteTo("/proc/self/gid_map", SameId(group));
}

bool SetOption(int context, const char* key, const std::string& value) {
    return ::fsconfig(context, FSCONFIG_SET_STRING, key, value.c_str(), 0) == 0;
}

// Never attached to any folder: nobody else has a name for it, and nothing is left to unmount.
common::FileDescriptor MountMemory(std::uint64_t sizeMiB, uid_t owner, gid_t group) {
    const common::FileDescriptor context(::fsopen("tmpfs", FSOPEN_CLOEXEC));
    if (!context || !SetOption(context.Get(), "size", std::to_string(sizeMiB) + 'm') ||
        !SetOption(context.Get(), "nr_inodes", kMostFiles) ||
        !SetOption(context.Get(), "mode", "0700") ||
        !SetOption(context.Get(), "uid", std::to_string(owner)) ||
        !SetOption(context.Get(), "gid", std::to_string(group)) ||
        ::fsconfig(context.Get(), FSCONFIG_CMD_CREATE, nullptr, nullptr, 0) != 0) {
        return {};
    }
    return common::FileDescriptor(::fsmount(
        context.Get(), FSMOUNT_CLOEXEC, MOUNT_ATTR_NOSUID | MOUNT_ATTR_NODEV | MOUNT_ATTR_NOEXEC));
}

}  // namespace

std::uint64_t ScratchSizeMiB(std::uint64_t availableMiB, unsigned int workers) {
    // Half of it: scans need memory of their own, and so does everybody else.
    const std::uint64_t share = availableMiB / 2 / std::max(workers, 1U);
    return std::clamp(share, kLeastScratchMiB, kScratchMiB);
}

std::uint64_t AvailableMemoryMiB() {
    std::ifstream file("/proc/meminfo");
    std::string key;
    std::uint64_t kibibytes = 0;
    std::string unit;
    while (file >> key >> kibibytes && std::getline(file, unit)) {
        if (key == "MemAvailable:") {
            return kibibytes / 1024;
        }
    }
    return 0;
}

int EnterMemoryScratch(std::uint64_t sizeMiB, uid_t owner, gid_t group) {
    if (::geteuid() != 0 && !EnterUserNamespace()) {
        return errno;
    }
    const common::FileDescriptor mount = MountMemory(sizeMiB, owner, group);
    return mount && ::fchdir(mount.Get()) == 0 && ::chroot(".") == 0 ? 0 : errno;
}

std::unique_ptr<ScratchFolders> ScratchFolders::Make(const std::string& base) {
    auto parent = confining::ScratchDirectory::Make(base);
    return parent == nullptr
               ? nullptr
               : std::unique_ptr<ScratchFolders>(new ScratchFolders(std::move(parent)));
}

std::string ScratchFolders::PrefixOf(unsigned int worker) {
    return "worker-" + std::to_string(worker) + '-';
}

// By a name of its own each time: what its predecessor made unremovable is in nobody's way.
int ScratchFolders::Enter(unsigned int worker, uid_t owner, gid_t group) const {
    std::string path = m_parent->Path() + '/' + PrefixOf(worker) + "XXXXXX";
    // The working folder can be used by who may not go through the folders above it.
    return ::mkdtemp(path.data()) != nullptr && ::chown(path.c_str(), owner, group) == 0 &&
                   ::chdir(path.c_str()) == 0
               ? 0
               : errno;
}

void ScratchFolders::Clear(unsigned int worker) const {
    namespace fs = std::filesystem;
    std::error_code ignored;
    const std::string prefix = PrefixOf(worker);
    for (const auto& entry : fs::directory_iterator(m_parent->Path(), ignored)) {
        if (entry.path().filename().native().starts_with(prefix)) {
            fs::remove_all(entry.path(), ignored);
        }
    }
}

std::uint64_t ScratchFolders::RoomMiB() const {
    struct statvfs room {};
    return ::statvfs(m_parent->Path().c_str(), &room) == 0
               ? room.f_bavail * room.f_frsize / kMebibyte
               : 0;
}

}  // namespace scanhost
