#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <string_view>

#include "product/libdbmod/password_hash.h"

namespace dbmod {

/// A password on its way from the keyboard to the hash: one buffer, wiped when it goes.
class SecretText {
public:
    SecretText() = default;
    ~SecretText() { Clear(); }
    SecretText(const SecretText&) = delete;
    SecretText& operator=(const SecretText&) = delete;

    /// False when the text is full.
    bool Append(char c);
    void Clear();

    [[nodiscard]] const char* Text() const { return m_text.data(); }
    [[nodiscard]] std::size_t Length() const { return m_length; }
    bool operator==(const SecretText& other) const;

private:
    std::array<char, kMaxPasswordBytes + 1> m_text{};
    std::size_t m_length = 0;
};

enum class InputStatus {
    kOk,
    kEnded,    ///< the input ended before a line began
    kTooLong,  ///< over kMaxPasswordBytes bytes; the line was read to its end all the same
    kZeroByte,
    kFailed,  ///< see errno
};

/// Reads one line from `fd`, byte by byte so that what follows the line stays unread. The newline
/// is left away, and may be missing from the last line. `text` is empty unless the result is kOk.
/// `wait`, where given, comes before each byte and returns false to give up (kFailed).
InputStatus ReadPasswordLine(int fd, SecretText& text, const std::function<bool()>& wait = {});

// Not libbsd's readpassphrase(3): it cuts a password at a zero byte, cannot tell the end of the
// input from an empty line, and hides only what is typed on "/dev/tty", not on standard input.

/// Asks on the terminal `fd` without showing what is typed. A signal that ends or stops the program
/// takes effect after the terminal has been put back; after a stop the question is asked again.
InputStatus AskPassword(int fd, std::string_view prompt, SecretText& text);

}  // namespace dbmod
