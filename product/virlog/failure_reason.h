#pragma once

#include <chrono>
#include <string>

/// Why no copy of the virus log could be made, found out afterwards: the function that makes it
/// tells no reason. `waited` is how long it took. One line without newline.
std::string ReasonOfFailure(std::chrono::nanoseconds waited);

/// Why this user may not cut the virus log, as far as that shows beforehand; empty when nothing
/// does. One line without newline.
std::string ReasonNotToCut();

/// Why the virus log could not be cut, likewise found out afterwards.
std::string ReasonOfFailedCut(std::chrono::nanoseconds waited);
