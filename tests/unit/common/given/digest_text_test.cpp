#include "common/given/digest_text.h"

#include <algorithm>
#include <array>
#include <gtest/gtest.h>
#include <string>

namespace {

constexpr std::array<unsigned char, 16> kDigest{0x00, 0x01, 0x0F, 0x10, 0x7F, 0x80, 0xAB, 0xCD,
                                                0xEF, 0xFF, 0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC};
constexpr char kDigestText[] = "00010F107F80ABCDEFFF123456789ABC";

TEST(DigestText, Is32UpperCaseDigits) {
    std::array<char, 40> buffer;
    buffer.fill('x');
    EXPECT_EQ(GetMD5StringCmn(kDigest.data(), buffer.data(), buffer.size()), 1);
    EXPECT_STREQ(buffer.data(), kDigestText);
    EXPECT_EQ(buffer[39], '\0');
}

TEST(DigestText, RefusesABufferBelow35BytesAndNull) {
    std::array<char, 40> buffer;
    buffer.fill('x');
    EXPECT_EQ(GetMD5StringCmn(kDigest.data(), buffer.data(), 34), 0);
    EXPECT_EQ(buffer[0], 'x');
    EXPECT_EQ(GetMD5StringCmn(kDigest.data(), buffer.data(), 35), 1);
    EXPECT_EQ(GetMD5StringCmn(kDigest.data(), nullptr, 40), 0);
    EXPECT_EQ(GetMD5StringCmn(nullptr, buffer.data(), 40), 0);
}

TEST(DigestText, IsReadInBothCases) {
    for (const char* text : {kDigestText, "00010f107f80abcdefff123456789abc"}) {
        std::array<unsigned char, 18> output;
        output.fill(0xEE);
        EXPECT_EQ(GetMD5FromString(text, 32, output.data(), 17), 1);
        EXPECT_TRUE(std::equal(kDigest.begin(), kDigest.end(), output.begin()));
        EXPECT_EQ(output[16], 0) << "a zero byte follows the last position";
        EXPECT_EQ(output[17], 0xEE) << "nothing is written behind the output";
    }
}

TEST(DigestText, NeverWritesBehindTheOutput) {
    std::array<unsigned char, 5> output;
    output.fill(0xEE);
    EXPECT_EQ(GetMD5FromString(kDigestText, 32, output.data(), 4), 1);
    EXPECT_EQ(output, (std::array<unsigned char, 5>{0x00, 0x01, 0x0F, 0x10, 0xEE}));
}

TEST(DigestText, RefusesOddAndShortTexts) {
    std::array<unsigned char, 17> output;
    output.fill(0xEE);
    EXPECT_EQ(GetMD5FromString(kDigestText, 31, output.data(), 17), 0);
    EXPECT_EQ(GetMD5FromString(kDigestText, 30, output.data(), 17), 0);
    const std::string odd = std::string(kDigestText) + "0";
    EXPECT_EQ(GetMD5FromString(odd.c_str(), 33, output.data(), 17), 0);
    EXPECT_EQ(GetMD5FromString(nullptr, 32, output.data(), 17), 0);
    EXPECT_EQ(GetMD5FromString(kDigestText, 32, nullptr, 17), 0);
    EXPECT_EQ(output[0], 0xEE);
}

TEST(DigestText, OtherCharactersGiveMeaninglessBytesWithoutError) {
    std::array<unsigned char, 17> output{};
    // "G" is 0x47: (7 + 9) mod 25 = 16, so a pair of them is 16 * 16 + 16 = 272, whose byte is 16.
    EXPECT_EQ(GetMD5FromString("GG000000000000000000000000000000", 32, output.data(), 17), 1);
    EXPECT_EQ(output[0], 16);
    EXPECT_EQ(output[1], 0);
}

}  // namespace
