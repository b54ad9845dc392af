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
#include "tests/fuzz/update_oracle.h"

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

void CheckMessage(std::string_view line) {
    const auto message = updturl::ReadMessage(line);
    Require(message == OracleMessage(line), "a message that is none or another");
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
