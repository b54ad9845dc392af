#pragma once

#include <cstdint>
#include <optional>

namespace virus_log {

/// Sets the count in the head of both record files to the number of records they hold, as far as
/// these are whole to the end of the file; a file with a torn record keeps its count. A writer that
/// was killed between head and record has left a count that is too high, and so does every trim; no
/// record could be deleted or merged by it.
///
/// The count of the main record file, which is made when it is missing. None when mutex "10011"
/// stays taken for 10 seconds, or that file has no counter, or cannot be opened or written.
std::optional<std::uint32_t> CorrectCounts();

/// The same for a caller who holds mutex "10011" already.
std::optional<std::uint32_t> CorrectHeldCounts();

}  // namespace virus_log
