#pragma once

#include <cstddef>
#include <string_view>

namespace scanning {

/// True when the head of a member of a zip file, as it could be, is at `offset`.
bool IsZipMember(std::string_view bytes, std::size_t offset);

/// libclamav comes to zip members within any other data, and passes over these in silence.
struct MembersPassedOver {
    bool encrypted = false;
    bool packedOtherwise = false;  ///< in a way that it does not know
    bool cutShort = false;         ///< the data ends before the member does
};

/// Whether members with contents of these kinds are anywhere in `bytes`.
MembersPassedOver FindMembersPassedOver(std::string_view bytes);

/// Whether everything in a zip file, which begins with its first member, is in its listing:
/// libclamav goes by the listing alone. The result says what is wrong, or is empty.
std::string_view CheckZip(std::string_view bytes);

}  // namespace scanning
