#include <cstdlib>
#include <cstring>
#include <span>

#include "common/profile.h"
#include "common/profile_lines.h"
#include "common/text_field.h"

namespace {

// What both readers have in common: `value` is the trimmed text behind the "=".
ProfileError FindValue(const char* sectionArgument, const char* keyArgument, const char* path,
                       std::string& value) {
    const std::string section = common::ProfileArgument(sectionArgument);
    if (section.empty()) {
        return PROFILE_ERR_EMPTY_SECTION;
    }
    const std::string key = common::ProfileArgument(keyArgument);
    if (key.empty()) {
        return PROFILE_ERR_EMPTY_KEY;
    }
    common::ProfileReader profile(path);
    if (!profile.IsOpen()) {
        return PROFILE_ERR_OPEN;
    }
    if (!profile.FindSection(section)) {
        return PROFILE_ERR_NO_SECTION;
    }
    for (char* line = profile.NextContentLine(); line != nullptr && !common::IsHeader(line);
         line = profile.NextContentLine()) {
        // Looked up first: comparing cuts the line there.
        char* equals = std::strchr(line, '=');
        if (CompareKey(line, key.c_str()) != 0) {
            continue;
        }
        if (equals == nullptr) {
            // A later line of the same key does not make up for the missing value.
            return PROFILE_ERR_NO_VALUE;
        }
        value = Trim(equals + 1);
        return PROFILE_OK;
    }
    return PROFILE_ERR_NO_KEY;
}

// Callers rely on the last byte of the buffer being left alone, so there is not always a
// terminator.
void CopyWithoutTerminator(char* destination, std::uint32_t size, std::string_view text) {
    if (size > 0) {
        common::CopyToUnterminatedField({destination, size - 1}, text);
    }
}

}  // namespace

int GetPrivateProfileString(const char* section, const char* key, const char* defaultText,
                            char* destination, std::uint32_t size, const char* path,
                            std::uint32_t* error) {
    if (section == nullptr || key == nullptr || defaultText == nullptr || destination == nullptr ||
        path == nullptr || error == nullptr) {
        return -1;
    }
    std::string value;
    *error = FindValue(section, key, path, value);
    switch (*error) {
        case PROFILE_OK:
            CopyWithoutTerminator(destination, size, value);
            return 0;
        case PROFILE_ERR_EMPTY_SECTION:
        case PROFILE_ERR_EMPTY_KEY:
            // Nothing was asked for, so there is nothing that the default could stand for.
            return -1;
        default:
            CopyWithoutTerminator(destination, size, defaultText);
            return -1;
    }
}

int GetPrivateProfileInt(const char* section, const char* key, int defaultValue, const char* path,
                         std::uint32_t* error) {
    if (section == nullptr || key == nullptr || path == nullptr || error == nullptr) {
        return -1;
    }
    std::string value;
    *error = FindValue(section, key, path, value);
    if (*error == PROFILE_OK && value.empty()) {
        *error = PROFILE_ERR_NO_VALUE;
    }
    if (*error != PROFILE_OK) {
        return defaultValue;
    }
    constexpr int kDecimal = 10;
    return static_cast<int>(
        static_cast<std::uint32_t>(std::strtol(value.c_str(), nullptr, kDecimal)));
}

int GetPrivateProfileSection(const char* section, std::vector<std::string>* lines,
                             const char* path) {
    if (section == nullptr || lines == nullptr || path == nullptr) {
        return -1;
    }
    const std::string name = common::ProfileArgument(section);
    common::ProfileReader profile(path);
    if (name.empty() || !profile.IsOpen()) {
        return -1;
    }
    if (!profile.FindSection(name)) {
        return 0;
    }
    for (const char* line = profile.NextContentLine(); line != nullptr && !common::IsHeader(line);
         line = profile.NextContentLine()) {
        lines->emplace_back(line);
    }
    return 0;
}
