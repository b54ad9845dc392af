#pragma once

#include <string>

#include "common/file_descriptor.h"

/// A report file that was just created in "reports/", open for reading and writing, mode 0600.
struct NewReport {
    FileDescriptor file;  ///< not open when no report could be created
    std::string name;     ///< the file's name, "<prefix>NNNN.log"
    std::string path;
};

/// Creates a new report. Everybody may write in "reports/": only a file that is ours from its
/// creation is used. Any thread.
NewReport CreateNewReport(const char* prefix);
