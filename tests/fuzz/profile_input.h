#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

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
/// writes does it to a file on disk. Character 1: the size of the
/// buffer. Character 2: which header and entry. Character 3: "A" makes the first argument null,
/// "B" the second and so on.
///
/// "\x1e", a count and a byte stand for eight times the count of that byte, so that long lines need
/// no long input.
struct ProfileInput {
    ProfileInput(const std::uint8_t* data, std::size_t size);

    std::string section;
    std::string key;
    std::string value;
    oracle::Content content;
    std::uint32_t size = 1;
    int nullArgument = 0;  ///< its number from 1; none at 0
    bool isOnDisk = false;

    /// `argument`, or null where it is the `number`th and shall be.
    template <typename Type>
    Type* Argument(int number, Type* argument) const {
        return number == nullArgument ? nullptr : argument;
    }
};

/// A file with changing content.
class ProfileFile {
public:
    explicit ProfileFile(std::string path) : m_path(std::move(path)) {}

    void Put(const oracle::Content& content) const;
    [[nodiscard]] oracle::Content Get() const;
    [[nodiscard]] const char* Path() const { return m_path.c_str(); }

private:
    std::string m_path;
};

/// The path of a file in memory with this content; where there is none, one at which nothing is.
const char* InMemory(const oracle::Content& content);

/// The file that the harness of this process works on, in a folder of its own.
const ProfileFile& TheProfile();
