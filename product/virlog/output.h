#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// Gathers what is written to a descriptor and writes it in large pieces. After a failure nothing
/// more is written.
class Output {
public:
    explicit Output(int fd) : m_fd(fd) {}
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    /// What is written next is appended to this.
    std::string& Buffer() { return m_buffer; }

    /// Writes what is gathered when it is worth it. False when writing has failed, now or before.
    bool Pass();

    /// Writes what is left. False when writing has failed, now or before.
    bool Finish();

    /// The reason of the failure, as in errno; 0 while there was none.
    [[nodiscard]] int Error() const { return m_error; }

private:
    int m_fd;
    int m_error = 0;
    std::string m_buffer;
};

/// Says a line, given without newline, on standard error, after the program's name.
void Say(std::string_view line);

/// The number with `one` behind it where it is 1, else with `many`.
std::string Counted(std::uint64_t count, const char* one, const char* many);

/// Says on standard error that the output could not be written and why; nothing when whoever read
/// it has gone, as the end of a pipe does.
void ReportFailure(const Output& output);
