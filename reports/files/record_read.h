#pragma once

#include <cstddef>
#include <span>

namespace reports {

/// Reads a record of an index at the position of `fd`, and leaves that where the next one begins:
/// also at the end of the file when only the start of a record is there, for it may just be growing
/// and have more of them by the next call.
///
/// The bytes read, fewer than the record has at the end of the file; 0 when there is none, -1 for
/// an error. Any thread.
std::ptrdiff_t ReadRecord(int fd, std::span<std::byte> record);

}  // namespace reports
