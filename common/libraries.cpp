#include "common/libraries.h"

#include <cerrno>
#include <cstdio>
#include <dlfcn.h>
#include <string>
#include <unistd.h>

#include "common/log.h"
#include "common/paths.h"

char szErrMsg[2048]{};

namespace {

constexpr std::size_t kMaxLibraryPath = 260;

// Why a library could not be loaded. The loader itself often leaves no error number, and none of
// its own for a file that is there but no library.
unsigned int LoadError(const std::string& path) {
    if (errno == 0 && ::access(path.c_str(), R_OK) == 0) {
        errno = ELIBBAD;
    }
    return static_cast<unsigned int>(errno);
}

}  // namespace

void* ZQLoadLibrary(const char* fileName) {
    if (fileName == nullptr) {
        WriteToLog(common::kCommonLog, "ZQLoadLibrary: Invalid parameters");
        return nullptr;
    }
    errno = 0;
    void* library = ::dlopen(fileName, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        const int loadError = errno;
        const char* reason = ::dlerror();
        (void)std::snprintf(szErrMsg, sizeof szErrMsg, "In ZQLoadLibrary(): dlopen Error!!!%s",
                            reason != nullptr ? reason : "");
        WriteToLog(common::kCommonLog, szErrMsg);
        errno = loadError;
    }
    return library;
}

void* ZQGetProcAddress(void* library, const char* symbol) {
    if (library == nullptr || symbol == nullptr) {
        return nullptr;
    }
    return ::dlsym(library, symbol);
}

void ZQFreeLibrary(void* library) {
    if (library != nullptr) {
        ::dlclose(library);
    }
}

void* LoadDylibAndGetPFN(const char* library, const char* symbol, void** handle,
                         unsigned int* error) {
    if (library == nullptr || symbol == nullptr || handle == nullptr || error == nullptr) {
        return nullptr;
    }
    *error = 0;
    void* loaded = *handle;
    if (loaded == nullptr) {
        const auto found = common::InFoundProductDirectory(library);
        if (!found) {
            return nullptr;
        }
        // The length of a library's path is limited, and the limit is a cut.
        const std::string path = found->substr(0, kMaxLibraryPath);
        loaded = ZQLoadLibrary(path.c_str());
        if (loaded == nullptr) {
            *error = LoadError(path);
            return nullptr;
        }
    }
    errno = 0;
    void* address = ZQGetProcAddress(loaded, symbol);
    if (address == nullptr) {
        *error = static_cast<unsigned int>(errno != 0 ? errno : ENOSYS);
        if (*handle == nullptr) {
            ZQFreeLibrary(loaded);
        }
        return nullptr;
    }
    *handle = loaded;
    return address;
}
