#include "product/fetch/listed_files.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <unistd.h>

namespace fetch {

namespace {

constexpr std::size_t kBlock = 512;
constexpr std::size_t kNameSize = 100;
constexpr std::size_t kSizeAt = 124;
constexpr std::size_t kSizeDigits = 11;
constexpr std::size_t kMaxSize = std::size_t{1} << 32U;
constexpr std::size_t kMaxList = std::size_t{1} << 20U;

bool ReadAt(int file, std::size_t at, char* bytes, std::size_t size) {
    return ::pread(file, bytes, size, static_cast<off_t>(at)) == static_cast<ssize_t>(size);
}

// The list: a line about the database, one for each file that begins with its name and ":", and the
// signature.
bool AreAllIn(std::string_view list, const std::set<std::string, std::less<>>& names) {
    for (std::size_t end = list.find('\n'); end != std::string_view::npos; end = list.find('\n')) {
        list.remove_prefix(end + 1);
        const std::string_view name = list.substr(0, list.find(':'));
        if (list.empty() || name == "DSIG") {
            break;
        }
        if (!names.contains(name)) {
            return false;
        }
    }
    return true;
}

}  // namespace

bool HasListedFiles(int file) {
    std::set<std::string, std::less<>> names;
    std::string list;
    std::array<char, kBlock> head{};
    std::size_t at = kBlock;
    while (ReadAt(file, at, head.data(), head.size()) && head[0] != '\0') {
        const std::string name(head.data(), ::strnlen(head.data(), kNameSize));
        const std::string digits(&head[kSizeAt], kSizeDigits);
        const std::size_t size = std::strtoull(digits.c_str(), nullptr, 8);
        if (size > kMaxSize) {
            return false;
        }
        at += kBlock;
        if (name.ends_with(".info") && size <= kMaxList) {
            list.resize(size);
            if (!ReadAt(file, at, list.data(), size)) {
                return false;
            }
        }
        names.insert(name);
        at += (size + kBlock - 1) / kBlock * kBlock;
    }
    return AreAllIn(list, names);
}

}  // namespace fetch
