#pragma once

#include <string>

namespace common {

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

}  // namespace common
