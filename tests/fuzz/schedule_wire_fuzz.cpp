// What is asked of the scheduler's service, and what a scanner says at its end, against second,
// plain readers of the same.

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "product/schdlscn/result_line.h"
#include "product/schdlscn/wire.h"
#include "tests/fuzz/fuzz.h"

namespace {

using namespace schdlscn;

std::vector<std::string_view> LinesOf(std::string_view bytes) {
    std::vector<std::string_view> lines;
    for (std::size_t newline = 0; (newline = bytes.find('\n')) != std::string_view::npos;) {
        lines.push_back(bytes.substr(0, newline));
        bytes.remove_prefix(newline + 1);
    }
    return lines;
}

int DigitOf(char letter) {
    const std::size_t place = std::string_view("0123456789abcdefABCDEF").find(letter);
    if (place == std::string_view::npos) {
        return -1;
    }
    return static_cast<int>(place < 16 ? place : place - 6);
}

/// "key=" and a text of at most `most` bytes that are no zero.
bool IsText(std::string_view line, std::string_view key, std::size_t most) {
    if (line.substr(0, key.size()) != key) {
        return false;
    }
    std::size_t length = 0;
    for (std::size_t i = key.size(); i < line.size(); ++i, ++length) {
        if (line[i] < ' ' || line[i] > '~') {
            return false;
        }
        if (line[i] != '%') {
            continue;
        }
        if (i + 2 >= line.size() || DigitOf(line[i + 1]) < 0 || DigitOf(line[i + 2]) < 0 ||
            (line[i + 1] == '0' && line[i + 2] == '0')) {
            return false;
        }
        i += 2;
    }
    return length <= most;
}

/// What is beyond the range of its type comes back from strtoll() as another number.
bool IsNumber(std::string_view line, std::string_view key, long long least, long long most) {
    if (line.substr(0, key.size()) != key || line.size() > key.size() + 20) {
        return false;
    }
    const std::string text(line.substr(key.size()));
    if (text.empty() || text.find_first_not_of("-0123456789") != std::string::npos) {
        return false;
    }
    const long long number = std::strtoll(text.c_str(), nullptr, 10);
    return std::to_string(number) == text && number >= least && number <= most;
}

constexpr std::array<std::string_view, 12> kNumbers{
    "frequency=", "start=",        "hour=",        "minute=",  "second=", "repeats=",
    "interval=",  "repeat-value=", "repeat-unit=", "weekday=", "action=", "options="};
constexpr std::size_t kHead = kNumbers.size() + 2;

/// Whether these lines are a task's.
bool IsTask(const std::vector<std::string_view>& lines, std::size_t begin, std::size_t end) {
    constexpr long long kInt = 2147483647;
    constexpr long long kUser = 4294967295;
    if (end - begin < kHead || end - begin > kHead + 101 || !IsText(lines[begin], "name=", 256)) {
        return false;
    }
    for (std::size_t i = 0; i < kNumbers.size(); ++i) {
        if (!IsNumber(lines[begin + 1 + i], kNumbers[i], -kInt - 1, kInt)) {
            return false;
        }
    }
    if (!IsNumber(lines[begin + kHead - 1], "owner=", 0, kUser)) {
        return false;
    }
    for (std::size_t i = begin + kHead; i < end; ++i) {
        if (!IsText(lines[i], "folder=", 1024)) {
            return false;
        }
    }
    return true;
}

bool IsRequest(const std::vector<std::string_view>& lines) {
    if (lines.size() < 2 || lines.back() != "end") {
        return false;
    }
    const std::string_view word = lines.front();
    if (word == "add" || word == "modify") {
        return IsTask(lines, 1, lines.size() - 1);
    }
    if (word == "list") {
        return lines.size() == 2;
    }
    const bool isNamed = word == "check-name" || word == "get" || word == "delete" ||
                         word == "state" || word == "run" || word == "delete-report";
    return isNamed && lines.size() == 3 && IsText(lines[1], "name=", 256);
}

/// Whether these lines are a state's.
bool IsState(const std::vector<std::string_view>& lines, std::size_t begin, std::size_t end) {
    constexpr long long kInt = 2147483647;
    constexpr long long kLong = 9223372036854775807;
    struct Range {
        std::string_view key;
        long long least;
        long long most;
    };
    constexpr std::array<Range, 8> kRanges{{{"flags=", 0, 4294967295},
                                            {"next-run=", -kLong - 1, kLong},
                                            {"last-start=", -kLong - 1, kLong},
                                            {"last-end=", -kLong - 1, kLong},
                                            {"last-result=", -kInt - 1, kInt},
                                            {"last-reason=", -kInt - 1, kInt},
                                            {"infected=", -kLong - 1, kLong},
                                            {"unread=", -kLong - 1, kLong}}};
    if (end - begin != kRanges.size() + 2) {
        return false;
    }
    for (std::size_t i = 0; i < kRanges.size(); ++i) {
        if (!IsNumber(lines[begin + i], kRanges[i].key, kRanges[i].least, kRanges[i].most)) {
            return false;
        }
    }
    return IsText(lines[end - 2], "report=", 255) && IsText(lines[end - 1], "detail=", 255);
}

bool IsAnswer(const std::vector<std::string_view>& lines) {
    if (lines.size() < 2 || lines.back() != "end" || !IsNumber(lines.front(), "error=", 0, 9999)) {
        return false;
    }
    if (lines[1] == "state") {
        return IsState(lines, 2, lines.size() - 1);
    }
    std::size_t begin = 1;
    while (begin < lines.size() - 1) {
        std::size_t end = begin + 1;
        while (lines[end] != "task" && end < lines.size() - 1) {
            ++end;
        }
        if (lines[begin] != "task" || !IsTask(lines, begin + 1, end)) {
            return false;
        }
        begin = end;
    }
    return true;
}

/// Whether the reader calls exactly these lines whole, and nothing before their last.
template <typename Reader>
bool IsWhole(Reader& reader, const std::vector<std::string_view>& lines) {
    Reading state = Reading::kMore;
    for (const std::string_view line : lines) {
        state = reader.Take(line);
    }
    return state == Reading::kWhole;
}

void CheckRequest(const std::vector<std::string_view>& lines) {
    RequestReader reader;
    const bool isWhole = IsWhole(reader, lines);
    Require(isWhole == IsRequest(lines), "a request that is none, or none that is");
    if (!isWhole) {
        return;
    }
    const std::string text = RequestText(reader.Taken());
    RequestReader again;
    Require(IsWhole(again, LinesOf(text)), "a request that was written is refused");
    Require(again.Taken().kind == reader.Taken().kind && again.Taken().task == reader.Taken().task,
            "the request written and read again is another");
}

void CheckAnswer(const std::vector<std::string_view>& lines) {
    AnswerReader reader;
    const bool isWhole = IsWhole(reader, lines);
    Require(isWhole == IsAnswer(lines), "an answer that is none, or none that is");
    if (!isWhole) {
        return;
    }
    const std::string text = AnswerText(reader.Taken());
    AnswerReader again;
    Require(IsWhole(again, LinesOf(text)), "an answer that was written is refused");
    Require(again.Taken().error == reader.Taken().error &&
                again.Taken().tasks == reader.Taken().tasks &&
                again.Taken().state == reader.Taken().state,
            "the answer written and read again is another");
}

/// What a scanner says has each of these keys once, and a number behind it.
void CheckResult(std::string_view bytes) {
    const auto result = ReadResult(bytes);
    if (!result) {
        return;
    }
    Require(bytes.back() == '\n', "a result without its end");
    const std::string padded = " " + std::string(bytes.substr(0, bytes.size() - 1)) + " ";
    for (const std::string_view key : {" infected=", " unread=", " stopped="}) {
        const std::size_t place = padded.find(key);
        Require(place != std::string::npos, "a result without a number");
        Require(padded.find(key, place + 1) == std::string::npos, "a result with a number twice");
    }
    Require(result->infected >= 0 && result->infected <= 4294967295, "too many infected files");
    Require(result->unread >= 0 && result->unread <= 4294967295, "too many unread files");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const unsigned char kind = input.TakeByte();
    const std::string_view rest = input.TakeRest();
    switch (kind % 3) {
        case 0:
            CheckRequest(LinesOf(rest));
            break;
        case 1:
            CheckAnswer(LinesOf(rest));
            break;
        default:
            CheckResult(rest);
            break;
    }
    return 0;
}
