#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace scanapi {

inline constexpr std::size_t kMaxClamdReply = 1024;  ///< bytes, without the zero after it

/// What clamd says of one file.
struct ClamdReply {
    enum class Kind { kClean, kFound, kFailed };
    Kind kind;
    std::string text;  ///< the virus, or why it was not scanned; plain, for the log
};

/// Reads the answer to the request of this number in a session, of a file that was sent as a
/// descriptor or else as a stream; `reply` is without the zero that ends it. None for anything but
/// the answer to that very request. Any thread.
std::optional<ClamdReply> ParseClamdReply(std::string_view reply, std::uint32_t number,
                                          bool isDescriptor);

}  // namespace scanapi
