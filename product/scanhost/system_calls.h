#pragma once

#include <linux/filter.h>
#include <string>
#include <vector>

namespace scanhost {

/// The system calls that a scan needs, as a program for the kernel. Anything else ends the process
/// with SIGSYS. Compiled once, by the host; empty with the reason in `why` when that failed.
std::vector<sock_filter> CompileFilter(std::string& why);

/// Puts this process under `filter` for good. False with errno when the kernel would not.
bool EnterFilter(const std::vector<sock_filter>& filter);

}  // namespace scanhost
