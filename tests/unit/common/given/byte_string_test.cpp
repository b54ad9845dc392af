#include "common/given/byte_string.h"

#include <clocale>
#include <cstdlib>
#include <gtest/gtest.h>
#include <random>
#include <string>

#include "tests/support/scratch.h"

namespace {

TEST(ByteLength, CountsBytesAndTakesNull) {
    EXPECT_EQ(my_strlen(nullptr), 0U);
    EXPECT_EQ(my_strlen(""), 0U);
    EXPECT_EQ(my_strlen("abc"), 3U);
}

TEST(ByteCase, ChangesAsciiLettersInPlace) {
    for (char* (*lower)(char*) : {My_StrLwr, my_strlwrEx}) {
        std::string text = "aZ[@\xC4 1";
        EXPECT_EQ(lower(text.data()), text.data());
        EXPECT_EQ(text, "az[@\xC4 1");
        EXPECT_EQ(lower(nullptr), nullptr);
    }
    for (char* (*upper)(char*) : {My_StrUpr, my_strupr}) {
        std::string text = "aZ{`\xE4 1";
        EXPECT_EQ(upper(text.data()), text.data());
        EXPECT_EQ(text, "AZ{`\xE4 1");
        EXPECT_EQ(upper(nullptr), nullptr);
    }
}

TEST(ByteCase, CountedFormsStopAtTheCountOrTheEnd) {
    std::string text = "ABCD";
    EXPECT_EQ(my_strlwr(text.data(), 2), text.data());
    EXPECT_EQ(text, "abCD");
    my_strlwr(text.data(), 99);
    EXPECT_EQ(text, "abcd");
    EXPECT_EQ(strUpr(text.data(), 3), text.data());
    EXPECT_EQ(text, "ABCd");
    EXPECT_EQ(my_strlwr(nullptr, 2), nullptr);
    EXPECT_EQ(strUpr(nullptr, 2), nullptr);
}

// In a single-byte locale the C library also knows the case of other letters; only the counted
// forms go by it.
TEST(ByteCase, OnlyTheCountedFormsGoByTheLocale) {
    const ScratchFolder locales;
    const std::string compile =
        "localedef -i en_US -f ISO-8859-1 '" + locales / "en_US.ISO-8859-1" + "' >/dev/null 2>&1";
    ASSERT_EQ(std::system(compile.c_str()), 0) << "localedef with the locale sources is needed";
    setenv("LOCPATH", locales.Path().c_str(), 1);
    ASSERT_NE(std::setlocale(LC_CTYPE, "en_US.ISO-8859-1"), nullptr);
    std::string text = "A\xC4";
    EXPECT_STREQ(my_strlwr(text.data(), 2), "a\xE4");
    EXPECT_STREQ(strUpr(text.data(), 2), "A\xC4");
    EXPECT_STREQ(My_StrLwr(text.data()), "a\xC4");
    EXPECT_STREQ(my_strlwrEx(text.data()), "a\xC4");
    text = "a\xE4";
    EXPECT_STREQ(My_StrUpr(text.data()), "A\xE4");
    EXPECT_STREQ(my_strupr(text.data()), "A\xE4");
    std::setlocale(LC_CTYPE, "C");
    unsetenv("LOCPATH");
}

TEST(ByteComparison, FoldsTheValue0x20OfEveryByte) {
    EXPECT_EQ(my_stricmp("ABC", "abc"), 0);
    EXPECT_EQ(my_stricmp("ab", "a"), 1);
    EXPECT_EQ(my_stricmp("a", "ab"), -1);
    EXPECT_EQ(my_stricmp("", "x"), -1);
    EXPECT_EQ(my_stricmp("", ""), 0);
    EXPECT_EQ(my_stricmp("@[", "`{"), 0);
    EXPECT_EQ(my_stricmp("\xE9", "\xC9"), 0);
    EXPECT_EQ(my_stricmp("\xE9", "z"), 1) << "bytes compare as unsigned values";
    EXPECT_EQ(my_stricmp("a ", "a"), 1);
    EXPECT_EQ(my_stricmp("a", "a "), -1);
    EXPECT_EQ(my_stricmp(nullptr, "a"), 1);
    EXPECT_EQ(my_stricmp("a", nullptr), 1);
    EXPECT_EQ(my_strnicmp("ABx", "aby", 2), 0);
    EXPECT_EQ(my_strnicmp("ABx", "aby", 3), -1);
    EXPECT_EQ(my_strnicmp("x", "y", 0), 0);
    EXPECT_EQ(my_strnicmp(nullptr, "y", 0), 1);
}

TEST(ByteSearch, FindsTextAndTheEmptyTextAtTheStart) {
    const std::string text = "aabab";
    EXPECT_EQ(my_strstr(text.c_str(), "ab"), text.c_str() + 1);
    EXPECT_EQ(my_strstr(text.c_str(), ""), text.c_str());
    EXPECT_EQ(my_strstr(text.c_str(), "abc"), nullptr);
    EXPECT_EQ(my_strstr(nullptr, "a"), nullptr);
    EXPECT_EQ(my_strstr("a", nullptr), nullptr);
}

TEST(ByteReverse, ReversesInPlace) {
    std::string text = "abc";
    EXPECT_EQ(my_strrev(text.data()), text.data());
    EXPECT_EQ(text, "cba");
    EXPECT_EQ(my_strrev(nullptr), nullptr);
}

TEST(ByteTrim, RemovesWhiteSpaceAtOneEnd) {
    const auto left = [](std::string text) { return std::string(TrimLeft(text.data())); };
    const auto right = [](std::string text) { return std::string(TrimRight(text.data())); };
    EXPECT_EQ(left(" \t\r\n a b "), "a b ");
    EXPECT_EQ(right(" a b \r\n\t "), " a b");
    EXPECT_EQ(left(" \n "), "");
    EXPECT_EQ(right(" \n "), "");
    EXPECT_EQ(left(""), "");
    EXPECT_EQ(right(""), "");
    EXPECT_EQ(left("x"), "x");
    EXPECT_EQ(right("x"), "x");
    EXPECT_EQ(TrimLeft(nullptr), nullptr);
    EXPECT_EQ(TrimRight(nullptr), nullptr);
}

TEST(ByteProperty, SearchAgreesWithTheStandardString) {
    std::mt19937 engine(7);
    const auto next = [&engine] {
        std::string text(engine() % 7, ' ');
        for (char& byte : text) {
            byte = "abA@"[engine() % 4];
        }
        return text;
    };
    for (int round = 0; round < 20000; ++round) {
        const std::string text = next();
        const std::string needle = next();
        const char* found = my_strstr(text.c_str(), needle.c_str());
        ASSERT_EQ(
            found == nullptr ? std::string::npos : static_cast<std::size_t>(found - text.c_str()),
            text.find(needle));
    }
}

}  // namespace
