#include "common/host_identity.h"

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <sys/utsname.h>
#include <unistd.h>

#include "common/text_field.h"
#include "common/users.h"
#include "common/utf16.h"

namespace {

constexpr std::size_t kDomainNameSize = 260;
static_assert(sizeof(utsname::nodename) == common::kComputerNameSize);

void CopyTerminated(unsigned short* out, const std::u16string& text) {
    *std::copy(text.begin(), text.end(), out) = 0;
}

}  // namespace

int GetDomainName(unsigned short* out, unsigned int* length) {
    char bytes[kDomainNameSize]{};
    if (out == nullptr || length == nullptr || ::getdomainname(bytes, sizeof bytes) != 0) {
        return 0;
    }
    const std::u16string name = common::Utf16FromBytes(common::FieldText(bytes));
    if (*length < name.size()) {
        return 0;
    }
    CopyTerminated(out, name);
    *length = static_cast<unsigned int>(name.size());
    return 1;
}

int GetTheUserName(unsigned short* out, unsigned int capacity) {
    if (out == nullptr) {
        return 0;
    }
    const std::optional<std::string> bytes = common::UserName(::geteuid());
    if (!bytes) {
        return 0;
    }
    const std::u16string name = common::Utf16FromBytes(*bytes);
    if (name.size() > capacity) {
        return 0;
    }
    CopyTerminated(out, name);
    return 1;
}

int GetTheComputerName(unsigned short* out) {
    utsname system{};
    if (out == nullptr || ::uname(&system) != 0) {
        return 0;
    }
    CopyTerminated(out, common::Utf16FromBytes(common::FieldText(system.nodename)));
    return 1;
}
