#pragma once

#include <chrono>

namespace scanapi {

/// How long a thread that was told to end is waited for before it is left to end by itself.
inline constexpr std::chrono::milliseconds kEndPatience(200);

/// Keeps this library in memory for the rest of the process, for a thread that still runs in it
/// when the program unloads it.
void KeepLibraryLoaded();

}  // namespace scanapi
