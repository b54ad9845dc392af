#include "tests/unit/widgets/scratch_tree.h"

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "common/file_descriptor.h"

namespace {

constexpr uid_t kNobody = 65534;

void Check(bool ok, const std::string& what) {
    if (!ok) {
        throw std::runtime_error("scratch tree: " + what + ": " + std::strerror(errno));
    }
}

// In memory where there is such a place: making ten thousand folders on a disk takes a minute.
std::filesystem::path ScratchPlace() {
    const char* memory = "/dev/shm";
    return ::access(memory, W_OK | X_OK) == 0 ? std::filesystem::path(memory)
                                              : std::filesystem::temp_directory_path();
}

}  // namespace

ScratchTree::ScratchTree() {
    std::string name = (ScratchPlace() / "corvane-tree-XXXXXX").string();
    Check(::mkdtemp(name.data()) != nullptr, name);
    Check(::chmod(name.c_str(), 0755) == 0, name);
    m_root = name;
}

ScratchTree::~ScratchTree() {
    for (const std::string& path : m_locked) {
        (void)::chmod(path.c_str(), 0755);
    }
    std::error_code ignored;
    std::filesystem::remove_all(m_root, ignored);
}

void ScratchTree::MakeParents(const std::string& name) const {
    std::filesystem::create_directories(std::filesystem::path(PathOf(name)).parent_path());
}

void ScratchTree::Folder(const std::string& name) const {
    std::filesystem::create_directories(PathOf(name));
}

void ScratchTree::File(const std::string& name) const {
    MakeParents(name);
    Check(std::ofstream(PathOf(name)).good(), name);
}

void ScratchTree::Link(const std::string& target, const std::string& name) const {
    MakeParents(name);
    Check(::symlink(target.c_str(), PathOf(name).c_str()) == 0, name);
}

void ScratchTree::Fifo(const std::string& name) const {
    MakeParents(name);
    Check(::mkfifo(PathOf(name).c_str(), 0644) == 0, name);
}

void ScratchTree::Socket(const std::string& name) const {
    MakeParents(name);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = PathOf(name);
    Check(path.size() < sizeof address.sun_path, name);
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    const common::FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    Check(::bind(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0,
          name);
}

void ScratchTree::Remove(const std::string& name) const {
    Check(std::filesystem::remove_all(PathOf(name)) > 0, name);
}

void ScratchTree::Lock(const std::string& name) {
    m_locked.push_back(PathOf(name));
    Check(::chmod(m_locked.back().c_str(), 0) == 0, name);
}

void ScratchTree::Chain(const std::vector<std::string>& names) const {
    common::FileDescriptor folder(::open(m_root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    for (const std::string& name : names) {
        Check(::mkdirat(folder.Get(), name.c_str(), 0755) == 0 || errno == EEXIST, name);
        folder.Reset(::openat(folder.Get(), name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        Check(folder.IsOpen(), name);
    }
}

OrdinaryUser::OrdinaryUser() : m_before(::geteuid()) {
    if (m_before == 0) {
        Check(::seteuid(kNobody) == 0, "seteuid");
    }
}

OrdinaryUser::~OrdinaryUser() {
    if (m_before == 0) {
        (void)::seteuid(m_before);
    }
}
