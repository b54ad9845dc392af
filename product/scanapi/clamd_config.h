#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace scanapi {

/// What a running clamd looks at and what not, as far as it matters to what may be left to it. What
/// is not known is taken for the smallest that any of its versions has had as a default.
struct ClamdLimits {
    std::string socket{};           ///< its own; empty when it has none
    std::string user{};             ///< whom it runs as; empty when that is not set
    std::uint64_t fileSize = 0;     ///< bytes of a file that it reads whole
    std::uint64_t rewriteSize = 0;  ///< bytes of a file that it also looks at in its simpler forms
    std::int64_t milliseconds = 0;  ///< for a file
    bool findsUnwanted = false;     ///< potentially unwanted programs of all kinds
    std::string missing{};          ///< a switch of it that is off and must not be; empty without
};

/// Of a clamd that nothing is known of, as one on another machine.
ClamdLimits UnknownClamd();

/// What clamd.conf says; `text` is all of it.
ClamdLimits ReadClamdLimits(std::string_view text);

/// The same of the file `path`, which has to be root's and for nobody else to write. None on
/// failure, with the reason, in words, in `why`. Any thread.
std::optional<ClamdLimits> LoadClamdLimits(const std::string& path, std::string& why);

}  // namespace scanapi
