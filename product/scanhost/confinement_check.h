#pragma once

#include <string>

namespace scanhost {

/// What of the workers' confinement holds on this machine, a line each part, every one tried by a
/// child: "Landlock: holds", "Landlock: missing (Function not implemented)". The last lines are
/// what a worker confined like that could not do, or could. For a process of one thread.
std::string CheckReport();

}  // namespace scanhost
