#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace scanapi {

/// What a verdict stands on besides the file and the options: a digest, 64 hexadecimal digits, of
/// the library's and our own version, of the bounds of a scan, of `settings` (whatever else an
/// administrator may set that changes verdicts) and of name, size and times of each file in
/// `databases`, in loading order. None when one of them cannot be looked at.
///
/// To be taken before the databases are loaded and again after it: only when both are the same they
/// stand for what was loaded. Any thread.
std::optional<std::string> VerdictBasis(const std::vector<std::string>& databases,
                                        std::string_view settings);

}  // namespace scanapi
