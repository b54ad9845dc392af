#pragma once

/// Message of the last library-load error (2,048 bytes, shared by all threads: two threads loading
/// at once may garble it).
extern char szErrMsg[2048];

/// Loads a shared library with all symbols resolved at once. Null on failure, which is logged in
/// "/zqcommon.log".
void* ZQLoadLibrary(const char* fileName);

/// The address of `symbol`, null for a null handle or symbol and when it is missing.
void* ZQGetProcAddress(void* library, const char* symbol);

/// Unloads a library; a null handle is ignored.
void ZQFreeLibrary(void* library);

/// Looks `symbol` up in `*handle`, loading `library` from the product directory first when that is
/// null; a freshly loaded library is stored in `*handle`, or unloaded again when it lacks the
/// symbol. Null on failure with the system error number in `*error`.
void* LoadDylibAndGetPFN(const char* library, const char* symbol, void** handle,
                         unsigned int* error);
