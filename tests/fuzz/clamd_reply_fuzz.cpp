// The reader of what a clamd answers: it says what a second, plain reader says, and what it hands
// on can be put into a log and a message.

#include <string>
#include <string_view>

#include "product/scanapi/clamd_reply.h"
#include "tests/fuzz/fuzz.h"

namespace {

using scanapi::ClamdReply;

bool IsPlain(std::string_view text) {
    for (const char c : text) {
        if (c < 0x20 || c > 0x7E) {
            return false;
        }
    }
    return true;
}

bool IsNumber(std::string_view text) {
    for (const char c : text) {
        if (c < '0' || c > '9') {
            return false;
        }
    }
    return !text.empty();
}

// "(32 digits:number)" at the end, and something before it.
std::string_view Name(std::string_view text) {
    const auto open = text.rfind('(');
    if (open == std::string_view::npos || open == 0 || text.back() != ')') {
        return text;
    }
    const std::string_view inner = text.substr(open + 1, text.size() - open - 2);
    const std::string_view digest = inner.substr(0, inner.find(':'));
    if (digest.size() != 32 || inner.size() < 34 || !IsNumber(inner.substr(33))) {
        return text;
    }
    for (const char c : digest) {
        if (std::string_view("0123456789abcdef").find(c) == std::string_view::npos) {
            return text;
        }
    }
    return text.substr(0, open);
}

// As "kind text"; empty for what is no answer.
std::string Expected(std::string_view reply, std::uint32_t number, bool isDescriptor) {
    const std::string head = std::to_string(number) + ": ";
    if (reply.size() > 1024 || !IsPlain(reply) || reply.substr(0, head.size()) != head) {
        return {};
    }
    const std::string_view rest = reply.substr(head.size());
    std::string_view said = rest;
    bool isNamed = false;
    if (isDescriptor && rest.substr(0, 3) == "fd[") {
        const auto end = rest.find("]: ");
        isNamed = end != std::string_view::npos && IsNumber(rest.substr(3, end - 3));
        said = isNamed ? rest.substr(end + 3) : rest;
    } else if (!isDescriptor && rest.substr(0, 8) == "stream: ") {
        isNamed = true;
        said = rest.substr(8);
    }
    if (isNamed && said == "OK") {
        return "clean ";
    }
    if (isNamed && said.size() > 6 && said.substr(said.size() - 6) == " FOUND") {
        return "found " + std::string(Name(said.substr(0, said.size() - 6)));
    }
    if (rest.size() > 6 && rest.substr(rest.size() - 6) == " ERROR") {
        return "failed " + std::string(rest.substr(0, rest.size() - 6));
    }
    return {};
}

std::string Actual(std::string_view reply, std::uint32_t number, bool isDescriptor) {
    const auto read = scanapi::ParseClamdReply(reply, number, isDescriptor);
    if (!read) {
        return {};
    }
    Require(IsPlain(read->text) && read->text.size() <= 1024, "text that is not plain");
    switch (read->kind) {
        case ClamdReply::Kind::kClean:
            return "clean " + read->text;
        case ClamdReply::Kind::kFound:
            Require(!read->text.empty(), "a find without a name");
            return "found " + read->text;
        case ClamdReply::Kind::kFailed:
            return "failed " + read->text;
    }
    Fail("no kind at all");
}

}  // namespace

// The first byte: the number of the request, and by its lowest bit how the file was sent.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const unsigned char first = input.TakeByte();
    const std::string_view reply = input.TakeRest();
    const std::uint32_t number = first / 2U;
    const bool isDescriptor = first % 2 == 0;
    RequireSame(Actual(reply, number, isDescriptor), Expected(reply, number, isDescriptor),
                "the answer");
    return 0;
}
