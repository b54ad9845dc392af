#pragma once

#include <chrono>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>

#include "common/file_descriptor.h"
#include "product/scanapi/kept_file_systems.h"
#include "tests/support/scratch.h"

/// A folder in the build folder, which in the sandbox is the only one that is on a disk; removed at
/// the end. Verdicts are remembered there on most machines.
class KeptFolder {
public:
    KeptFolder() {
        std::string path = BUILD_FOLDER "/kept-XXXXXX";
        m_path = ::mkdtemp(path.data()) == nullptr ? "/nonexistent/" : path + "/";
    }
    ~KeptFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    KeptFolder(const KeptFolder&) = delete;
    KeptFolder& operator=(const KeptFolder&) = delete;

    [[nodiscard]] std::string operator/(std::string_view name) const {
        return m_path + std::string(name);
    }

    [[nodiscard]] bool IsKept() const {
        const common::FileDescriptor folder(::open(m_path.c_str(), O_RDONLY | O_CLOEXEC));
        struct stat status {};
        scanapi::KeptFileSystems fileSystems;
        return ::fstat(folder.Get(), &status) == 0 &&
               fileSystems.Of(folder.Get(), status.st_dev).has_value();
    }

    /// Waits until what was changed so far is old enough to be remembered under a lease.
    void Settle() const {
        WriteFile(*this / "last", "");
        struct stat status {};
        (void)::stat((*this / "last").c_str(), &status);
        const auto changed = scanapi::FileTime{status.st_ctim.tv_sec + 2,
                                               static_cast<std::uint32_t>(status.st_ctim.tv_nsec)};
        (void)WaitUntil([&] {
            timespec now{};
            clock_gettime(CLOCK_REALTIME_COARSE, &now);
            return changed <=
                   scanapi::FileTime{now.tv_sec, static_cast<std::uint32_t>(now.tv_nsec)};
        });
        std::filesystem::remove(*this / "last");
    }

private:
    std::string m_path;
};
