#include "common/paths.h"

#include <array>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include "common/run_state.h"
#include "common/text_field.h"

namespace {

constexpr std::size_t kModulePathSize = 260;

// The directory of the program that the link `exe` of a process names, "/" at its end. Left out
// rather than cut when it does not fit: a cut path is another path.
int DirectoryOfProgram(const char* exe, char* buffer, std::size_t size) {
    std::array<char, 4096> program{};
    const ssize_t length = ::readlink(exe, program.data(), program.size());
    if (length <= 0 || static_cast<std::size_t>(length) == program.size()) {
        return 0;
    }
    const std::string_view path(program.data(), static_cast<std::size_t>(length));
    const std::string_view directory = path.substr(0, path.rfind('/') + 1);
    if (directory.empty() || directory.size() >= size) {
        return 0;
    }
    common::CopyToField({buffer, size}, directory);
    return 1;
}

}  // namespace

int GetAppPath(char* buffer, std::size_t size) {
    if (buffer == nullptr) {
        return 0;
    }
    return DirectoryOfProgram("/proc/self/exe", buffer, size);
}

int GetModulePath(char* buffer) {
    if (buffer == nullptr) {
        return 0;
    }
    const std::string exe = "/proc/" + std::to_string(::getpid()) + "/exe";
    return DirectoryOfProgram(exe.c_str(), buffer, kModulePathSize);
}

int GetZqPath(char* buffer, std::size_t size) {
    if (buffer == nullptr || sizeof(kProductDirectory) > size ||
        IsDirectory(kProductDirectory) == 0) {
        return 0;
    }
    common::CopyToField({buffer, size}, kProductDirectory);
    return 1;
}

namespace common {

std::string InProgramDirectory(std::string_view name) {
    return std::string(common::FieldText(g_szAppPath)).append(name);
}

std::string InProductDirectory(std::string_view name) {
    return std::string(kProductDirectory).append(name);
}

std::optional<std::string> InFoundProductDirectory(std::string_view name) {
    char directory[sizeof kProductDirectory];
    if (GetZqPath(directory, sizeof directory) == 0) {
        return std::nullopt;
    }
    return std::string(directory).append(name);
}

ShortPathEnds EndsOfShortPath(std::size_t width) {
    return {width / 2 > 3 ? width / 2 - 3 : 0, width - width / 2};
}

}  // namespace common

int IsValidPath(const char* path) {
    struct stat status {};
    return path != nullptr && ::stat(path, &status) == 0 ? 1 : 0;
}

int IsDirectory(const char* path) {
    struct stat status {};
    return path != nullptr && ::stat(path, &status) == 0 && S_ISDIR(status.st_mode) ? 1 : 0;
}

int GetShortPath(const char* path, char* output, int width) {
    if (path == nullptr || output == nullptr) {
        return 0;
    }
    const std::size_t total = width > 0 ? static_cast<std::size_t>(width) : 0;
    const std::string_view whole(path);
    std::string shown(whole);
    if (whole.size() > total) {
        const common::ShortPathEnds ends = common::EndsOfShortPath(total);
        shown = whole.substr(0, ends.head);
        shown += "...";
        shown += whole.substr(whole.size() - ends.tail);
        // Below 6 there is no room for the dots and both ends.
        shown.resize(total);
    }
    common::CopyToField({output, shown.size() + 1}, shown);
    return 1;
}
