// The three readers of profile files against the oracle, one of them for each input.

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "common/profile.h"
#include "tests/fuzz/fuzz.h"
#include "tests/fuzz/profile_input.h"

namespace {

constexpr std::uint32_t kUntouchedCode = 77;

void CheckText(const ProfileInput& input, const char* path) {
    ProfileBuffer buffer(input.size);
    std::uint32_t code = kUntouchedCode;
    const int result = GetPrivateProfileString(
        input.Argument(1, input.section.c_str()), input.Argument(2, input.key.c_str()),
        input.Argument(3, input.value.c_str()), input.Argument(4, buffer.Data()), buffer.Size(),
        input.Argument(6, path), input.Argument(7, &code));

    oracle::Lookup wanted{kUntouchedCode, {}};
    if (input.nullArgument == 0 || input.nullArgument == 5) {
        wanted = oracle::ReadText(input.content, input.section, input.key);
        if (wanted.code != 203 && wanted.code != 205) {
            buffer.Expect(wanted.code == 0 ? wanted.value : input.value);
        }
    }
    RequireSame(result, wanted.code == 0 ? 0 : -1, "the string reader's result");
    RequireSame(code, wanted.code, "the string reader's code");
    buffer.Check("the string reader's buffer");
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

    static std::vector<std::string_view> expected;
    expected.assign(1, "before");
    const bool isRead = (input.nullArgument == 0 || input.nullArgument > 3) &&
                        oracle::ReadSection(input.content, input.section, expected);
    RequireSame(result, isRead ? 0 : -1, "the section reader's result");
    RequireSame(static_cast<long long>(lines.size()), static_cast<long long>(expected.size()),
                "the section's number of lines");
    for (std::size_t i = 0; i < lines.size(); ++i) {
        RequireSame(lines[i], expected[i], "a line of the section");
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static ProfileInput input;
    input.Put(data, size);
    const char* const path = InMemory(input.content);
    constexpr std::array kChecks = {CheckText, CheckNumber, CheckSection};
    kChecks[input.Asked(kChecks.size())](input, path);
    return 0;
}
