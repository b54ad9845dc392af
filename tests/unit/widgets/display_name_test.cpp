#include "widgets/display_name.h"

#include <gtest/gtest.h>

namespace {

std::string Shown(std::string_view bytes) {
    return DisplayName(bytes).toStdString();
}

TEST(DisplayNameTest, ShowsUtf8AsItStands) {
    EXPECT_EQ(Shown(""), "");
    EXPECT_EQ(Shown("plain name.txt"), "plain name.txt");
    EXPECT_EQ(Shown("\xC3\xBC\xE2\x82\xAC\xF0\x9F\x98\x80"),
              "\xC3\xBC\xE2\x82\xAC\xF0\x9F\x98\x80");
    EXPECT_EQ(Shown("<b>&amp;\\n"), "<b>&amp;\\n");
}

TEST(DisplayNameTest, KeepsTheJoinersThatNamesNeed) {
    EXPECT_EQ(Shown("a\xE2\x80\x8D"
                    "b"),
              "a\xE2\x80\x8D"
              "b");
}

TEST(DisplayNameTest, ShowsBytesThatAreNotUtf8ByTheirValue) {
    EXPECT_EQ(Shown("caf\xE9"), "caf\\xE9");
    EXPECT_EQ(Shown("\xFF\xFE"), "\\xFF\\xFE");
    EXPECT_EQ(Shown("\xC3"), "\\xC3") << "a sequence cut short";
    EXPECT_EQ(Shown("\xE2\x82x"), "\\xE2\\x82x") << "a sequence broken off";
    EXPECT_EQ(Shown("\xC0\xAF"), "\\xC0\\xAF") << "an overlong sequence";
    EXPECT_EQ(Shown("\xE0\x80\xAF"), "\\xE0\\x80\\xAF") << "a longer overlong sequence";
    EXPECT_EQ(Shown("\xED\xA0\x80"), "\\xED\\xA0\\x80") << "half of a surrogate pair";
    EXPECT_EQ(Shown("\xF4\x90\x80\x80"), "\\xF4\\x90\\x80\\x80") << "beyond Unicode";
}

TEST(DisplayNameTest, NamesThatDifferInOneBadByteLookDifferent) {
    EXPECT_NE(Shown("caf\xE9"), Shown("caf\xE8"));
}

TEST(DisplayNameTest, ShowsControlCharactersAsTheyAreWritten) {
    EXPECT_EQ(Shown("two\nlines"), "two\\nlines");
    EXPECT_EQ(Shown("\t\r\x1B\x01"), "\\t\\r\\x1B\\x01");
    EXPECT_EQ(Shown("\x7F"), "\\x7F");
    EXPECT_EQ(Shown(std::string_view("\0", 1)), "\\x00");
    EXPECT_EQ(Shown("\xC2\x85"), "\\u0085");
}

TEST(DisplayNameTest, ShowsCharactersThatTurnTheWritingRoundOrBreakTheLine) {
    EXPECT_EQ(Shown("a\xE2\x80\xAEgpj.exe"), "a\\u202Egpj.exe");
    EXPECT_EQ(Shown("\xE2\x81\xA6\xE2\x80\x8F\xE2\x80\xA8"), "\\u2066\\u200F\\u2028");
}

TEST(ShortDisplayPathTest, ShortensByBytes) {
    const std::string path = "/123456789012345678901234567890";  // 31
    EXPECT_EQ(ShortDisplayPath(path.c_str(), 31), QString::fromLatin1(path.c_str()));
    EXPECT_EQ(ShortDisplayPath(path.c_str(), 20), QStringLiteral("/123456...1234567890"));
    EXPECT_EQ(ShortDisplayPath(nullptr, 20), QString());
}

TEST(ShortDisplayPathTest, ShowsWhatIsLeftOfACharacterThatWasCut) {
    EXPECT_EQ(ShortDisplayPath("123456\xC3\xBC 012345678901", 20),
              QStringLiteral("123456\\xC3...2345678901"));
}

}  // namespace
