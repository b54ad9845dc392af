#include "product/updturl/message.h"

#include <array>
#include <charconv>
#include <utility>

#include "common/percent_text.h"
#include "product/updturl/line_reader.h"

namespace updturl {
namespace {

constexpr std::string_view kStatusWord = "status";
constexpr std::string_view kLogWord = "log";
constexpr std::string_view kCandidateWord = "candidate";
constexpr std::string_view kSwitchingWord = "switching";
constexpr std::string_view kResultWord = "result";

std::string Line(std::string_view word, std::string_view value) {
    std::string line(word);
    line.append(" ");
    line += common::PercentEncodedWithin(value, kLongestLine - line.size() - 1);
    return line + "\n";
}

/// The decimal number `text`, where it is one of `first` to `last`.
std::optional<std::uint16_t> NumberWithin(std::string_view text, int first, int last) {
    std::uint16_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || end != text.data() + text.size() || number < first ||
        number > last) {
        return std::nullopt;
    }
    return number;
}

std::optional<Message> ReadStatus(std::string_view value) {
    const std::size_t blank = value.find(' ');
    const auto status = NumberWithin(value.substr(0, blank), kFirstUpdateStatus, kLastUpdateStatus);
    if (!status || (blank != std::string_view::npos) != (*status == kUpdateLoadingNamedFile)) {
        return std::nullopt;
    }
    if (blank == std::string_view::npos) {
        return Message{MessageKind::kStatus, *status, {}};
    }
    auto name = common::PercentDecoded(value.substr(blank + 1));
    if (!name) {
        return std::nullopt;
    }
    return Message{MessageKind::kStatus, *status, *std::move(name)};
}

std::optional<Message> ReadText(MessageKind kind, std::string_view value) {
    auto text = common::PercentDecoded(value);
    if (!text) {
        return std::nullopt;
    }
    return Message{kind, 0, *std::move(text)};
}

std::optional<Message> ReadResult(std::string_view value) {
    const auto result = NumberWithin(value, kUpdaterFailed, kUpdaterInvalidFiles);
    if (!result) {
        return std::nullopt;
    }
    return Message{MessageKind::kResult, *result, {}};
}

}  // namespace

std::string StatusLine(std::uint16_t status, std::string_view fileName) {
    const std::string number = std::to_string(status);
    if (status != kUpdateLoadingNamedFile) {
        return Line(kStatusWord, number);
    }
    return Line(kStatusWord, number + " " + std::string(fileName));
}

std::string LogLine(std::string_view text) {
    return Line(kLogWord, text);
}

std::string SwitchingLine() {
    return std::string(kSwitchingWord) + "\n";
}

std::string ResultLine(int result) {
    return Line(kResultWord, std::to_string(result));
}

std::optional<std::string> CandidateLine(std::string_view folder) {
    const std::string encoded = common::PercentEncoded(folder);
    if (kCandidateWord.size() + 1 + encoded.size() + 1 > kLongestLine) {
        return std::nullopt;
    }
    return Line(kCandidateWord, folder);
}

std::optional<Message> ReadMessage(std::string_view line) {
    if (line == kSwitchingWord) {
        return Message{MessageKind::kSwitching, 0, {}};
    }
    const std::size_t blank = line.find(' ');
    if (blank == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view word = line.substr(0, blank);
    const std::string_view value = line.substr(blank + 1);
    if (word == kStatusWord) {
        return ReadStatus(value);
    }
    if (word == kLogWord) {
        return ReadText(MessageKind::kLog, value);
    }
    if (word == kCandidateWord) {
        return ReadText(MessageKind::kCandidate, value);
    }
    return word == kResultWord ? ReadResult(value) : std::nullopt;
}

}  // namespace updturl
