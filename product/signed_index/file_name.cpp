#include <algorithm>
#include <array>

#include "product/signed_index/index.h"

namespace signed_index {

namespace {

// What the engine loads.
constexpr std::array<std::string_view, 36> kEndings{
    "cat", "cbc", "cdb", "cfg", "cld", "crb", "cud",  "cvd", "db",  "fp",  "ftm",  "gdb",
    "hdb", "hdu", "hsb", "hsu", "idb", "ign", "ign2", "imp", "ioc", "ldb", "ldu",  "mdb",
    "mdu", "msb", "msu", "ndb", "ndu", "pdb", "pwdb", "sfp", "wdb", "yar", "yara", "zmd"};

bool IsNameCharacter(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || character == '.' || character == '_' ||
           character == '-';
}

}  // namespace

Refusal CheckFileName(std::string_view name) {
    if (name.empty() || name.size() > kMaxFileName || name.front() == '.' ||
        !std::all_of(name.begin(), name.end(), IsNameCharacter)) {
        return Refusal::kBadFileName;
    }
    const std::size_t dot = name.rfind('.');
    if (dot == std::string_view::npos ||
        std::find(kEndings.begin(), kEndings.end(), name.substr(dot + 1)) == kEndings.end()) {
        return Refusal::kNotADatabaseName;
    }
    return Refusal::kNone;
}

bool IsDigest(std::string_view text) {
    constexpr std::size_t kDigits = 64;
    return text.size() == kDigits && std::all_of(text.begin(), text.end(), [](char digit) {
               return (digit >= '0' && digit <= '9') || (digit >= 'a' && digit <= 'f');
           });
}

}  // namespace signed_index
