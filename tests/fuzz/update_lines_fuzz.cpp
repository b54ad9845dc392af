// The lines that the processes of an update send each other: how they are cut, and what a request
// and a message are, against second, plain readers of the same.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/percent_text.h"
#include "product/updturl/line_reader.h"
#include "product/updturl/message.h"
#include "product/updturl/request.h"
#include "tests/fuzz/fuzz.h"

namespace {

using updturl::LineReader;
using updturl::MessageKind;
using updturl::RequestReader;

constexpr std::size_t kLimit = 4096;

/// The lines before the first that is too long.
std::vector<std::string_view> OracleLines(std::string_view bytes) {
    std::vector<std::string_view> lines;
    std::size_t newline = 0;
    while ((newline = bytes.find('\n')) != std::string_view::npos && newline < kLimit) {
        lines.push_back(bytes.substr(0, newline));
        bytes.remove_prefix(newline + 1);
    }
    return lines;
}

/// Gives the reader the bytes in pieces and requires the lines.
void CheckLines(std::string_view bytes, std::size_t piece) {
    const auto wanted = OracleLines(bytes);
    LineReader reader;
    std::size_t count = 0;
    while (!bytes.empty()) {
        reader.Add(bytes.substr(0, piece));
        bytes.remove_prefix(std::min(piece, bytes.size()));
        while (const auto line = reader.Next()) {
            Require(count < wanted.size(), "a line that is none");
            RequireSame(*line, wanted[count++], "a line");
        }
    }
    RequireSame(static_cast<long long>(count), static_cast<long long>(wanted.size()),
                "the number of lines");
}

int HexValue(char digit) {
    constexpr std::string_view kSmall = "0123456789abcdef";
    constexpr std::string_view kLarge = "0123456789ABCDEF";
    const std::size_t at =
        kSmall.find(digit) != std::string_view::npos ? kSmall.find(digit) : kLarge.find(digit);
    return at == std::string_view::npos ? -1 : static_cast<int>(at);
}

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

/// What a message would have to be written as, so that it is the line again.
std::string Written(const updturl::Message& message) {
    switch (message.kind) {
        case MessageKind::kStatus:
            return updturl::StatusLine(message.number, message.text);
        case MessageKind::kLog:
            return updturl::LogLine(message.text);
        case MessageKind::kCandidate:
            return updturl::CandidateLine(message.text).value_or("");
        case MessageKind::kSwitching:
            return updturl::SwitchingLine();
        case MessageKind::kResult:
            break;
    }
    return updturl::ResultLine(message.number);
}

bool IsNumbered(std::string_view line, std::string_view word, long first, long last) {
    if (!line.starts_with(word)) {
        return false;
    }
    line.remove_prefix(word.size());
    long number = 0;
    for (const char digit : line) {
        if (digit < '0' || digit > '9' || number > last) {
            return false;
        }
        number = number * 10 + (digit - '0');
    }
    return !line.empty() && number >= first && number <= last;
}

bool OracleIsMessage(std::string_view line) {
    for (const std::string_view word : {"log ", "candidate "}) {
        if (line.starts_with(word)) {
            return OracleText(line.substr(word.size())).has_value();
        }
    }
    const std::size_t second = line.find(' ', line.find(' ') + 1);
    if (line.starts_with("status ") && second != std::string_view::npos) {
        return IsNumbered(line.substr(0, second), "status ", 2006, 2006) &&
               OracleText(line.substr(second + 1)).has_value();
    }
    return line == "switching" || IsNumbered(line, "result ", 0, 4) ||
           (IsNumbered(line, "status ", 2000, 2015) && !IsNumbered(line, "status ", 2006, 2006));
}

void CheckMessage(std::string_view line) {
    const auto message = updturl::ReadMessage(line);
    Require(message.has_value() == OracleIsMessage(line),
            "a message that is none, or none that is");
    if (!message) {
        return;
    }
    const std::string written = Written(*message);
    const auto again =
        updturl::ReadMessage(std::string_view(written).substr(0, written.size() - 1));
    Require(again == message, "the message written and read again is another");
}

void CheckText(std::string_view value) {
    const auto text = common::PercentDecoded(value);
    const auto wanted = OracleText(value);
    Require(text.has_value() == wanted.has_value(), "a text that is none, or none that is");
    if (text) {
        RequireSame(*text, *wanted, "a decoded text");
        Require(OracleText(common::PercentEncoded(*text)) == text, "encoded it is another text");
    }
}

void CheckRequest(std::string_view bytes) {
    RequestReader reader;
    for (const std::string_view line : OracleLines(bytes)) {
        reader.Add(line);
    }
    Require((reader.Now() == RequestReader::State::kRefused) == !reader.Reason().empty(),
            "a reason without a refusal, or none with one");
    if (reader.Now() != RequestReader::State::kWhole) {
        return;
    }
    const auto text = updturl::RequestText(reader.Get());
    if (!text) {
        return;  // in its own digits it was shorter
    }
    RequestReader again;
    for (const std::string_view line : OracleLines(*text)) {
        again.Add(line);
    }
    Require(again.Now() == RequestReader::State::kWhole, "a request that was written is refused");
    Require(again.Get() == reader.Get(), "the request written and read again is another");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const unsigned char kind = input.TakeByte();
    const std::string_view rest = input.TakeRest();
    switch (kind % 4) {
        case 0:
            CheckLines(rest, kind / 4 + 1U);
            break;
        case 1:
            CheckMessage(rest);
            break;
        case 2:
            CheckText(rest);
            break;
        default:
            CheckRequest(rest);
            break;
    }
    return 0;
}
