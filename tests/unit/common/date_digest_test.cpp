#include <array>
#include <gtest/gtest.h>
#include <string>

#include "common/date_text.h"
#include "common/given/digest_text.h"

namespace {

TEST(DateText, IsWrittenWithoutPadding) {
    const tagZQSYSTEMTIME time{2024, 3, 2, 5, 7, 4, 9, 123};
    std::array<char, 32> buffer;
    buffer.fill('x');
    EXPECT_EQ(GetStringFromDate(&time, buffer.data(), buffer.size()), 1);
    EXPECT_STREQ(buffer.data(), "2024-3-5 7:4:9");
    EXPECT_EQ(buffer[31], '\0') << "the whole buffer is cleared first";
}

TEST(DateText, IsCutToTheBufferAndRefusesOnlyANullOne) {
    const tagZQSYSTEMTIME time{2024, 3, 2, 5, 7, 4, 9, 0};
    std::array<char, 6> buffer;
    buffer.fill('x');
    EXPECT_EQ(GetStringFromDate(&time, buffer.data(), 5), 1);
    EXPECT_EQ(std::string(buffer.data()), "2024");
    EXPECT_EQ(buffer[5], 'x');
    EXPECT_EQ(GetStringFromDate(&time, nullptr, 32), 0);
    EXPECT_EQ(GetStringFromDate(nullptr, buffer.data(), 5), 1);
    EXPECT_STREQ(buffer.data(), "");
}

TEST(DateText, IsReadBack) {
    tagZQSYSTEMTIME time{1, 1, 1, 1, 1, 1, 1, 1};
    EXPECT_EQ(GetDateFromString("2024-3-5 7:04:09", &time), 1);
    EXPECT_EQ(time.year, 2024);
    EXPECT_EQ(time.month, 3);
    EXPECT_EQ(time.dayOfWeek, 0);
    EXPECT_EQ(time.day, 5);
    EXPECT_EQ(time.hour, 7);
    EXPECT_EQ(time.minute, 4);
    EXPECT_EQ(time.second, 9);
    EXPECT_EQ(time.milliseconds, 0);
}

TEST(DateText, FieldsThatAreNotThereAreZero) {
    tagZQSYSTEMTIME time{1, 1, 1, 1, 1, 1, 1, 1};
    EXPECT_EQ(GetDateFromString("2024-3", &time), 1);
    EXPECT_EQ(time.year, 2024);
    EXPECT_EQ(time.month, 3);
    EXPECT_EQ(time.day, 0);
    EXPECT_EQ(time.second, 0);
    EXPECT_EQ(GetDateFromString("", &time), 1);
    EXPECT_EQ(time.year, 0);
}

TEST(DateText, OtherCharactersAreRefused) {
    tagZQSYSTEMTIME time{1, 2, 3, 4, 5, 6, 7, 8};
    for (const char* text : {"2024/3/5 7:4:9", "2024-3-5T7:4:9", "2024-3-5\t7:4:9", "+1-2-3"}) {
        EXPECT_EQ(GetDateFromString(text, &time), 0) << text;
    }
    EXPECT_EQ(GetDateFromString(nullptr, &time), 0);
    EXPECT_EQ(GetDateFromString("2024-3-5 7:4:9", nullptr), 0);
    EXPECT_EQ(time.year, 1) << "a refused text leaves the record alone";
}

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
