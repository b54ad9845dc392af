#pragma once

#include <cstddef>

// Byte strings ended by a zero byte, any thread. Null arguments are safe: a change returns null, a
// search finds nothing, a comparison gives 1. Changes are in place and return the string.

/// Number of bytes before the terminator; 0 for a null string.
std::size_t my_strlen(const char* string);

// ASCII letters only, whatever the locale.
char* My_StrLwr(char* string);
char* My_StrUpr(char* string);
char* my_strupr(char* string);
char* my_strlwrEx(char* string);

// The first `count` bytes, or all up to the terminator, by the C library's case functions: in a
// single-byte locale they change more than ASCII letters.
char* my_strlwr(char* string, std::size_t count);
char* strUpr(char* string, std::size_t count);

// Comparison without regard to the value 0x20 of each byte, letters or not: -1, 0 or 1.
int my_stricmp(const char* first, const char* second);
int my_strnicmp(const char* first, const char* second, std::size_t count);

/// The first place of `needle` in `string`; an empty needle is found at the start.
char* my_strstr(const char* string, const char* needle);
char* my_strrev(char* string);

// Remove white space, newlines and carriage returns at one end; TrimLeft shifts the text down.
char* TrimLeft(char* string);
char* TrimRight(char* string);
