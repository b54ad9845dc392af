#pragma once

#include <optional>
#include <string>
#include <vector>

namespace scanapi {

/// What a verdict stands on besides the file and the options: a digest, 64 hexadecimal digits, of
/// the scanning library's and our own version, of the bounds of a scan, and of name, size, times
/// and place of the library's file and of each in `files`: the program that scans, and the
/// databases in loading order. None when one of them cannot be looked at.
///
/// To be taken before the databases are loaded and again after it: only when both are the same they
/// stand for what was loaded. Any thread.
std::optional<std::string> VerdictBasis(const std::vector<std::string>& files);

}  // namespace scanapi
