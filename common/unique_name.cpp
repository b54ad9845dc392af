#include <cerrno>
#include <cstdlib>
#include <string>
#include <string_view>
#include <sys/stat.h>

#include "common/paths.h"
#include "common/text_field.h"

namespace {

constexpr std::size_t kNameSize = 256;
constexpr std::size_t kMaxExtension = 10;
constexpr int kNumbers = 10'000;
// Enough to find a free name by chance while most are free; then they are tried one by one.
constexpr int kRandomTries = 200;

enum class NameState { kFree, kTaken, kUnusable };

std::string TwoDigits(int number) {
    return {static_cast<char>('0' + number / 10), static_cast<char>('0' + number % 10)};
}

// A dangling link counts as taken: whoever creates the file must not write through it.
NameState StateOf(const std::string& path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) == 0) {
        return NameState::kTaken;
    }
    return errno == ENAMETOOLONG ? NameState::kUnusable : NameState::kFree;
}

}  // namespace

int GetUniqueFileName(const char* directory, const char* prefix, const char* extension,
                      char* output) {
    if (directory == nullptr || prefix == nullptr || output == nullptr) {
        return 0;
    }
    std::string_view ending = "tmp";
    if (extension != nullptr && std::string_view(extension).size() <= kMaxExtension) {
        ending = extension;
    }
    std::string folder(directory);
    if (folder.empty() || folder.back() != '/') {
        folder += '/';
    }
    for (int attempt = 0; attempt < kRandomTries + kNumbers; ++attempt) {
        const bool byChance = attempt < kRandomTries;
        const int inOrder = attempt - kRandomTries;
        const int first = byChance ? std::rand() % 100 : inOrder / 100;
        const int second = byChance ? std::rand() % 100 : inOrder % 100;
        std::string name = prefix + TwoDigits(first) + TwoDigits(second) + ".";
        name += ending;
        if (name.size() >= kNameSize) {
            return 0;
        }
        switch (StateOf(folder + name)) {
            case NameState::kFree:
                common::CopyToField({output, kNameSize}, name);
                return 1;
            case NameState::kUnusable:
                return 0;
            case NameState::kTaken:
                break;
        }
    }
    return 0;
}
