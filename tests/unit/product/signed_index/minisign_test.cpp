#include "product/signed_index/minisign.h"

#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <vector>

#include "product/signed_index/minisign_text.h"
#include "product/signed_index/secret_key.h"
#include "tests/unit/product/signed_index/signed_index_samples.h"

namespace {

using signed_index::ParsePublicKey;
using signed_index::ParseSignature;
using signed_index::PublicKey;
using signed_index::Refusal;
using signed_index::SecretKey;
using signed_index::Signature;
using signed_index::VerifySignature;

std::string Replaced(std::string text, std::string_view what, std::string_view by) {
    const std::size_t at = text.find(what);
    EXPECT_NE(at, std::string::npos) << what;
    return text.replace(at, what.size(), by);
}

PublicKey KeyOf(std::string_view text) {
    PublicKey key;
    EXPECT_EQ(ParsePublicKey(text, key), Refusal::kNone);
    return key;
}

Refusal Verify(std::string_view bytes, std::string_view signatureText,
               const std::vector<PublicKey>& keys = {KeyOf(kTestPublicKey)}) {
    Signature signature;
    const Refusal refusal = ParseSignature(signatureText, signature);
    return refusal == Refusal::kNone ? VerifySignature(bytes, signature, keys) : refusal;
}

// The `at`th byte of the decoded line `line` (0 is the first) with one bit changed.
std::string WithBitChanged(std::string_view text, int line, std::size_t size, std::size_t at) {
    std::string result;
    for (int number = 0;; ++number) {
        const auto next = signed_index::TakeLine(text);
        if (!next) {
            return result;
        }
        std::string encoded(*next);
        if (number == line) {
            std::vector<unsigned char> bytes(size);
            EXPECT_TRUE(signed_index::DecodeBase64(*next, bytes));
            bytes[at] ^= 1U;
            encoded = signed_index::EncodeBase64(bytes);
        }
        result += encoded + "\n";
    }
}

TEST(PublicKeyFile, IsReadWithItsIdentifier) {
    const PublicKey key = KeyOf(kTestPublicKey);
    EXPECT_EQ(signed_index::KeyIdText(key.id), "33BF1955D20595CA");
    EXPECT_EQ(key.key[0], 0xDA);
    EXPECT_EQ(key.key[31], 0x97);
}

TEST(PublicKeyFile, IsRefusedWhenItIsAnythingElse) {
    const std::string good = kTestPublicKey;
    PublicKey key;
    for (const std::string& text :
         {std::string(), std::string("\n"), good.substr(good.find('\n') + 1), good + "x",
          good + "\n", Replaced(good, "untrusted", "trusted"), Replaced(good, "RWTK", "RUTK"),
          Replaced(good, "RWTK", "RWT*"), Replaced(good, "RGX\n", "RG\n"),
          Replaced(good, "RGX\n", "RGXAAAA\n"), Replaced(good, "RWTK", " RWTK"),
          std::string(kTestSecretKey), std::string(kDigestSignature)}) {
        EXPECT_EQ(ParsePublicKey(text, key), Refusal::kKeyMalformed) << text;
    }
}

TEST(PublicKeyFile, MayEndWithoutALineBreakOrHaveTwoByteLineBreaks) {
    const std::string good = kTestPublicKey;
    PublicKey key;
    EXPECT_EQ(ParsePublicKey(good.substr(0, good.size() - 1), key), Refusal::kNone);
    EXPECT_EQ(ParsePublicKey(Replaced(Replaced(good, "CA\n", "CA\r\n"), "GX\n", "GX\r\n"), key),
              Refusal::kNone);
}

TEST(SignatureFile, OfBothKindsIsAccepted) {
    EXPECT_EQ(Verify(kSignedText, kDigestSignature), Refusal::kNone);
    EXPECT_EQ(Verify(kSignedText, kLegacySignature), Refusal::kNone);
}

TEST(SignatureFile, IsRefusedForOtherBytes) {
    for (const char* signature : {kDigestSignature, kLegacySignature}) {
        EXPECT_EQ(Verify("hellp\n", signature), Refusal::kWrongSignature);
        EXPECT_EQ(Verify("hello", signature), Refusal::kWrongSignature);
        EXPECT_EQ(Verify("", signature), Refusal::kWrongSignature);
    }
}

TEST(SignatureFile, IsRefusedWhenAnyByteOfItIsChanged) {
    for (const char* good : {kDigestSignature, kLegacySignature}) {
        for (std::size_t at = 2; at < 10; ++at) {
            EXPECT_EQ(Verify(kSignedText, WithBitChanged(good, 1, 74, at)), Refusal::kUnknownKey);
        }
        for (std::size_t at = 10; at < 74; ++at) {
            EXPECT_EQ(Verify(kSignedText, WithBitChanged(good, 1, 74, at)),
                      Refusal::kWrongSignature);
        }
        for (std::size_t at = 0; at < 64; ++at) {
            EXPECT_EQ(Verify(kSignedText, WithBitChanged(good, 3, 64, at)),
                      Refusal::kWrongTrustedComment);
        }
    }
}

TEST(SignatureFile, IsRefusedWhenItsTrustedCommentIsChanged) {
    EXPECT_EQ(Verify(kSignedText, Replaced(kDigestSignature, ": trusted\n", ": trustee\n")),
              Refusal::kWrongTrustedComment);
    EXPECT_EQ(Verify(kSignedText, Replaced(kDigestSignature, ": trusted\n", ": \n")),
              Refusal::kWrongTrustedComment);
}

TEST(SignatureFile, TheUntrustedCommentMayBeAnything) {
    EXPECT_EQ(Verify(kSignedText, Replaced(kDigestSignature, "signature from", "who knows")),
              Refusal::kNone);
}

TEST(SignatureFile, OfOneKindDoesNotPassForTheOther) {
    EXPECT_EQ(Verify(kSignedText, Replaced(kDigestSignature, "RUTK", "RWTK")),
              Refusal::kWrongSignature);
    EXPECT_EQ(Verify(kSignedText, Replaced(kLegacySignature, "RWTK", "RUTK")),
              Refusal::kWrongSignature);
}

TEST(SignatureFile, OfAnUnknownKindIsRefused) {
    EXPECT_EQ(Verify(kSignedText, Replaced(kDigestSignature, "RUTK", "RXTK")),
              Refusal::kSignatureAlgorithm);
}

TEST(SignatureFile, IsRefusedWhenItIsMissingTooLargeOrMalformed) {
    const std::string good = kDigestSignature;
    EXPECT_EQ(Verify(kSignedText, ""), Refusal::kNoSignature);
    EXPECT_EQ(Verify(kSignedText, std::string(4096, 'x')), Refusal::kSignatureMalformed);
    EXPECT_EQ(Verify(kSignedText, std::string(4097, 'x')), Refusal::kSignatureTooLarge);
    EXPECT_EQ(Verify(kSignedText, Replaced(good, "from", std::string(4096, 'x'))),
              Refusal::kSignatureTooLarge);
    for (const std::string& text :
         {std::string("\n"), std::string("\n\n\n\n"), good + "x", good + "\n",
          good.substr(0, good.rfind("uJdf")), Replaced(good, "untrusted", "x"),
          Replaced(good, "\ntrusted comment: ", "\ntrusted comment:"),
          Replaced(good, "RUTK", "RUT"), Replaced(good, "RUTK", "RUT-"),
          Replaced(good, "uJdf", "uJd_"), Replaced(good, "hyZc2iSu", "hyZc2\xB5Su"),
          Replaced(good, "Cw==", "Cw=")}) {
        EXPECT_EQ(Verify(kSignedText, text), Refusal::kSignatureMalformed) << text;
    }
}

TEST(SignatureFile, NeedsATrustedKey) {
    EXPECT_EQ(Verify(kSignedText, kDigestSignature, {}), Refusal::kNoTrustedKeys);
    EXPECT_EQ(Verify(kSignedText, kDigestSignature, {KeyOf(kOtherPublicKey)}),
              Refusal::kUnknownKey);
    EXPECT_EQ(
        Verify(kSignedText, kDigestSignature, {KeyOf(kOtherPublicKey), KeyOf(kTestPublicKey)}),
        Refusal::kNone);
}

TEST(SignatureFile, OfAKeyWhoseIdentifierAnotherOneSharesIsFound) {
    PublicKey twin = KeyOf(kTestPublicKey);
    twin.key[5] ^= 1U;
    EXPECT_EQ(Verify(kSignedText, kDigestSignature, {twin}), Refusal::kWrongSignature);
    EXPECT_EQ(Verify(kSignedText, kDigestSignature, {twin, KeyOf(kTestPublicKey)}), Refusal::kNone);
}

TEST(SecretKeyFile, SignsWhatItsPublicKeyAccepts) {
    SecretKey key;
    ASSERT_EQ(key.Parse(kTestSecretKey), Refusal::kNone);
    EXPECT_EQ(key.Public().id, KeyOf(kTestPublicKey).id);
    EXPECT_EQ(key.Public().key, KeyOf(kTestPublicKey).key);
    const std::string made = key.Sign(kSignedText, "trusted");
    // Ed25519 gives the same signature every time, so it is the one that minisign made.
    const std::string rest = std::string(kDigestSignature);
    EXPECT_EQ(made, "untrusted comment: signature by key 33BF1955D20595CA" +
                        rest.substr(rest.find('\n')));
    EXPECT_EQ(Verify(kSignedText, made), Refusal::kNone);
}

TEST(SecretKeyFile, IsRefusedWhenItIsAnythingElse) {
    const std::string good = kTestSecretKey;
    for (const std::string& text :
         {std::string(), std::string(kTestPublicKey), good + "x", Replaced(good, "untrusted", ""),
          Replaced(good, "RWQA", "RUQA"), Replaced(good, "AAEIy", "AAEIz"),
          Replaced(good, "AAA=", "AA=")}) {
        SecretKey key;
        EXPECT_EQ(key.Parse(text), Refusal::kSecretKeyMalformed) << text;
    }
}

TEST(SecretKeyFile, WithAPasswordIsRefused) {
    SecretKey key;
    EXPECT_EQ(key.Parse(WithBitChanged(kTestSecretKey, 1, 158, 2)), Refusal::kSecretKeyEncrypted);
}

TEST(SecretKeyFile, ThatIsDamagedIsRefused) {
    for (const std::size_t at : {62U, 93U, 94U, 125U, 126U, 157U}) {
        SecretKey key;
        EXPECT_EQ(key.Parse(WithBitChanged(kTestSecretKey, 1, 158, at)), Refusal::kSecretKeyDamaged)
            << at;
    }
}

TEST(SecretKeyFile, WithARealChecksumIsAcceptedToo) {
    // BLAKE2b-256 of "Ed", the identifier and the key, where minisign 0.11 leaves zeros.
    const std::string text = kTestSecretKey;
    SecretKey key;
    EXPECT_EQ(key.Parse(text.substr(0, text.size() - 1 - 44) +
                        "bbNj3KMzHg4LiJZLYNP23dQ8bDGGy3N0d9px/xYox+I=\n"),
              Refusal::kNone);
}

}  // namespace
