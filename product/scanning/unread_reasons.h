#pragma once

#include <string_view>

namespace scanning {

// Why a file is Verdict::Unreadable, for people to read.
inline constexpr std::string_view kEncrypted = "encrypted";
inline constexpr std::string_view kTooLarge = "a member is too large";
inline constexpr std::string_view kLimited = "beyond the limits of a scan";
inline constexpr std::string_view kMissed = "an archive could not be read whole";
inline constexpr std::string_view kNoMemory = "no memory";
inline constexpr std::string_view kNoRoom = "no room to unpack";
inline constexpr std::string_view kReadError = "it could not be read to its end";
inline constexpr std::string_view kEngineError = "the scan met an error";

}  // namespace scanning
