#include "product/signed_index/trusted_keys.h"

#include <algorithm>
#include <dirent.h>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "common/io.h"
#include "common/owners.h"
#include "common/regular_file.h"

namespace signed_index {

namespace {

constexpr std::size_t kMaxKeys = 64;

bool IsWritableByOthers(const struct stat& status) {
    // Who else may write by an access control list shows, too: its mask is the group's bits.
    return (status.st_mode & (S_IWGRP | S_IWOTH)) != 0;
}

// Whether only root can change what is open as `fd`, or only root and the caller.
bool IsSafe(int fd, bool callerIsFine) {
    struct stat status {};
    return ::fstat(fd, &status) == 0 && !IsWritableByOthers(status) &&
           (status.st_uid == 0 || (callerIsFine && status.st_uid == ::geteuid()));
}

bool IsCallers(int directory) {
    struct stat status {};
    return ::fstat(directory, &status) == 0 && !IsWritableByOthers(status) &&
           status.st_uid == ::geteuid();
}

Refusal ReadKey(int folder, const std::string& name, bool callerIsFine, PublicKey& key) {
    const common::FileDescriptor file =
        common::OpenRegularFileAt(folder, name.c_str(), O_RDONLY, common::Links::kNoSymbolic);
    if (!file || !IsSafe(file.Get(), callerIsFine)) {
        return Refusal::kKeyFileUnsafe;
    }
    std::array<char, kMaxKeySize + 1> text{};
    const auto length = common::ReadFull(file.Get(), std::as_writable_bytes(std::span(text)));
    if (length <= 0 || static_cast<std::size_t>(length) > kMaxKeySize) {
        return Refusal::kKeyMalformed;
    }
    return ParsePublicKey({text.data(), static_cast<std::size_t>(length)}, key);
}

std::vector<std::string> KeyNames(common::FileDescriptor folder) {
    std::vector<std::string> names;
    const common::DirectoryStream stream(::fdopendir(folder.Get()));
    if (stream == nullptr) {
        return names;
    }
    (void)folder.Release();  // the stream's now
    while (const dirent* entry = ::readdir(stream.get())) {
        if (std::string_view(entry->d_name).ends_with(".pub")) {
            names.emplace_back(entry->d_name);
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace

Refusal ReadTrustedKeys(const std::string& directory, TrustedKeys& trusted) {
    constexpr int kOpenFolder = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
    trusted = {};
    const common::FileDescriptor product(::open(directory.c_str(), kOpenFolder));
    const common::FileDescriptor folder(
        ::openat(product.Get(), kKeyFolder, kOpenFolder | O_NOFOLLOW));
    if (!product || !folder) {
        struct stat status {};
        const bool isThere =
            product && ::fstatat(product.Get(), kKeyFolder, &status, AT_SYMLINK_NOFOLLOW) == 0;
        return isThere ? Refusal::kKeyFolderUnsafe : Refusal::kKeyFolderMissing;
    }
    const bool callerIsFine = IsCallers(product.Get());
    if (!IsSafe(folder.Get(), callerIsFine)) {
        return Refusal::kKeyFolderUnsafe;
    }
    common::FileDescriptor listed(::openat(folder.Get(), ".", kOpenFolder));
    for (const std::string& name : KeyNames(std::move(listed))) {
        PublicKey key;
        const Refusal refusal = trusted.keys.size() < kMaxKeys
                                    ? ReadKey(folder.Get(), name, callerIsFine, key)
                                    : Refusal::kKeyMalformed;
        if (refusal == Refusal::kNone) {
            trusted.keys.push_back(key);
        } else {
            trusted.passedOver.push_back({name, refusal});
        }
    }
    return Refusal::kNone;
}

}  // namespace signed_index
