// The older reader of profile files against the oracle.

#include <vector>

#include "common/profile.h"
#include "tests/fuzz/fuzz.h"
#include "tests/fuzz/profile_input.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const ProfileInput input(data, size);
    const char* const path = InMemory(input.content);
    constexpr char kUntouched = '\x5a';
    std::vector<char> buffer(input.size, kUntouched);
    const std::uint32_t length = GetPrivateProfileString(
        input.Argument(1, input.section.c_str()), input.Argument(2, input.key.c_str()),
        input.Argument(3, input.value.c_str()), input.Argument(4, buffer.data()), input.size,
        input.Argument(6, path));

    oracle::Legacy wanted{0, std::string(input.size, kUntouched)};
    if (input.nullArgument == 0 || input.nullArgument == 5 || input.nullArgument == 7) {
        wanted =
            oracle::ReadLegacy(input.content, input.section, input.key, input.value, wanted.buffer);
    }
    RequireSame(length, wanted.length, "the length");
    RequireSame(std::string(buffer.begin(), buffer.end()), wanted.buffer, "the buffer");
    return 0;
}
