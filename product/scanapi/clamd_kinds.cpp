#include "product/scanapi/clamd_kinds.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <strings.h>

#include "product/scanning/container_kind.h"
#include "product/scanning/stored_numbers.h"

namespace scanapi {

namespace {

using namespace std::string_view_literals;

constexpr std::array kPlain{
    "\x7F"
    "ELF"sv,
    "\x89PNG\r\n\x1A\n"sv, "\xFF\xD8\xFF"sv, "GIF87a"sv, "GIF89a"sv};

// What an archive, an installer, a disk or a document begins with that is part of another file.
constexpr std::array kEmbedded{"PK\x03\x04"sv,
                               "Rar!\x1A\x07"sv,
                               "7z\xBC\xAF\x27\x1C"sv,
                               "MSCF"sv,
                               "NullsoftInst"sv,
                               "\xA3\x48\x4B\xBE\x98\x6C\x4A\xA9"sv,  // AutoIt
                               "EGGA"sv,
                               "ISSetupStream"sv,
                               "\xD0\xCF\x11\xE0"sv,
                               "hsqs"sv,
                               "CD001"sv,
                               "koly"sv,
                               "%PDF"sv};

// Of mail and its like, at the beginning of a line, whatever the case.
constexpr std::array kHolding{"From "sv,
                              "From:"sv,
                              "To:"sv,
                              "Received:"sv,
                              "Return-Path:"sv,
                              "Message-ID:"sv,
                              "MIME-Version:"sv,
                              "Date:"sv,
                              "Subject:"sv,
                              "Delivered-"sv,
                              "X-"sv,
                              "Content-"sv,
                              "Reply-To:"sv,
                              "Relay-"sv,
                              "For:"sv,
                              "begin "sv,
                              "begin-base64"sv,
                              "(This file must be"sv,
                              "--"sv,
                              "Envelope-"sv,
                              "Apparently-To:"sv};
// Anywhere, since what is before them does not count.
constexpr std::array kDocuments{"%PDF"sv, "{\\rt"sv, "%!PS"sv, "<?xml"sv, "base64"sv};

bool IsOfText(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return (byte >= 0x20 && byte < 0x7F) || byte == '\t' || byte == '\n' || byte == '\r';
}

bool BeginsWith(std::string_view text, std::string_view word) {
    return text.size() >= word.size() && strncasecmp(text.data(), word.data(), word.size()) == 0;
}

template <typename Words>
bool ContainsAny(std::string_view text, const Words& words) {
    return std::any_of(words.begin(), words.end(), [text](std::string_view word) {
        return scanning::FindBytes(text, word, 0) != std::string_view::npos;
    });
}

// Two bytes are anywhere; these have to have a size behind them, and then that of their first part.
bool ContainsArj(std::string_view text) {
    constexpr std::string_view kMark = "\x60\xEA";
    for (auto at = scanning::FindBytes(text, kMark, 0); at != std::string_view::npos;
         at = scanning::FindBytes(text, kMark, at + 1)) {
        const auto size = scanning::LittleEndian(text, at + 2, 2);
        const auto first = scanning::LittleEndian(text, at + 4, 1);
        if (size >= 30 && size <= 2600 && first >= 30 && first <= 64) {
            return true;
        }
    }
    return false;
}

bool MayHoldFiles(std::string_view text) {
    if (ContainsAny(text, kDocuments)) {
        return true;
    }
    while (!text.empty()) {
        if (std::any_of(kHolding.begin(), kHolding.end(),
                        [text](std::string_view word) { return BeginsWith(text, word); })) {
            return true;
        }
        text.remove_prefix(std::min(text.find('\n'), text.size() - 1) + 1);
    }
    return false;
}

bool IsPlainText(std::string_view text) {
    return std::all_of(text.begin(), text.end(), IsOfText) && !MayHoldFiles(text);
}

}  // namespace

bool WantsOwnWorker(std::span<const std::byte> all, const scanning::ScanProfile& profile,
                    const ClamdLimits& limits) {
    const std::string_view text = scanning::TextOf(all);
    if (text.size() <= scanning::kNeverMatched || (profile.unwanted && !limits.findsUnwanted) ||
        scanning::KindOfContainer(all) != scanning::ContainerKind::None ||
        ContainsAny(text, kEmbedded) || ContainsArj(text)) {
        return true;
    }
    if (std::any_of(kPlain.begin(), kPlain.end(),
                    [text](std::string_view mark) { return text.starts_with(mark); })) {
        return false;
    }
    return text.size() > limits.rewriteSize || !IsPlainText(text);
}

}  // namespace scanapi
