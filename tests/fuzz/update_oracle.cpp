#include "tests/fuzz/update_oracle.h"

namespace {

using updturl::Message;
using updturl::MessageKind;

int HexValue(char digit) {
    constexpr std::string_view kSmall = "0123456789abcdef";
    constexpr std::string_view kLarge = "0123456789ABCDEF";
    const std::size_t at =
        kSmall.find(digit) != std::string_view::npos ? kSmall.find(digit) : kLarge.find(digit);
    return at == std::string_view::npos ? -1 : static_cast<int>(at);
}

/// The number behind `word`, where it is one of `first` to `last`; else -1.
long NumberBehind(std::string_view line, std::string_view word, long first, long last) {
    if (!line.starts_with(word)) {
        return -1;
    }
    line.remove_prefix(word.size());
    long number = 0;
    for (const char digit : line) {
        if (digit < '0' || digit > '9' || number > last) {
            return -1;
        }
        number = number * 10 + (digit - '0');
    }
    return !line.empty() && number >= first && number <= last ? number : -1;
}

std::optional<Message> WithText(MessageKind kind, std::uint16_t number, std::string_view value) {
    auto text = OracleText(value);
    return text ? std::optional(Message{kind, number, *text}) : std::nullopt;
}

}  // namespace

std::optional<std::string> OracleText(std::string_view value) {
    std::string text;
    for (std::size_t at = 0; at < value.size(); ++at) {
        if (value[at] < 32 || value[at] > 126) {
            return std::nullopt;
        }
        if (value[at] != '%') {
            text += value[at];
            continue;
        }
        if (value.size() - at < 3) {
            return std::nullopt;
        }
        const int high = HexValue(value[at + 1]);
        const int low = HexValue(value[at + 2]);
        if (high < 0 || low < 0 || high + low == 0) {
            return std::nullopt;
        }
        text += static_cast<char>(high * 16 + low);
        at += 2;
    }
    return text;
}

std::optional<Message> OracleMessage(std::string_view line) {
    constexpr std::string_view kLog = "log ";
    constexpr std::string_view kCandidate = "candidate ";
    if (line.starts_with(kLog)) {
        return WithText(MessageKind::kLog, 0, line.substr(kLog.size()));
    }
    if (line.starts_with(kCandidate)) {
        return WithText(MessageKind::kCandidate, 0, line.substr(kCandidate.size()));
    }
    if (line == "switching") {
        return Message{MessageKind::kSwitching, 0, {}};
    }
    if (const long result = NumberBehind(line, "result ", 0, 4); result >= 0) {
        return Message{MessageKind::kResult, static_cast<std::uint16_t>(result), {}};
    }
    const std::size_t second = line.find(' ', line.find(' ') + 1);
    const bool hasName = second != std::string_view::npos;
    const long status = NumberBehind(line.substr(0, second), "status ", 2000, 2015);
    if (status < 0 || hasName != (status == 2006)) {
        return std::nullopt;
    }
    return WithText(MessageKind::kStatus, static_cast<std::uint16_t>(status),
                    hasName ? line.substr(second + 1) : std::string_view());
}
