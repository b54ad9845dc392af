#pragma once

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <string_view>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

// Small helpers that tests of files and processes share.

/// A folder of the test's own that goes away with the object.
class ScratchFolder {
public:
    ScratchFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "corvane-XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr) {
            std::abort();
        }
        m_path = name + "/";
    }
    ~ScratchFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    /// The folder's path, "/" at its end.
    [[nodiscard]] const std::string& Path() const { return m_path; }
    [[nodiscard]] std::string operator/(std::string_view name) const {
        return m_path + std::string(name);
    }

private:
    std::string m_path;
};

/// A file system of `size` (as "64k") on `folder`, to fill up. Not mounted where that is forbidden.
class TinyDisk {
public:
    TinyDisk(std::string folder, const std::string& size) : m_folder(std::move(folder)) {
        const std::string options = "size=" + size;
        m_mounted = ::mount("corvane-test", m_folder.c_str(), "tmpfs", 0, options.c_str()) == 0;
    }
    ~TinyDisk() {
        if (m_mounted) {
            ::umount2(m_folder.c_str(), MNT_DETACH);
        }
    }
    TinyDisk(const TinyDisk&) = delete;
    TinyDisk& operator=(const TinyDisk&) = delete;
    [[nodiscard]] bool IsMounted() const { return m_mounted; }

private:
    std::string m_folder;
    bool m_mounted = false;
};

/// Whether the product's fixed paths are the test's to fill: inside tests/support/sandbox.
inline bool InSandbox() {
    return std::getenv("CORVANE_SANDBOX") != nullptr;
}

inline std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// Whether the whole root is private. Where the machine allows no namespaces the sandbox lends the
/// machine's own root, and nothing of the system itself may be replaced there.
inline bool HasPrivateRoot() {
    return InSandbox() &&
           ("\n" + ReadFile("/proc/self/mounts")).find("\ncorvane-sandbox / ") != std::string::npos;
}

inline void WriteFile(const std::string& path, std::string_view content) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
}

/// Permission bits of a file, 0 when it is missing; a link is not followed.
inline unsigned int ModeOf(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0;
}

inline bool Exists(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0;
}

/// Runs `work` in a forked process without waiting for it; its result is the exit status.
inline pid_t StartChild(const std::function<int()>& work) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(work());
    }
    return child;
}

/// The exit status of a child, -1 when a signal ended it.
inline int JoinChild(pid_t child) {
    int status = 0;
    while (::waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) {
            return -1;
        }
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/// In a child: becomes the program, which is looked for in the PATH, with its arguments. Comes back
/// only when that failed, with the status a shell has for it.
inline int Become(std::vector<std::string> command) {
    std::vector<char*> words;
    words.reserve(command.size() + 1);
    for (std::string& word : command) {
        words.push_back(word.data());
    }
    words.push_back(nullptr);
    ::execvp(words[0], words.data());
    return 127;
}

/// Runs `work` in a forked process and gives its result, 0 to 255.
inline int InChild(const std::function<int()>& work) {
    return JoinChild(StartChild(work));
}

/// Waits until `condition` holds, at most `limit`.
inline bool WaitUntil(const std::function<bool()>& condition,
                      std::chrono::seconds limit = std::chrono::seconds(10)) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}
