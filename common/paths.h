#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// Any thread. What gives an int gives 1 for success and 0 for failure.

inline constexpr char kProductDirectory[] = "/usr/lib/Corvane/Corvane/";

/// The directory of the running program with its trailing "/", read through "/proc/self/exe".
int GetAppPath(char* buffer, std::size_t size);

/// The same through "/proc/<pid>/exe"; `buffer` has room for 260 bytes.
int GetModulePath(char* buffer);

/// The product directory, when it exists.
int GetZqPath(char* buffer, std::size_t size);

/// 1 when the path exists.
int IsValidPath(const char* path);

/// 1 when the path exists and is a directory, following links.
int IsDirectory(const char* path);

namespace common {

/// The path of `name` in the directory of the running program, g_szAppPath.
std::string InProgramDirectory(std::string_view name);

/// The path of `name` in kProductDirectory, whether or not there is one.
std::string InProductDirectory(std::string_view name);

/// The same in the product directory that GetZqPath finds; none where there is none.
std::optional<std::string> InFoundProductDirectory(std::string_view name);

/// How many bytes GetShortPath keeps of a path longer than `width`, before its dots and behind.
struct ShortPathEnds {
    std::size_t head;
    std::size_t tail;
};
ShortPathEnds EndsOfShortPath(std::size_t width);

}  // namespace common

/// Shortens `path` for display to `width` bytes: its head, "...", its tail. `output` has room for
/// width + 1 bytes. Always 1, but 0 for a null argument.
int GetShortPath(const char* path, char* output, int width);

/// A file name that is not yet used in `directory`: prefix, four random digits, "." and extension
/// ("tmp" unless one of at most 10 characters is given). `output` has room for 256 bytes and gets
/// the name alone. 0 when all names of the prefix are taken or a name does not fit.
int GetUniqueFileName(const char* directory, const char* prefix, const char* extension,
                      char* output);
