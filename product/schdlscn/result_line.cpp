#include "product/schdlscn/result_line.h"

#include <charconv>

namespace schdlscn {

namespace {

std::optional<std::uint32_t> NumberOf(std::string_view text) {
    std::uint32_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

/// The first word of `text`, which is taken from it.
std::string_view TakeWord(std::string_view& text) {
    const std::size_t blank = text.find(' ');
    const std::string_view word = text.substr(0, blank);
    text.remove_prefix(blank == std::string_view::npos ? text.size() : blank + 1);
    return word;
}

}  // namespace

std::optional<ScanResult> ReadResult(std::string_view text) {
    if (text.empty() || text.find('\n') != text.size() - 1) {
        return std::nullopt;
    }
    text.remove_suffix(1);
    std::optional<std::uint32_t> infected;
    std::optional<std::uint32_t> unread;
    std::optional<std::uint32_t> stopped;
    while (!text.empty()) {
        const std::string_view word = TakeWord(text);
        const std::size_t equals = word.find('=');
        if (equals == std::string_view::npos) {
            return std::nullopt;
        }
        const std::string_view key = word.substr(0, equals);
        auto* const field = key == "infected"  ? &infected
                            : key == "unread"  ? &unread
                            : key == "stopped" ? &stopped
                                               : nullptr;
        if (field == nullptr) {
            continue;
        }
        *field = field->has_value() ? std::nullopt : NumberOf(word.substr(equals + 1));
        if (!field->has_value()) {
            return std::nullopt;
        }
    }
    if (!infected || !unread || !stopped) {
        return std::nullopt;
    }
    return ScanResult{*infected, *unread, *stopped != 0};
}

}  // namespace schdlscn
