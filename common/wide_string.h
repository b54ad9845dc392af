#pragma once

#include <cstddef>

// Strings of unsigned 16-bit units ended by a zero unit, as the product's binary files hold them.
// Each function mirrors the C library's namesake on units; no surrogates or encodings are looked
// at.
//
// Null arguments are safe: a copy, append or change returns its first argument untouched, a search
// finds nothing, a comparison gives 1. Comparisons return -1, 0 or 1. Buffers must have room, as
// with the C library. Any thread may call.

/// Number of units before the terminator; 0 for a null string.
std::size_t my_wcslen(const unsigned short* string);

// Copy and append. Sizes are in units; my_wcsncpy pads with zero units and, like its namesake, does
// not terminate a string of `count` units or more; my_wcsncat always terminates.
unsigned short* my_wcscpy(unsigned short* destination, const unsigned short* source);
unsigned short* my_wcsncpy(unsigned short* destination, const unsigned short* source,
                           std::size_t count);
unsigned short* my_wcscat(unsigned short* destination, const unsigned short* source);
unsigned short* my_wcsncat(unsigned short* destination, const unsigned short* source,
                           std::size_t count);

// Search; the terminator can be searched for, and an empty needle is found at the start.
unsigned short* my_wcschr(const unsigned short* string, unsigned short unit);
unsigned short* my_wcsrchr(const unsigned short* string, unsigned short unit);
unsigned short* my_wcsstr(const unsigned short* string, const unsigned short* needle);

// Comparison by unit value; my_wcscscmp is the case-sensitive twin's other name.
int my_wcscmp(const unsigned short* first, const unsigned short* second);
int my_wcscscmp(const unsigned short* first, const unsigned short* second);
int my_wcsncmp(const unsigned short* first, const unsigned short* second, std::size_t count);

// Comparison without regard to the value 0x20 of each unit, letters or not.
int my_wcsicmp(const unsigned short* first, const unsigned short* second);
int my_wcsnicmp(const unsigned short* first, const unsigned short* second, std::size_t count);

// Changes in place; they return the string. Case functions act on ASCII letters only.
unsigned short* my_wcsrev(unsigned short* string);
unsigned short* my_wcslwr(unsigned short* string);
unsigned short* my_wcsupr(unsigned short* string);
unsigned short* my_wcsset(unsigned short* string, unsigned short unit);
unsigned short* my_wcsnset(unsigned short* string, unsigned short unit, std::size_t count);

// Counted operations on units, zero units included.
unsigned short* my_wmemchr(const unsigned short* units, unsigned short unit, std::size_t count);
int my_wmemcmp(const unsigned short* first, const unsigned short* second, std::size_t count);
unsigned short* my_wmemcpy(unsigned short* destination, const unsigned short* source,
                           std::size_t count);
unsigned short* my_wmemmove(unsigned short* destination, const unsigned short* source,
                            std::size_t count);
unsigned short* my_wmemset(unsigned short* units, unsigned short unit, std::size_t count);

// Between byte and wide strings. All return the destination, null for a null argument.

/// Stores each unit's low byte.
char* CopyWSZToSZ(char* destination, const unsigned short* source);
/// Widens each byte to a unit, as an unsigned value.
unsigned short* CopySZToWSZ(unsigned short* destination, const char* source);
/// At most `count` bytes, widened as signed values; always terminated.
unsigned short* CopySZToWSZEx(unsigned short* destination, const char* source, std::size_t count);
/// Appends each unit's low byte.
char* CatWSZToSZ(char* destination, const unsigned short* source);
/// Appends each byte widened to a unit, as an unsigned value.
unsigned short* CatSZToWSZ(unsigned short* destination, const char* source);
