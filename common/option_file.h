#pragma once

#include "common/file_descriptor.h"

// The option files: small files in the application directory that every user of
// the machine may change. They are made private and widened at once; links are never followed.

/// Opens an existing file for reading and writing.
FileDescriptor OpenOptionFile(const char* path);

/// Makes a file that is not there yet, with mode 0600, for reading and writing.
FileDescriptor CreateOptionFile(const char* path);

/// Sets the mode of an open file to 0666. A file of another user keeps its mode.
void ShareWithEveryone(const FileDescriptor& file);
