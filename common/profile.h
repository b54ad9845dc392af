#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Profile files: settings kept as text in sections of key=value lines. Every settings file of the
// product that is text goes through here.
//
// Lines are read with a buffer of 1,024 bytes, so a longer line counts as several. White space
// around a line, a section name, a key and a value does not count; ";" or "#" at the start of a
// line makes it a comment. Section names and keys are compared without regard to ASCII case. Only
// the first section of a name and in it the first line of a key count; a value is taken literally,
// with its quotes. Section, key and value arguments are cut to their first 256 bytes.
//
// A null pointer makes a function fail at once and leaves the error code alone. Nothing is kept
// between calls and nothing is locked: of two values written at once one may be lost, nothing else.
// Who shares a file between threads or processes and wants both takes turns.

/// What the functions tell through their error code.
enum ProfileError : std::uint32_t {
    PROFILE_OK = 0,
    PROFILE_ERR_OPEN = 102,           ///< the file or its temporary file cannot be opened
    PROFILE_ERR_NO_VALUE = 201,       ///< the line has no "="; for an integer also an empty value
    PROFILE_ERR_NO_KEY = 202,         ///< the section is there, the key is not
    PROFILE_ERR_EMPTY_KEY = 203,      ///< the key argument is empty
    PROFILE_ERR_NO_SECTION = 204,     ///< no section of that name
    PROFILE_ERR_EMPTY_SECTION = 205,  ///< the section argument is empty
    PROFILE_ERR_EMPTY_VALUE = 206,    ///< the value argument is empty
};

/// Reads a value as text. 0 when found; else -1, and `destination` gets `defaultText`, but for an
/// empty section or key argument, which leaves it alone.
///
/// At most `size` - 1 bytes are copied and no terminator is added when the text fills them: hand in
/// a zero-filled buffer of `size` bytes, at least 1. Its last byte is never touched.
int GetPrivateProfileString(const char* section, const char* key, const char* defaultText,
                            char* destination, std::uint32_t size, const char* path,
                            std::uint32_t* error);

/// Reads a value as a decimal integer, up to its first non-digit, and gives its low 32 bits: 0 for
/// a text without digits. `defaultValue` on failure, but -1 for a null pointer.
int GetPrivateProfileInt(const char* section, const char* key, int defaultValue, const char* path,
                         std::uint32_t* error);

/// Writes section/key = value into the existing file at `path`. 0, or -1 with the file as it was.
///
/// The file is rewritten through `path` + ".tmp" (at most 260 bytes long): lines up to the changed
/// one are trimmed, what follows stays byte for byte. A missing section is appended. The new file
/// has the permission bits of the old one, and its owner where the caller may give files away. It
/// takes the place of the old one, or of a link to it, in one step; whether that step succeeded is
/// not told.
int WritePrivateProfileString(const char* section, const char* key, const char* value,
                              const char* path, std::uint32_t* error);

/// The same, and an empty value is accepted: the line then ends with its "=".
int WritePrivateProfileStringEx(const char* section, const char* key, const char* value,
                                const char* path, std::uint32_t* error);

/// Appends every line of a section but blanks and comments to `lines`, trimmed and whole. 0, also
/// when there is no such section; -1 for an empty section name and a file that cannot be opened.
int GetPrivateProfileSection(const char* section, std::vector<std::string>* lines,
                             const char* path);

/// The older, stricter reader, of KEY = VALUE lines with blanks around the "=" and a single word as
/// the value; it tells sections and keys apart by case. The length of the value, 0 when there is
/// none.
///
/// `size` bytes of `destination`, at least 1, are zeroed before each line that is looked at, and
/// then hold that line's third word; at the end of the file they hold `defaultText`. Both are cut
/// to leave room for a terminator. A file that cannot be opened and a null pointer leave them
/// alone. A section is found in any header that contains its name.
std::uint32_t GetPrivateProfileString(const char* section, const char* key, const char* defaultText,
                                      char* destination, std::uint32_t size, const char* path);
