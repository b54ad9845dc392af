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

TEST(DisplayNameTest, ShowsCharactersThatAreNotSeen) {
    EXPECT_EQ(Shown("a\xE2\x80\x8B"
                    "b"),
              "a\\u200Bb");
    EXPECT_EQ(Shown("\xC2\xAD"), "\\u00AD");
    EXPECT_EQ(Shown("\xE2\x81\xA0"), "\\u2060");
    EXPECT_EQ(Shown("\xEF\xBB\xBF"), "\\uFEFF");
    EXPECT_EQ(Shown("\xE1\xA0\x8E"), "\\u180E");
    EXPECT_EQ(Shown("\xE3\x85\xA4"), "\\u3164");
    EXPECT_EQ(Shown("\xE1\x85\x9F"), "\\u115F");
}

TEST(DisplayNameTest, ShowsJoinersAndVariationSelectorsAsTheyStand) {
    for (const std::string name : {"\xD9\x85\xDB\x8C\xE2\x80\x8C\xD8\xAE\xD9\x88",      // Persian
                                   "\xE0\xA4\x95\xE0\xA5\x8D\xE2\x80\x8D\xE0\xA4\xB7",  // Hindi
                                   "\xE1\xA0\xA0\xE1\xA0\x8B",                          // Mongolian
                                   "\xE2\x9D\xA4\xEF\xB8\x8F",                          // a heart
                                   "\xE8\x91\x9B\xF3\xA0\x84\x80"}) {                   // Japanese
        EXPECT_EQ(Shown(name), name);
    }
}

TEST(DisplayNameTest, ShowsTheTagsBeyondFourDigits) {
    EXPECT_EQ(Shown("x\xF3\xA0\x81\x81"
                    "1"),
              "x\\U000E00411");
}

std::string Shortened(const std::string& path, int width) {
    return ShortDisplayPath(path.c_str(), width).toStdString();
}

TEST(ShortDisplayPathTest, ShortensByBytes) {
    const std::string path = "/123456789012345678901234567890";  // 31
    EXPECT_EQ(Shortened(path, 31), path);
    EXPECT_EQ(Shortened(path, 20), "/123456...1234567890");
    EXPECT_EQ(ShortDisplayPath(nullptr, 20), QString());
}

TEST(ShortDisplayPathTest, ASmallWidthIsKeptTo) {
    EXPECT_EQ(Shortened("/123456789", 5), "...78");
    EXPECT_EQ(Shortened("/\xD0\xB1\xD0\xB1\xD0\xB1\xD0\xB1", 5), "...\xD0\xB1");
    EXPECT_EQ(Shortened("/123456789", 0), "");
    EXPECT_EQ(Shortened("/123456789", -1), "");
}

// 20 bytes are 7 before the dots and 10 behind them.

TEST(ShortDisplayPathTest, LeavesOutACharacterThatTheCutGoesThrough) {
    EXPECT_EQ(Shortened("123456\xC3\xBC 012345678901", 20), "123456...2345678901");
    EXPECT_EQ(Shortened("123456789012\xC3\xBC"
                        "123456789",
                        20),
              "1234567...123456789");
}

TEST(ShortDisplayPathTest, KeepsCyrillicCharactersWhole) {
    // "/" and fifteen characters of two bytes: three whole ones fit in front, five behind.
    EXPECT_EQ(Shortened("/абвгдежзийклмно", 20), "/абв...клмно");
    // Without the slash the fourth is cut in front, and nothing behind.
    EXPECT_EQ(Shortened("абвгдежзийклмно", 20), "абв...клмно");
    // Behind, the cut goes through a character when the end is odd.
    EXPECT_EQ(Shortened("абвгдежзийклмноx", 20), "абв...лмноx");
}

TEST(ShortDisplayPathTest, KeepsCjkCharactersWhole) {
    EXPECT_EQ(Shortened("/文件夹文件夹文件夹", 20), "/文件...文件夹");
    EXPECT_EQ(Shortened("/病毒库病毒库病毒库.x", 20), "/病毒...毒库.x");
}

TEST(ShortDisplayPathTest, KeepsEmojiWhole) {
    EXPECT_EQ(Shortened("/😀😁😂😃😄😅", 20), "/😀...😄😅");
    EXPECT_EQ(Shortened("/a/😀😁😂😃😄😅😆", 20), "/a/😀...😅😆");
}

TEST(ShortDisplayPathTest, ShowsBytesThatAreNoCharacterElsewhere) {
    EXPECT_EQ(Shortened("/a\xE9/0123456789012345678901", 26), "/a\\xE9/012...9012345678901");
    EXPECT_EQ(Shortened("/0123456789012345678/caf\xE9.txt", 26), "/012345678...8/caf\\xE9.txt");
}

TEST(ShortDisplayPathTest, EscapesNeverMakeItWider) {
    const std::string bad(40, '\xFF');
    EXPECT_EQ(Shortened(bad, 20), "\\xFF...\\xFF\\xFF");
    EXPECT_EQ(Shortened("/12345678901234567\xFF\xFF", 20), "/123456...67\\xFF\\xFF")
        << "20 bytes, but 26 characters";
    for (int width = 1; width < 60; ++width) {
        EXPECT_LE(Shortened("/a\xFF" + bad + "/\xE2\x80\x8B\xE2\x80\xAE/b", width).size(),
                  static_cast<std::size_t>(width));
    }
}

}  // namespace
