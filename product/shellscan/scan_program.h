#pragma once

#include "product/shellscan/options.h"

namespace shellscan {

enum ExitStatus { kExitClean = 0, kExitFound = 1, kExitUnread = 2, kExitFailed = 3 };

/// Carries out one scan, in this process and only once. Gives the exit status, or ends the process
/// with it where the scan hangs. On the first thread, before there are others.
int ScanProgram(const Options& options);

}  // namespace shellscan
