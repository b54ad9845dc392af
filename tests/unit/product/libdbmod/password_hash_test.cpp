#include "product/libdbmod/password_hash.h"

#include <gtest/gtest.h>
#include <string>

#include "tests/unit/product/libdbmod/database_support.h"

namespace dbmod {
namespace {

constexpr char kSalt[] = "abcdefghijklmnopqrstu.";
constexpr char kDigest[] = "uaGeRFwc53EVmeDt8UH07UWepJIIhoy2F7ac4m.ntnC";

std::string Hash(const std::string& parameters) {
    return "$y$" + parameters + "$" + kSalt + "$" + kDigest;
}

TEST(PasswordHash, IsSaltedYescryptAtACostWorthGuessingAgainst) {
    const std::string first = HashPassword("secret");
    const std::string second = HashPassword("secret");
    EXPECT_EQ(first.substr(0, 7), "$y$jBT$");
    EXPECT_NE(first, second) << "without a salt of its own one guess would try every machine";
    EXPECT_EQ(CheckPassword("secret", first), PasswordCheck::kMatches);
    EXPECT_EQ(CheckPassword("secret", second), PasswordCheck::kMatches);
    EXPECT_EQ(CheckPassword("Secret", first), PasswordCheck::kDiffers);
}

TEST(PasswordHash, ChecksAHashThatAnotherProgramMade) {
    EXPECT_EQ(CheckPassword(kCheapPassword, kCheapHash), PasswordCheck::kMatches);
    EXPECT_EQ(CheckPassword("wrong", kCheapHash), PasswordCheck::kDiffers);
    EXPECT_EQ(CheckPassword("correct hors", kCheapHash), PasswordCheck::kDiffers);
    EXPECT_EQ(CheckPassword("correct horse ", kCheapHash), PasswordCheck::kDiffers);
}

TEST(PasswordHash, EmptyPasswordNeitherHashesNorMatches) {
    EXPECT_EQ(HashPassword(""), "");
    EXPECT_EQ(CheckPassword("", kCheapHash), PasswordCheck::kDiffers);
}

TEST(PasswordHash, TakesPasswordsUpTo511Bytes) {
    const std::string longest(511, 'x');
    const std::string tooLong(512, 'x');
    const std::string hash = HashPassword(longest.c_str());
    ASSERT_NE(hash, "");
    EXPECT_EQ(CheckPassword(longest.c_str(), hash), PasswordCheck::kMatches);
    EXPECT_EQ(CheckPassword(tooLong.c_str(), hash), PasswordCheck::kDiffers);
    EXPECT_EQ(CheckPassword(std::string(510, 'x').c_str(), hash), PasswordCheck::kDiffers)
        << "the last byte counts";
    EXPECT_EQ(HashPassword(tooLong.c_str()), "");
    EXPECT_EQ(CheckPassword(std::string(5'000'000, 'x').c_str(), hash), PasswordCheck::kDiffers);
}

TEST(PasswordHash, ComparesBytesNotCharacters) {
    const std::string notUtf8 = "\xff\xfe\x80";
    const std::string hash = HashPassword(notUtf8.c_str());
    ASSERT_NE(hash, "");
    EXPECT_EQ(CheckPassword(notUtf8.c_str(), hash), PasswordCheck::kMatches);
    EXPECT_EQ(CheckPassword("\xff\xfe\x81", hash), PasswordCheck::kDiffers);
}

TEST(PasswordHash, AcceptsTheBoundedCostsOnly) {
    for (const char* parameters : {"j7T", "j8T", "j9T", "jAT", "jBT", "jCT"}) {
        EXPECT_TRUE(IsUsableHash(Hash(parameters))) << parameters;
    }
    // From 256 MiB to more memory than there is, other flavours, other block sizes, more fields.
    for (const char* parameters : {"j6T", "jDT", "jFT", "jzT", "j:T", "j@T", "j.T", "/7T", "k7T",
                                   "j75", "jBz", "jBT0", "jBT.....", "jB", "j", "", "7T", "$$$"}) {
        EXPECT_FALSE(IsUsableHash(Hash(parameters))) << parameters;
        EXPECT_EQ(CheckPassword(kCheapPassword, Hash(parameters)), PasswordCheck::kFailed);
    }
}

TEST(PasswordHash, RefusesEveryOtherText) {
    const std::string good = kCheapHash;
    ASSERT_TRUE(IsUsableHash(good));
    for (std::size_t length = 0; length < good.size(); ++length) {
        EXPECT_FALSE(IsUsableHash(good.substr(0, length))) << length;
    }
    for (const std::string& bad :
         {std::string(), std::string("*"), std::string("$6$salt$hash"), good + "x", good + "\n",
          good + std::string(1, '\0'), "$y$j7T$" + std::string(87, 'a') + "$" + kDigest,
          std::string("$y$j7T$$") + kDigest, std::string("$y$j7T$ab:d$") + kDigest,
          std::string(100'000, '$'), std::string("$gy$j7T$") + kSalt + "$" + kDigest}) {
        EXPECT_FALSE(IsUsableHash(bad)) << bad.substr(0, 100);
        EXPECT_EQ(CheckPassword(kCheapPassword, bad), PasswordCheck::kFailed);
    }
}

}  // namespace
}  // namespace dbmod
