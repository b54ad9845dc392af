#pragma once

#include <cstdio>
#include <dirent.h>
#include <memory>

#include "common/libraries.h"

namespace common {

struct CloseDirectory {
    void operator()(DIR* directory) const { ::closedir(directory); }
};
/// Owns an open directory and closes it, the descriptor in it included. Move-only.
using DirectoryStream = std::unique_ptr<DIR, CloseDirectory>;

struct CloseFile {
    void operator()(std::FILE* file) const { (void)std::fclose(file); }
};
/// Owns an open stream and closes it; whoever needs to know that all was written flushes first.
/// Move-only.
using FileStream = std::unique_ptr<std::FILE, CloseFile>;

struct FreeLoadedLibrary {
    void operator()(void* library) const { ZQFreeLibrary(library); }
};
/// Owns a handle from ZQLoadLibrary or LoadDylibAndGetPFN and unloads the library. Nothing looked
/// up in it may be called afterwards. Move-only.
using LibraryHandle = std::unique_ptr<void, FreeLoadedLibrary>;

}  // namespace common
