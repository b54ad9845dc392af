#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>

namespace definitions {

enum class CopyResult {
    kCopied,
    kUnreadable,  ///< the source, see errno
    kUnwritable,  ///< the target, see errno
    kTooLarge,    ///< the source holds more than it may
    kStopped,
};

/// What was copied, as it was on the way: who changes the source meanwhile changes both or none.
struct Copied {
    CopyResult result = CopyResult::kUnreadable;
    std::uint64_t size = 0;  ///< bytes
    std::string sha256;      ///< 64 digits in lower case; of kCopied only
};

/// Asked again and again, at least four times a second; false stops.
using GoOn = std::function<bool()>;

/// Copies the open file `source` to the new file `name` in the open folder `target`: mode 0644,
/// at most `limit` bytes, on the disk when this returns. What a failure leaves of it stays. Any
/// thread.
Copied CopyInto(int target, const std::string& name, int source, std::uint64_t limit,
                const GoOn& goOn);

/// Writes the new file `name` in the open folder `target`: mode 0644, on the disk when this
/// returns. False with the reason in errno, ECANCELED when `goOn`, which may be empty, stopped it.
/// Any thread.
bool WriteInto(int target, const std::string& name, std::span<const std::byte> content,
               const GoOn& goOn = {});

}  // namespace definitions
