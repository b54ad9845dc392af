#pragma once

#include <string>
#include <vector>

namespace updturl {

/// What a stage that reads bytes from outside may touch.
struct Confinement {
    std::vector<std::string> readable;  ///< folders and files besides those of the system
    std::vector<std::string> writable;  ///< folders; below them everything may be made and removed
};

/// Takes from this process and all it starts: new privileges, core files, more memory, files and
/// processor time than an update needs, and every file that is not named, as far as the kernel can.
/// What was done, in words. What the kernel cannot do is said too and is no failure. For a process
/// of one thread.
std::string Confine(const Confinement& confinement);

}  // namespace updturl
