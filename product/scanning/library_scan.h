#pragma once

#include <clamav.h>
#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <string_view>

#include "product/scanning/scan_profile.h"

namespace scanning {

enum class Verdict {
    Clean,
    Infected,
    Unreadable,  ///< not read, or not read whole
    Stopped,     ///< the scan was ended early
    PassedOver,  ///< clean, but of no known type, and the user did not ask for such files
};

struct ScanOutcome {
    Verdict verdict = Verdict::Unreadable;
    std::string virusName{};
    std::string
        member{};  ///< the infected one, as "member/inner member"; empty for the file itself
    std::string reason{};  ///< of Unreadable, a few words of ASCII; may be empty

    bool operator==(const ScanOutcome&) const = default;
};

/// One file to scan.
struct ScanInput {
    std::string baseName;  ///< some signatures look at it
    int descriptor = -1;   ///< read by ScanDescriptor only
    std::size_t size = 0;  ///< in bytes
};

/// Called for each named member before it is scanned, on the thread that scans. False ends the scan
/// at the next chance.
using OnMember = std::function<bool(std::string member)>;

/// The callbacks that the functions below rely on; called once, before signatures are loaded.
void InstallScanCallbacks(cl_engine* engine);

/// Scans `bytes`, the whole of `file`. `onMember` may be empty.
ScanOutcome ScanBytes(const cl_engine* engine, const ScanProfile& profile, const ScanInput& file,
                      std::span<const std::byte> bytes, const OnMember& onMember);

/// Scans `file` through its descriptor. It is read and never mapped: a file cut short while it is
/// scanned then gives a read error and not a fatal signal.
ScanOutcome ScanDescriptor(const cl_engine* engine, const ScanProfile& profile,
                           const ScanInput& file, const OnMember& onMember);

/// Keeps the library from printing. An error that it complains of while a file is scanned makes
/// that file unreadable.
void SilenceLibrary();

}  // namespace scanning
