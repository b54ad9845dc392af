#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace reports {

/// How an on-demand scan ended, as the end of its report says.
struct ScanEnding {
    bool isInterrupted = false;
    std::uint32_t infected = 0;
    std::uint32_t unreadable = 0;
};

/// The newest scan that the index "main.rpt" lists.
struct LastScan {
    std::string finished;              ///< in the words of the index
    std::optional<ScanEnding> ending;  ///< none when its report is gone, or not whole
};

/// What the summary at the end of a scan's report says. None for a text without a whole one.
std::optional<ScanEnding> EndingOf(std::string_view report);

/// None when no scan is listed. Reads the index and the end of one report. Any thread.
std::optional<LastScan> ReadLastScan();

}  // namespace reports
