#include "product/shellscan/path_sources.h"

#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

#include "common/argument_reader.h"
#include "common/file_descriptor.h"
#include "common/retrying.h"
#include "scan/run/tree_cursor.h"

namespace shellscan {

namespace {

std::string WorkingDirectory() {
    std::error_code error;
    return std::filesystem::current_path(error).string();
}

// 0, or why a path cannot be scanned.
int WhyUnreachable(const std::string& path) {
    if (path.size() >= scan::kWalkPathSize) {
        return ENAMETOOLONG;
    }
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 ? 0 : errno;
}

}  // namespace

std::string AbsolutePath(std::string_view path, std::string_view workingDirectory) {
    std::string whole;
    if (!path.starts_with('/')) {
        whole.append(workingDirectory).append("/");
    }
    whole.append(path);
    std::string clean;
    std::string_view rest = whole;
    while (!rest.empty()) {
        const std::string_view part = rest.substr(0, rest.find('/'));
        rest.remove_prefix(std::min(part.size() + 1, rest.size()));
        if (!part.empty() && part != ".") {
            clean.append("/").append(part);
        }
    }
    return clean.empty() ? "/" : clean;
}

void AddPath(std::string_view path, const scan::PathFilter& filter, PathsToScan& paths) {
    std::string absolute = AbsolutePath(path, path.starts_with('/') ? "" : WorkingDirectory());
    if (filter.LeavesOut(absolute.c_str())) {
        return;
    }
    if (const int error = WhyUnreachable(absolute); error != 0) {
        paths.unreachable.emplace_back(std::move(absolute), error);
    } else {
        paths.paths.push_back(std::move(absolute));
    }
}

bool ReadPathList(int fd, const std::function<void(std::string_view)>& onPath) {
    std::array<char, 65536> piece{};
    std::string path;
    for (;;) {
        const ssize_t size =
            common::Retrying([&] { return ::read(fd, piece.data(), piece.size()); });
        if (size < 0) {
            return false;
        }
        if (size == 0) {
            break;
        }
        for (const char byte : std::string_view(piece.data(), static_cast<std::size_t>(size))) {
            if (byte != '\0') {
                if (path.size() < PATH_MAX) {
                    path += byte;
                }
            } else if (!path.empty()) {
                onPath(path);
                path.clear();
            }
        }
    }
    if (!path.empty()) {
        onPath(path);
    }
    return true;
}

bool GatherPaths(const Options& options, const scan::PathFilter& filter, PathsToScan& paths,
                 std::string& problem) {
    for (const std::string& path : options.paths) {
        if (path.empty()) {
            paths.unreachable.emplace_back(path, ENOENT);
        } else {
            AddPath(path, filter, paths);
        }
    }
    if (!options.filesFrom) {
        return true;
    }
    common::FileDescriptor file;
    int fd = STDIN_FILENO;
    if (*options.filesFrom != "-") {
        file.Reset(::open(options.filesFrom->c_str(), O_RDONLY | O_CLOEXEC));
        fd = file.Get();
    }
    if (fd < 0 || !ReadPathList(fd, [&](std::string_view path) { AddPath(path, filter, paths); })) {
        problem = "the list of files " + common::Quoted(*options.filesFrom) +
                  " cannot be read: " + std::strerror(errno);
        return false;
    }
    return true;
}

}  // namespace shellscan
