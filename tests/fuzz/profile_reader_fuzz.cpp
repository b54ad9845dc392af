// The three readers of profile files against the oracle.

#include <vector>

#include "common/profile.h"
#include "tests/fuzz/fuzz.h"
#include "tests/fuzz/profile_input.h"

namespace {

constexpr char kUntouched = '\x5a';
constexpr std::uint32_t kUntouchedCode = 77;

void CheckText(const ProfileInput& input, const char* path) {
    // A buffer of exactly the size told, so that the sanitizer sees every byte too many.
    std::vector<char> buffer(input.size, kUntouched);
    std::uint32_t code = kUntouchedCode;
    const int result = GetPrivateProfileString(
        input.Argument(1, input.section.c_str()), input.Argument(2, input.key.c_str()),
        input.Argument(3, input.value.c_str()), input.Argument(4, buffer.data()), input.size,
        input.Argument(6, path), input.Argument(7, &code));

    std::string expected(input.size, kUntouched);
    oracle::Lookup wanted{kUntouchedCode, {}};
    if (input.nullArgument == 0 || input.nullArgument == 5) {
        wanted = oracle::ReadText(input.content, input.section, input.key);
        if (wanted.code != 203 && wanted.code != 205) {
            expected = oracle::Filled(expected, wanted.code == 0 ? wanted.value : input.value);
        }
    }
    RequireSame(result, wanted.code == 0 ? 0 : -1, "the string reader's result");
    RequireSame(code, wanted.code, "the string reader's code");
    RequireSame(std::string(buffer.begin(), buffer.end()), expected, "the string reader's buffer");
}

void CheckNumber(const ProfileInput& input, const char* path) {
    const int defaultValue = static_cast<int>(input.size);
    std::uint32_t code = kUntouchedCode;
    const int result = GetPrivateProfileInt(input.Argument(1, input.section.c_str()),
                                            input.Argument(2, input.key.c_str()), defaultValue,
                                            input.Argument(4, path), input.Argument(5, &code));

    oracle::Number wanted{kUntouchedCode, -1};
    if (input.nullArgument == 0 || input.nullArgument == 3 || input.nullArgument > 5) {
        wanted = oracle::ReadNumber(input.content, input.section, input.key, defaultValue);
    }
    RequireSame(result, wanted.value, "the integer reader's result");
    RequireSame(code, wanted.code, "the integer reader's code");
}

void CheckSection(const ProfileInput& input, const char* path) {
    std::vector<std::string> lines = {"before"};
    const int result = GetPrivateProfileSection(input.Argument(1, input.section.c_str()),
                                                input.Argument(2, &lines), input.Argument(3, path));

    std::optional<std::vector<std::string>> wanted;
    if (input.nullArgument == 0 || input.nullArgument > 3) {
        wanted = oracle::ReadSection(input.content, input.section);
    }
    RequireSame(result, wanted ? 0 : -1, "the section reader's result");
    std::vector<std::string> expected = {"before"};
    if (wanted) {
        expected.insert(expected.end(), wanted->begin(), wanted->end());
    }
    RequireSame(static_cast<long long>(lines.size()), static_cast<long long>(expected.size()),
                "the section's number of lines");
    for (std::size_t i = 0; i < lines.size(); ++i) {
        RequireSame(lines[i], expected[i], "a line of the section");
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const ProfileInput input(data, size);
    const char* const path = InMemory(input.content);
    CheckText(input, path);
    CheckNumber(input, path);
    CheckSection(input, path);
    return 0;
}
