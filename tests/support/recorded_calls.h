#pragma once

#include <optional>
#include <string>
#include <vector>

/// One system call that was made: as strace writes it with "-xx", its texts in their bytes again.
struct RecordedCall {
    std::string name;
    std::vector<std::string> arguments;
    long result = -1;

    /// An argument as a number: a descriptor, or a mode in octal digits.
    [[nodiscard]] int Descriptor(std::size_t argument) const;
    [[nodiscard]] unsigned int Mode(std::size_t argument) const;
    [[nodiscard]] bool Has(std::size_t argument, const char* flag) const;
};

/// The options of strace for a recording in `path`: of all calls that change files, with all that
/// was written.
std::vector<std::string> RecordingOptions(const std::string& path);

/// What was recorded. None when a line is not understood, or a text was cut.
std::optional<std::vector<RecordedCall>> ReadRecording(const std::string& path);
