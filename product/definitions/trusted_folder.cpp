#include "product/definitions/trusted_folder.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <pwd.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "common/retrying.h"

namespace definitions {

namespace {

constexpr char kUpdaterUser[] = "corvane";

std::optional<uid_t> UpdaterUser() {
    std::vector<char> buffer(4096);
    passwd entry{};
    passwd* found = nullptr;
    return ::getpwnam_r(kUpdaterUser, &entry, buffer.data(), buffer.size(), &found) == 0 &&
                   found != nullptr
               ? std::optional(entry.pw_uid)
               : std::nullopt;
}

bool IsTrusted(uid_t owner) {
    return owner == 0 || owner == ::geteuid() || (::geteuid() == 0 && owner == UpdaterUser());
}

bool IsSame(const struct stat& left, int folder) {
    struct stat right {};
    return ::fstat(folder, &right) == 0 && left.st_dev == right.st_dev &&
           left.st_ino == right.st_ino;
}

// Empty when nothing speaks against the folder.
std::string Objection(int folder, std::span<const int> closed) {
    struct stat status {};
    if (::fstat(folder, &status) != 0) {
        return std::strerror(errno);
    }
    if (std::any_of(closed.begin(), closed.end(), [&](int each) { return IsSame(status, each); })) {
        return "it belongs to the product itself";
    }
    if (!IsTrusted(status.st_uid)) {
        return "it belongs to another user";
    }
    // Who may write by an access control list shows, too: its mask stands in the group's bits.
    return (status.st_mode & (S_IWGRP | S_IWOTH)) != 0 ? "others may write to it" : std::string();
}

}  // namespace

common::FileDescriptor OpenTrustedFolder(const std::string& path, std::string& why,
                                         std::span<const int> closed) {
    if (!path.starts_with('/')) {
        why = path + ": it is no absolute path";
        return {};
    }
    constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    common::FileDescriptor folder(common::Retrying([] { return ::open("/", kFlags); }));
    std::string_view rest = path;
    std::string walked;
    while (true) {
        const std::string objection =
            folder ? Objection(folder.Get(), closed) : std::strerror(errno);
        if (!objection.empty()) {
            why = (walked.empty() ? "/" : walked) + ": " + objection;
            return {};
        }
        rest.remove_prefix(std::min(rest.find_first_not_of('/'), rest.size()));
        if (rest.empty()) {
            return folder;
        }
        const std::string name(rest.substr(0, rest.find('/')));
        rest.remove_prefix(name.size());
        walked += "/" + name;
        if (name == "..") {
            why = walked + ": a path may not lead up";
            return {};
        }
        folder.Reset(
            common::Retrying([&] { return ::openat(folder.Get(), name.c_str(), kFlags); }));
    }
}

}  // namespace definitions
