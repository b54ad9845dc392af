#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace schdlscn {

/// What a scanner says of itself at its end. Data, and no more believed than its owner is.
struct ScanResult {
    std::int64_t infected = 0;
    std::int64_t unread = 0;
    bool isStopped = false;
};

/// Reads "scanned=3 infected=1 unread=0 ... stopped=0", with other keys in between, up to the
/// newline that has to end it. None for anything else. Any thread.
std::optional<ScanResult> ReadResult(std::string_view text);

}  // namespace schdlscn
