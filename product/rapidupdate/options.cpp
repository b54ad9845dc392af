#include "product/rapidupdate/options.h"

#include <charconv>
#include <string_view>

namespace rapidupdate {

namespace {

constexpr long kMostSeconds = 7L * 24 * 60 * 60;

std::optional<Seconds> ParseSeconds(std::string_view text) {
    long seconds = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (error != std::errc() || end != text.data() + text.size() || seconds < 0 ||
        seconds > kMostSeconds) {
        return std::nullopt;
    }
    return Seconds(seconds);
}

}  // namespace

std::optional<Options> ParseOptions(std::span<const char* const> arguments) {
    Options options;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string_view word = arguments[i];
        if (word == "--help") {
            options.isHelp = true;
        } else if (word == "--version") {
            options.isVersion = true;
        } else if (word == "--once") {
            options.isOnce = true;
        } else if (word == "--log-on-screen") {
            options.isLogOnScreen = true;
        } else if (word == "--after" && i + 1 < arguments.size()) {
            options.firstRun = ParseSeconds(arguments[++i]);
            if (!options.firstRun) {
                return std::nullopt;
            }
        } else {
            return std::nullopt;
        }
    }
    if (options.isOnce && options.firstRun) {
        return std::nullopt;
    }
    return options;
}

}  // namespace rapidupdate
