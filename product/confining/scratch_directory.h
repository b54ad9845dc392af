#pragma once

#include <memory>
#include <string>

#include "common/file_descriptor.h"

namespace confining {

/// A folder of this engine alone for what is unpacked during scans, mode 0700, gone with its owner.
class ScratchDirectory {
public:
    /// Makes one in `wanted`, or where that cannot be written in "/dev/shm" or "/tmp". First
    /// removes what crashed engines of the same user left there. Null when no place will do.
    static std::unique_ptr<ScratchDirectory> Make(const std::string& wanted);

    ~ScratchDirectory();
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;

    [[nodiscard]] const std::string& Path() const { return m_path; }

private:
    ScratchDirectory(std::string path, common::FileDescriptor lock)
        : m_path(std::move(path)), m_lock(std::move(lock)) {}

    std::string m_path;
    common::FileDescriptor m_lock;  ///< locked while the folder is in use
};

}  // namespace confining
