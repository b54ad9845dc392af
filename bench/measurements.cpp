#include "bench/measurements.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

namespace {

// The number behind a word of such a file, 0 without one.
long NumberBehind(const std::filesystem::path& file, const char* wanted) {
    std::ifstream lines(file);
    std::string word;
    while (lines >> word) {
        if (word == wanted) {
            long kib = 0;
            lines >> kib;
            return kib;
        }
    }
    return 0;
}

}  // namespace

long PeakMemory() {
    return NumberBehind("/proc/self/status", "VmHWM:");
}

long ProportionalMemory() {
    return NumberBehind("/proc/self/smaps_rollup", "Pss:");
}

long ProportionalMemory(const char* program) {
    long sum = 0;
    std::error_code ignored;
    for (const auto& process : std::filesystem::directory_iterator("/proc", ignored)) {
        const auto target = std::filesystem::read_symlink(process.path() / "exe", ignored);
        if (target.filename() == program) {
            sum += NumberBehind(process.path() / "smaps_rollup", "Pss:");
        }
    }
    return sum;
}
