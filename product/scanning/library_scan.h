#pragma once

#include <atomic>
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
    Unreadable,   ///< not read, or not read whole
    Stopped,      ///< the user stopped the scan
    PassedOver,   ///< of no known type, and the user did not ask for such files
    NeedsThread,  ///< may take long, so not for the program's own thread; nothing was reported
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

/// How a scan may take the thread it runs on.
struct ScanManner {
    /// Called for each named member before it is scanned. Null: files that hold others end as
    /// Verdict::NeedsThread before they are looked into.
    std::function<void(std::string member)> onMember;
    /// Set from another thread to end the scan at the next chance.
    const std::atomic<bool>* stop = nullptr;
};

/// The callbacks that the functions below rely on; called once, before signatures are loaded.
void InstallScanCallbacks(cl_engine* engine);

/// Scans `bytes`, the whole of `file`.
ScanOutcome ScanBytes(const cl_engine* engine, const ScanProfile& profile, const ScanInput& file,
                      std::span<const std::byte> bytes, const ScanManner& manner);

/// Scans `file` through its descriptor. It is read and never mapped: a file cut short while it is
/// scanned then gives a read error and not a fatal signal.
ScanOutcome ScanDescriptor(const cl_engine* engine, const ScanProfile& profile,
                           const ScanInput& file, const ScanManner& manner);

/// Keeps the library from printing. An error that it complains of while a file is scanned makes
/// that file unreadable.
void SilenceLibrary();

}  // namespace scanning
