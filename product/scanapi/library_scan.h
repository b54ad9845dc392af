#pragma once

#include <atomic>
#include <clamav.h>
#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <string_view>

#include "product/scanapi/scan_profile.h"
#include "product/scanapi/target_file.h"

namespace scanapi {

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
    std::string virusName;
    std::string infectedPath;  ///< the file, or the file and the member in it
};

/// How a scan may take the thread it runs on.
struct ScanManner {
    /// Called for each named member before it is scanned. Null: files that hold others end as
    /// Verdict::NeedsThread before they are looked into.
    std::function<void(std::string memberPath)> onMember;
    /// Set from another thread to end the scan at the next chance.
    const std::atomic<bool>* stop = nullptr;
};

/// The callbacks that the functions below rely on; called once, before signatures are loaded.
void InstallScanCallbacks(cl_engine* engine);

/// Scans `bytes`, the whole of `file`.
ScanOutcome ScanBytes(const cl_engine* engine, const ScanProfile& profile, const TargetFile& file,
                      std::span<const std::byte> bytes, const ScanManner& manner);

/// Scans `file` through its descriptor. It is read and never mapped: a file cut short while it is
/// scanned then gives a read error and not a fatal signal.
ScanOutcome ScanDescriptor(const cl_engine* engine, const ScanProfile& profile,
                           const TargetFile& file, const ScanManner& manner);

/// Keeps the library from printing. An error that it complains of while a file is scanned makes
/// that file unreadable.
void SilenceLibrary();

}  // namespace scanapi
