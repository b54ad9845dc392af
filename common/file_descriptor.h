#pragma once

#include <utility>

namespace common {

/// Owns an open file descriptor and closes it. Move-only.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int fd) : m_fd(fd) {}
    ~FileDescriptor() { Reset(); }

    FileDescriptor(FileDescriptor&& other) noexcept : m_fd(other.Release()) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        Reset(other.Release());
        return *this;
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    [[nodiscard]] int Get() const { return m_fd; }
    [[nodiscard]] bool IsOpen() const { return m_fd >= 0; }
    explicit operator bool() const { return IsOpen(); }

    /// Gives the descriptor away; the caller closes it.
    [[nodiscard]] int Release() { return std::exchange(m_fd, -1); }

    /// Closes what is held and takes `fd` instead.
    void Reset(int fd = -1);

private:
    int m_fd = -1;
};

}  // namespace common
