#pragma once

#include <sys/types.h>

// Any thread, except that SearchInFile moves the position of the descriptor.

/// The first index of `needle` in `haystack`, lengths in bytes; -1 when it is not there, for a null
/// pointer, a length below 1 and a needle longer than the haystack.
int SearchFor(const unsigned char* haystack, int haystackLength, const unsigned char* needle,
              int needleLength);

/// The offset in the file `fd` of the first match of `needle` at or behind `start`; -1 when there
/// is none, for a null or empty needle and when the file cannot be read or positioned.
///
/// The file's ASCII letters are compared as capitals, the needle's as they are: it has to be given
/// in capitals. Needles longer than 2,048 bytes are never found.
off_t SearchInFile(int fd, const unsigned char* needle, int needleLength, off_t start);
