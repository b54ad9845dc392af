#pragma once

#include <chrono>
#include <string>

/// Why no copy of the virus log could be made, found out afterwards: the function that makes it
/// tells no reason. `waited` is how long it took. One line without newline.
std::string ReasonOfFailure(std::chrono::nanoseconds waited);
