#pragma once

// Both copy the bytes of `source` into `destination`, which is created with mode 0600 or emptied
// first. A read error ends the copy as the end of the file does. 1 when all that was read has been
// written; 0 for a null argument, a file that cannot be opened, a file copied onto itself (which is
// left as it was) and a failed write. Any thread.

/// A failed write deletes the destination; after a whole copy its mode is 0755.
int CopyFile(const char* source, const char* destination);

/// A failed write leaves what was written, and the mode is never changed.
int ZQCopyFile(const char* source, const char* destination);
