#pragma once

#include <cstddef>
#include <string_view>

namespace scanning {

/// True when the head of a member of a zip file, as it could be, is at `offset`.
bool IsZipMember(std::string_view bytes, std::size_t offset);

/// Whether a member with contents that is encrypted is anywhere in `bytes`. libclamav comes to zip
/// members within any other data, and passes over those that it cannot decrypt.
bool HoldsEncryptedMember(std::string_view bytes);

/// Whether everything in a zip file, which begins with its first member, is in its listing:
/// libclamav goes by the listing alone. The result says what is wrong, or is empty.
std::string_view CheckZip(std::string_view bytes);

}  // namespace scanning
