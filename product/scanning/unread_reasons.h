#pragma once

#include <string_view>

namespace scanning {

// Why a file is Verdict::Unreadable, for people to read.
inline constexpr std::string_view kCutShort = "archive cut short";
inline constexpr std::string_view kCutDocument = "document cut short";
inline constexpr std::string_view kDamaged = "archive damaged";
inline constexpr std::string_view kEncrypted = "encrypted";
inline constexpr std::string_view kHasNoReader = "no reader for its kind";
inline constexpr std::string_view kUnknownMethod = "packed in an unknown way";
inline constexpr std::string_view kUnlisted = "a member is not in the listing";
inline constexpr std::string_view kTooLarge = "too large when unpacked";
inline constexpr std::string_view kTooDeep = "nested too deeply";
inline constexpr std::string_view kTooMany = "too many members";
inline constexpr std::string_view kLimited = "beyond the limits of a scan";
inline constexpr std::string_view kMissed = "an archive could not be read whole";
inline constexpr std::string_view kNoMemory = "no memory";
inline constexpr std::string_view kNoRoom = "no room to unpack";
inline constexpr std::string_view kReadError = "it could not be read to its end";
inline constexpr std::string_view kEngineError = "the scan met an error";

}  // namespace scanning
