#include "product/scanapi/clamd_reply.h"

#include <algorithm>

namespace scanapi {

namespace {

constexpr std::string_view kDigits = "0123456789";

bool TakeWord(std::string_view& text, std::string_view word) {
    const bool isThere = text.starts_with(word);
    text.remove_prefix(isThere ? word.size() : 0);
    return isThere;
}

bool TakeNumber(std::string_view& text) {
    const std::size_t size = std::min(text.find_first_not_of(kDigits), text.size());
    text.remove_prefix(size);
    return size > 0;
}

bool EndWith(std::string_view& text, std::string_view word) {
    const bool isThere = text.ends_with(word) && text.size() > word.size();
    text.remove_suffix(isThere ? word.size() : 0);
    return isThere;
}

bool IsPlain(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

// "Name(00112233445566778899aabbccddeeff:68)" where clamd is to tell digest and size as well.
std::string_view WithoutDigest(std::string_view name) {
    constexpr std::size_t kDigestSize = 32;
    const auto open = name.rfind('(');
    if (open == std::string_view::npos || open == 0) {
        return name;
    }
    std::string_view rest = name.substr(open + 1);
    const std::string_view digest = rest.substr(0, kDigestSize);
    rest.remove_prefix(digest.size());
    const bool isOne = digest.size() == kDigestSize &&
                       digest.find_first_not_of("0123456789abcdef") == std::string_view::npos &&
                       TakeWord(rest, ":") && TakeNumber(rest) && rest == ")";
    return isOne ? name.substr(0, open) : name;
}

}  // namespace

std::optional<ClamdReply> ParseClamdReply(std::string_view reply, std::uint32_t number,
                                          bool isDescriptor) {
    if (reply.size() > kMaxClamdReply || !IsPlain(reply) ||
        !TakeWord(reply, std::to_string(number) + ": ")) {
        return std::nullopt;
    }
    // What concerns the request as a whole comes without the name of the file.
    std::string_view failure = reply;
    const bool isNamed = isDescriptor
                             ? TakeWord(reply, "fd[") && TakeNumber(reply) && TakeWord(reply, "]: ")
                             : TakeWord(reply, "stream: ");
    if (isNamed && reply == "OK") {
        return ClamdReply{ClamdReply::Kind::kClean, {}};
    }
    if (isNamed && EndWith(reply, " FOUND")) {
        return ClamdReply{ClamdReply::Kind::kFound, std::string(WithoutDigest(reply))};
    }
    if (EndWith(failure, " ERROR")) {
        return ClamdReply{ClamdReply::Kind::kFailed, std::string(failure)};
    }
    return std::nullopt;
}

}  // namespace scanapi
