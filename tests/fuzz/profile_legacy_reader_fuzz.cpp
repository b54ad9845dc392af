// The older reader of profile files against the oracle.

#include <algorithm>

#include "common/profile.h"
#include "tests/fuzz/fuzz.h"
#include "tests/fuzz/profile_input.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static ProfileInput input;
    input.Put(data, size);
    ProfileBuffer buffer(input.size);
    const std::uint32_t length = GetPrivateProfileString(
        input.Argument(1, input.section.c_str()), input.Argument(2, input.key.c_str()),
        input.Argument(3, input.value.c_str()), input.Argument(4, buffer.Data()), buffer.Size(),
        input.Argument(6, InMemory(input.content)));

    oracle::Legacy wanted;
    if (input.nullArgument == 0 || input.nullArgument == 5 || input.nullArgument == 7) {
        wanted = oracle::ReadLegacy(input.content, input.Entry());
    }
    if (wanted.left) {
        buffer.Expect(*wanted.left, '\0');
    }
    const std::size_t room = input.size - 1;
    const std::size_t wantedLength = wanted.isFound ? std::min(wanted.left->size(), room) : 0;
    RequireSame(length, static_cast<long long>(wantedLength), "the length");
    buffer.Check("the buffer");
    return 0;
}
