#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/fuzz/profile_oracle.h"

/// What the harnesses of profile files make of their input, which is text as far as it can be:
///
///     control line: four characters, see below; missing ones are zero bytes
///     section
///     key
///     value or default text
///     the file, from here to the end
///
/// Character 0: bit 0 takes the section from the file's headers instead, bit 1 the key from its
/// entries, bit 2 flips their case, bit 3 leaves the file away. Where bits 4 to 7 are all set, who
/// writes does it to a file on disk. Character 1: the size of the buffer. Character 2: which header
/// and entry. Character 3: "A" makes the first argument null, "B" the second and so on.
/// Character 4: the one thing that is asked, from "0"; each harness has its own list.
///
/// "\x1e", a count and a byte stand for eight times the count of that byte, so that long lines need
/// no long input.
class ProfileInput {
public:
    /// Made once and filled anew for every input: its memory is kept, which takes long to get.
    void Put(const std::uint8_t* data, std::size_t inputSize);

    std::string section;
    std::string key;
    std::string value;
    oracle::Content content;  ///< until the next Put()
    std::uint32_t size = 1;
    int nullArgument = 0;  ///< its number from 1; none at 0
    bool isOnDisk = false;

    /// The index of the thing asked, out of `count`.
    [[nodiscard]] unsigned int Asked(unsigned int count) const { return m_asked % count; }

    [[nodiscard]] oracle::Entry Entry() const { return {section, key, value}; }

    /// `argument`, or null where it is the `number`th and shall be.
    template <typename Type>
    Type* Argument(int number, Type* argument) const {
        return number == nullArgument ? nullptr : argument;
    }

private:
    unsigned char m_asked = '0';
    std::string m_file;  ///< a newline and the content
};

/// A buffer for a function to fill: of exactly the size told, so that the sanitizer sees every byte
/// too many, and beside it what must be in it afterwards.
class ProfileBuffer {
public:
    explicit ProfileBuffer(std::uint32_t size) : m_actual(size, kUntouched) {
        m_expected.assign(size, kUntouched);
    }

    char* Data() { return m_actual.data(); }
    [[nodiscard]] std::uint32_t Size() const { return static_cast<std::uint32_t>(m_actual.size()); }

    /// `text` must be in all but the last byte, with zeroes behind it; in the last byte `last`.
    void Expect(std::string_view text, char last = kUntouched);

    /// Ends the program when the buffer does not hold what must be in it.
    void Check(std::string_view what) const;

private:
    static constexpr char kUntouched = '\x5a';

    std::vector<char> m_actual;
    static inline std::string m_expected;
};

/// A file with changing content.
class ProfileFile {
public:
    explicit ProfileFile(std::string path) : m_path(std::move(path)) {}

    void Put(const oracle::Content& content) const;
    /// Reads it into `content`. False when it is not there.
    bool Get(std::string& content) const;
    [[nodiscard]] const char* Path() const { return m_path.c_str(); }

private:
    std::string m_path;
};

/// The path of a file in memory with this content; where there is none, one at which nothing is.
const char* InMemory(const oracle::Content& content);

/// The file that the harness of this process works on, in a folder of its own.
const ProfileFile& TheProfile();
