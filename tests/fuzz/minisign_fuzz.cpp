// The readers of minisign's files against plain ones, and the check of a signature: by its first
// byte an input is a signature, a public key, a secret key or a signature to be checked.

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "product/signed_index/minisign.h"
#include "product/signed_index/secret_key.h"
#include "tests/fuzz/fuzz.h"

namespace {

using signed_index::PublicKey;
using signed_index::Refusal;
using signed_index::Signature;

constexpr std::string_view kSignedText = "hello\n";
constexpr std::string_view kPublicKey =
    "untrusted comment: minisign public key 33BF1955D20595CA\n"
    "RWTKlQXSVRm/M9ochfyufL+2ZLxOeaTdFMvszZsSVSMFbJzUYEu5QRGX\n";
// What stands in the signatures of that text by that key, of the two kinds.
constexpr std::string_view kDigestLine =
    "RUTKlQXSVRm/M1Vi13ctf0Fzu/0qfS0tEcj8RKJdeqDl+wTylOm9RH8F/tSygd7gJTXCVPZUxRoSy7vEqjJhoi3A//"
    "GqAP85"
    "zwM=";
constexpr std::string_view kLegacyLine =
    "RWTKlQXSVRm/M7af9HlUE7Pch2XRxnV7NXiymTce3v0nhVaAxuRwV+8FFG/"
    "Z+PqMaWpXGk8dP7kk5KMckk7Z+abnpwtQHxq5"
    "OgY=";

struct Lines {
    std::array<std::string_view, 4> line;
    std::size_t count = 0;  // 5 for more than four
};

Lines Split(std::string_view text) {
    Lines lines;
    while (!text.empty() && lines.count < 5) {
        const std::size_t end = text.find('\n');
        std::string_view line = text.substr(0, end);
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
        if (!line.empty() && line.back() == '\r') {
            line.remove_suffix(1);
        }
        if (lines.count < 4) {
            lines.line[lines.count] = line;
        }
        ++lines.count;
    }
    return lines;
}

int DigitOf(char character) {
    constexpr std::string_view kDigits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const std::size_t at = kDigits.find(character);
    return at == std::string_view::npos ? -1 : static_cast<int>(at);
}

// The bytes that Base64 stands for, when there are exactly `size` and nothing is left over.
std::optional<std::string> Decoded(std::string_view text, std::size_t size) {
    if (text.size() != (size + 2) / 3 * 4) {
        return std::nullopt;
    }
    const std::size_t padding = (3 - size % 3) % 3;
    std::string bytes;
    unsigned int bits = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isPadding = i >= text.size() - padding;
        const int digit = isPadding && text[i] == '=' ? 0 : DigitOf(text[i]);
        if (digit < 0 || (isPadding && text[i] != '=')) {
            return std::nullopt;
        }
        bits = bits << 6U | static_cast<unsigned int>(digit);
        if (i % 4 == 3) {
            bytes += {static_cast<char>(bits >> 16U), static_cast<char>(bits >> 8U),
                      static_cast<char>(bits)};
            bits = 0;
        }
    }
    // Digits may not carry bits that no byte has.
    if (bytes.find_first_not_of('\0', size) != std::string::npos) {
        return std::nullopt;
    }
    bytes.resize(size);
    return bytes;
}

std::string_view Text(std::span<const unsigned char> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

Refusal ExpectedOfSignature(std::string_view text, Signature& signature, Lines& lines) {
    if (text.empty()) {
        return Refusal::kNoSignature;
    }
    if (text.size() > 4096) {
        return Refusal::kSignatureTooLarge;
    }
    lines = Split(text);
    const auto first = Decoded(lines.line[1], 74);
    const auto second = Decoded(lines.line[3], 64);
    if (lines.count != 4 || !lines.line[0].starts_with("untrusted comment:") ||
        !lines.line[2].starts_with("trusted comment: ") || !first || !second) {
        return Refusal::kSignatureMalformed;
    }
    const std::string kind = first->substr(0, 2);
    if (kind != "Ed" && kind != "ED") {
        return Refusal::kSignatureAlgorithm;
    }
    signature.isOfDigest = kind == "ED";
    std::copy_n(first->begin() + 2, 8, signature.id.begin());
    std::copy_n(first->begin() + 10, 64, signature.signature.begin());
    std::copy_n(second->begin(), 64, signature.commentSignature.begin());
    signature.trustedComment = lines.line[2].substr(17);
    return Refusal::kNone;
}

Refusal CheckSignature(std::string_view text, Signature& signature, Lines& lines) {
    Signature expected;
    const Refusal wanted = ExpectedOfSignature(text, expected, lines);
    const Refusal result = ParseSignature(text, signature);
    RequireSame(static_cast<int>(result), static_cast<int>(wanted), "the result");
    if (result == Refusal::kNone) {
        Require(signature.isOfDigest == expected.isOfDigest, "the kind");
        RequireSame(Text(signature.id), Text(expected.id), "the identifier");
        RequireSame(Text(signature.signature), Text(expected.signature), "the signature");
        RequireSame(Text(signature.commentSignature), Text(expected.commentSignature),
                    "the comment's signature");
        RequireSame(signature.trustedComment, expected.trustedComment, "the trusted comment");
    }
    return result;
}

void CheckPublicKey(std::string_view text) {
    const Lines lines = Split(text);
    const auto line = Decoded(lines.line[1], 42);
    const bool isKey = lines.count == 2 && lines.line[0].starts_with("untrusted comment:") &&
                       line && line->starts_with("Ed");
    PublicKey key;
    const Refusal result = ParsePublicKey(text, key);
    Require((result == Refusal::kNone) == isKey, "whether it is a key");
    if (isKey) {
        RequireSame(Text(key.id), line->substr(2, 8), "the identifier");
        RequireSame(Text(key.key), line->substr(10), "the key");
    }
}

void CheckSecretKey(std::string_view text) {
    const Lines lines = Split(text);
    const auto line = Decoded(lines.line[1], 158);
    const bool isKey = lines.count == 2 && lines.line[0].starts_with("untrusted comment:") &&
                       line && line->starts_with("Ed") && line->substr(4, 2) == "B2";
    signed_index::SecretKey key;
    const Refusal result = key.Parse(text);
    Require((result != Refusal::kSecretKeyMalformed) == isKey, "whether it is a key");
    if (isKey) {
        const bool hasPassword = line->substr(2, 2) != std::string(2, '\0');
        Require((result == Refusal::kSecretKeyEncrypted) == hasPassword, "whether it is encrypted");
    }
}

// Accepted only with the lines that were signed, however they are written.
void CheckVerification(std::string_view text) {
    Signature signature;
    Lines lines;
    if (CheckSignature(text, signature, lines) != Refusal::kNone) {
        return;
    }
    PublicKey key;
    (void)ParsePublicKey(kPublicKey, key);
    if (VerifySignature(kSignedText, signature, std::array{key}) == Refusal::kNone) {
        Require(lines.line[1] == kDigestLine || lines.line[1] == kLegacyLine,
                "a signature that nobody made");
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const unsigned char kind = input.TakeByte();
    const std::string_view text = input.TakeRest();
    Signature signature;
    Lines lines;
    switch (kind) {
        case 'p':
            CheckPublicKey(text);
            break;
        case 's':
            CheckSecretKey(text);
            break;
        case 'v':
            CheckVerification(text);
            break;
        default:
            (void)CheckSignature(text, signature, lines);
    }
    return 0;
}
