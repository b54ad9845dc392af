#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>

// What every harness stands on. A harness gets bytes, cuts arguments from them, calls what it is
// named after and compares the outcome with what must be; the first difference ends the program.

/// What a harness defines: 0, always. The fuzzer calls it in the "fuzz" preset, the replay program
/// of replay_main.cpp in every other one.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

/// Ends the program, which is how a harness says that it has found something.
[[noreturn]] inline void Fail(std::string_view what) {
    std::fprintf(stderr, "fuzz: %.*s\n", static_cast<int>(what.size()), what.data());
    std::abort();
}

inline void Require(bool holds, std::string_view what) {
    if (!holds) {
        Fail(what);
    }
}

/// The bytes with everything that is not printable as "\xNN".
inline std::string Escaped(std::string_view bytes) {
    std::string text;
    for (const char byte : bytes) {
        if (byte >= ' ' && byte <= '~' && byte != '\\') {
            text += byte;
            continue;
        }
        constexpr std::string_view kDigits = "0123456789abcdef";
        const auto value = static_cast<unsigned char>(byte);
        text += {'\\', 'x', kDigits[value >> 4U], kDigits[value & 15U]};
    }
    return text;
}

inline void RequireSame(std::string_view actual, std::string_view expected, std::string_view what) {
    if (actual != expected) {
        Fail(std::string(what) + " is \"" + Escaped(actual) + "\" and should be \"" +
             Escaped(expected) + "\"");
    }
}

inline void RequireSame(long long actual, long long expected, std::string_view what) {
    if (actual != expected) {
        Fail(std::string(what) + " is " + std::to_string(actual) + " and should be " +
             std::to_string(expected));
    }
}

/// Cuts arguments from the front of a fuzzer's input, which must outlive them: nothing is copied.
class FuzzInput {
public:
    FuzzInput(const std::uint8_t* data, std::size_t size)
        : m_rest(reinterpret_cast<const char*>(data), size) {}

    /// One byte, 0 at the end of the input.
    unsigned char TakeByte() {
        if (m_rest.empty()) {
            return 0;
        }
        const auto byte = static_cast<unsigned char>(m_rest.front());
        m_rest.remove_prefix(1);
        return byte;
    }

    /// All up to the next newline, which is dropped; all that is left when there is none.
    std::string_view TakeLine() {
        const std::string_view line = m_rest.substr(0, m_rest.find('\n'));
        m_rest.remove_prefix(std::min(line.size() + 1, m_rest.size()));
        return line;
    }

    /// The next `size` bytes, or as many as are left.
    std::string_view TakeBytes(std::size_t size) {
        const std::string_view bytes = m_rest.substr(0, size);
        m_rest.remove_prefix(bytes.size());
        return bytes;
    }

    [[nodiscard]] bool IsEmpty() const { return m_rest.empty(); }

    std::string_view TakeRest() { return std::exchange(m_rest, {}); }

private:
    std::string_view m_rest;
};
