#pragma once

#include <cstddef>
#include <string>

#include "common/file_descriptor.h"

namespace reports {

/// Room for a report's path and its terminator.
inline constexpr std::size_t kReportPathSize = 256;

/// A report file that was just created, open for reading and writing, mode 0600.
struct NewReport {
    common::FileDescriptor file;  ///< not open when no report could be created
    std::string name;             ///< the file's name, "<prefix>NNNN.<extension>"
    std::string path;             ///< shorter than kReportPathSize
};

/// Creates a new report in `directory`, which ends in "/". Everybody may write there: only a file
/// that is ours from its creation is used. Any thread.
NewReport CreateNewReport(const std::string& directory, const char* prefix, const char* extension);

/// The same in "reports/" of the program directory, with the extension "log".
NewReport CreateNewReport(const char* prefix);

}  // namespace reports
