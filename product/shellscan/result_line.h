#pragma once

#include <string>

#include "common/file_descriptor.h"
#include "product/shellscan/run_writer.h"

// What the service behind a scan is told at its end.

namespace shellscan {

/// "scanned=3 infected=1 unread=0 deleted=1 repaired=0 stopped=0 seconds=12" and a newline.
/// `stopped` is 1 when the scan did not come to its own end.
std::string ResultLine(const RunSummary& summary);

/// Takes a descriptor that this program was started with, open for writing. Not open with the
/// problem.
common::FileDescriptor TakeResultDescriptor(int number, std::string& problem);

/// Writes the line. False when it could not, with the reason in errno.
bool WriteResult(int fd, const RunSummary& summary);

}  // namespace shellscan
