#pragma once

#include <cstddef>

/// Room for any text of GetOSDetail with its terminator.
inline constexpr std::size_t kOsDetailSize = 72;

/// The kernel's name, "-" and the first three characters of its release: "Linux-6.1" for 6.1.0, but
/// "Linux-5.1" for 5.15.0 too.
///
/// `buffer` has room for kOsDetailSize bytes. 0 for a null buffer and when the kernel does not
/// tell. Any thread.
int GetOSDetail(char* buffer);
