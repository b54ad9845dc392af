#pragma once

#include <cstdint>
#include <ctime>
#include <string_view>

#include "scan/run/scan_listener.h"

namespace shellscan {

/// How a scan went.
struct RunSummary {
    bool isInterrupted = false;
    std::uint32_t scanned = 0;
    std::uint32_t infected = 0;
    std::uint32_t repaired = 0;
    std::uint32_t deleted = 0;
    std::uint32_t skipped = 0;
    std::uint32_t ioErrors = 0;  ///< files that the engine could not read
    std::uint64_t unread = 0;    ///< these, and all else that was not read
    std::time_t start = 0;
    std::time_t end = 0;
};

/// Writes what a scan is and does. One thread at a time: Begin(), then the others, then End().
class RunWriter {
public:
    RunWriter() = default;
    virtual ~RunWriter() = default;
    RunWriter(const RunWriter&) = delete;
    RunWriter& operator=(const RunWriter&) = delete;

    /// With the settings in force; the engine can be asked for its version.
    virtual void Begin() = 0;
    virtual void Step(const scan::ScanStep& step) = 0;
    /// What was not read and has no step: a path, and why.
    virtual void Unread(std::string_view path, std::string_view reason) = 0;
    virtual void End(const RunSummary& summary) = 0;

    /// 0, or why something could not be written, as in errno.
    [[nodiscard]] virtual int Error() const = 0;
};

}  // namespace shellscan
