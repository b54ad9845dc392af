#pragma once

#include <cstdint>

/// Cuts the virus log of the installed product so that the newest `count` records stay, and says on
/// standard output what was done. What goes wrong, and that it waits, it says on standard error.
///
/// 0 when it was done, also when there was nothing to do; 1 otherwise. A signal that ends the
/// program meanwhile does so only when no lock is left behind. For the main thread, before others
/// are started.
int Keep(std::uint32_t count);
