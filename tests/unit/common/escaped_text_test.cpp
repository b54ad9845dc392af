#include "common/escaped_text.h"

#include <gtest/gtest.h>
#include <regex>
#include <string>
#include <string_view>
#include <vector>

#include "common/utf8.h"
#include "tests/support/scratch.h"

using namespace std::string_literals;

namespace {

using common::AppendCharacterEscape;
using common::Escaped;

std::string Utf8Of(char32_t character) {
    std::string bytes;
    const auto add = [&bytes](char32_t byte) { bytes += static_cast<char>(byte); };
    if (character < 0x80) {
        add(character);
    } else if (character < 0x800) {
        add(0xC0 | (character >> 6));
        add(0x80 | (character & 0x3F));
    } else if (character < 0x10000) {
        add(0xE0 | (character >> 12));
        add(0x80 | ((character >> 6) & 0x3F));
        add(0x80 | (character & 0x3F));
    } else {
        add(0xF0 | (character >> 18));
        add(0x80 | ((character >> 12) & 0x3F));
        add(0x80 | ((character >> 6) & 0x3F));
        add(0x80 | (character & 0x3F));
    }
    return bytes;
}

// The way back, as the manual tells it.
std::string Unescaped(std::string_view text) {
    std::string bytes;
    while (!text.empty()) {
        if (text.starts_with("\\\\")) {
            bytes += '\\';
            text.remove_prefix(2);
        } else if (text.starts_with("\\x")) {
            bytes += static_cast<char>(std::stoi(std::string(text.substr(2, 2)), nullptr, 16));
            text.remove_prefix(4);
        } else if (text.starts_with("\\u{")) {
            const std::size_t end = text.find('}');
            bytes += Utf8Of(static_cast<char32_t>(
                std::stoul(std::string(text.substr(3, end - 3)), nullptr, 16)));
            text.remove_prefix(end + 1);
        } else {
            EXPECT_NE(text.front(), '\\') << "an escape that nobody knows";
            bytes += text.front();
            text.remove_prefix(1);
        }
    }
    return bytes;
}

TEST(EscapedText, LeavesOrdinaryTextAlone) {
    for (const std::string text :
         {"", "/home/alice/a file.txt", " !\"#$%&'()*+,-./09:;<=>?@AZ[]^_`az{|}~", "/tmp/\xC3\xBC",
          "/tmp/\xE2\x82\xAC", "/tmp/\xE4\xB8\xAD\xE6\x96\x87", "/tmp/\xF0\x9F\x98\x80",
          "e\xCC\x81", "\xC2\xA0", "\xC2\xAC", "\xC2\xAE",
          // Blank pattern, object replacement and replacement character.
          "\xE2\xA0\x80", "\xEF\xBF\xBC", "\xEF\xBF\xBD",
          // Joiners and variation selectors.
          "\xD9\x85\xDB\x8C\xE2\x80\x8C\xD8\xAE\xD9\x88", "\xE0\xA5\x8D\xE2\x80\x8D",
          "\xE2\x9D\xA4\xEF\xB8\x8F", "\xE1\xA0\xA0\xE1\xA0\x8B", "\xE8\x91\x9B\xF3\xA0\x84\x80"}) {
        EXPECT_EQ(Escaped(text), text);
    }
}

TEST(EscapedText, DoublesTheBackslash) {
    EXPECT_EQ(Escaped(R"(\)"), R"(\\)");
    EXPECT_EQ(Escaped(R"(a\x41\\b)"), R"(a\\x41\\\\b)");
}

TEST(EscapedText, EscapesC0AndDel) {
    EXPECT_EQ(Escaped("a\0b"s), R"(a\u{0000}b)");
    EXPECT_EQ(Escaped("a\tb\nc\rd"), R"(a\u{0009}b\u{000a}c\u{000d}d)");
    EXPECT_EQ(Escaped("\x1B[31mred\x1F"), R"(\u{001b}[31mred\u{001f})");
    EXPECT_EQ(Escaped("\x7F"), R"(\u{007f})");
    for (char32_t c = 0; c < 0x20; ++c) {
        EXPECT_EQ(Escaped(Utf8Of(c)).substr(0, 5), R"(\u{00)") << static_cast<unsigned int>(c);
    }
}

TEST(EscapedText, EscapesC1) {
    for (char32_t c = 0x80; c < 0xA0; ++c) {
        EXPECT_EQ(Escaped(Utf8Of(c)).substr(0, 5), R"(\u{00)") << static_cast<unsigned int>(c);
    }
    EXPECT_EQ(Escaped("\xC2\x80"), R"(\u{0080})");
    EXPECT_EQ(Escaped("\xC2\x9B"), R"(\u{009b})");
    EXPECT_EQ(Escaped("\xC2\x9F"), R"(\u{009f})");
}

TEST(EscapedText, EscapesSeparatorsAndWhatChangesTheDirection) {
    EXPECT_EQ(Escaped("\xE2\x80\xA8\xE2\x80\xA9"), R"(\u{2028}\u{2029})");
    EXPECT_EQ(Escaped("\xE2\x80\x8E\xE2\x80\x8F"), R"(\u{200e}\u{200f})");
    EXPECT_EQ(Escaped("\xE2\x80\xAA\xE2\x80\xAB\xE2\x80\xAC\xE2\x80\xAD\xE2\x80\xAE"),
              R"(\u{202a}\u{202b}\u{202c}\u{202d}\u{202e})");
    EXPECT_EQ(Escaped("\xE2\x81\xA6\xE2\x81\xA7\xE2\x81\xA8\xE2\x81\xA9"),
              R"(\u{2066}\u{2067}\u{2068}\u{2069})");
    EXPECT_EQ(Escaped("\xD8\x9C"), R"(\u{061c})");
}

TEST(EscapedText, EscapesWhatNobodySees) {
    EXPECT_EQ(Escaped("\xE2\x80\x8B"), R"(\u{200b})");
    EXPECT_EQ(Escaped("\xCD\x8F\xE1\x9E\xB4"), R"(\u{034f}\u{17b4})");
    EXPECT_EQ(Escaped("\xE2\x81\xA0\xE2\x81\xAF"), R"(\u{2060}\u{206f})");
    EXPECT_EQ(Escaped("\xEF\xBB\xBF"), R"(\u{feff})");
    EXPECT_EQ(Escaped("\xC2\xAD"), R"(\u{00ad})");
    EXPECT_EQ(Escaped("\xE1\xA0\x8E"), R"(\u{180e})");
    EXPECT_EQ(Escaped("\xE1\x85\x9F\xE1\x85\xA0"), R"(\u{115f}\u{1160})");
    EXPECT_EQ(Escaped("\xE3\x85\xA4\xEF\xBE\xA0"), R"(\u{3164}\u{ffa0})");
    EXPECT_EQ(Escaped("\xEF\xBF\xB9\xEF\xBF\xBB"), R"(\u{fff9}\u{fffb})");
    EXPECT_EQ(Escaped("\xF3\xA0\x80\x81\xF3\xA0\x81\xBF"), R"(\u{e0001}\u{e007f})");
    EXPECT_EQ(Escaped("\xF0\x9D\x85\xB3\xF0\x9B\xB2\xA0"), R"(\u{1d173}\u{1bca0})");
}

TEST(EscapedText, EscapesWhatIsNoCharacter) {
    EXPECT_EQ(Escaped("\xEF\xB7\x90\xEF\xB7\xAF"), R"(\u{fdd0}\u{fdef})");
    EXPECT_EQ(Escaped("\xEF\xBF\xBE\xEF\xBF\xBF"), R"(\u{fffe}\u{ffff})");
    EXPECT_EQ(Escaped("\xF0\x9F\xBF\xBE"), R"(\u{1fffe})");
    EXPECT_EQ(Escaped("\xF4\x8F\xBF\xBF"), R"(\u{10ffff})");
}

TEST(EscapedText, EscapesBytesThatAreNoUtf8) {
    EXPECT_EQ(Escaped("a\xFFz"), R"(a\xffz)");
    EXPECT_EQ(Escaped("\x80"), R"(\x80)");
    EXPECT_EQ(Escaped("\xC3"), R"(\xc3)") << "cut off";
    EXPECT_EQ(Escaped("\xC3(\xE2\x82"), R"(\xc3(\xe2\x82)")
        << "cut off in the middle and at the end";
    EXPECT_EQ(Escaped("\xC0\xAF"), R"(\xc0\xaf)") << "overlong";
    EXPECT_EQ(Escaped("\xC1\xBF"), R"(\xc1\xbf)") << "overlong";
    EXPECT_EQ(Escaped("\xE0\x9F\xBF"), R"(\xe0\x9f\xbf)") << "overlong";
    EXPECT_EQ(Escaped("\xF0\x8F\xBF\xBF"), R"(\xf0\x8f\xbf\xbf)") << "overlong";
    EXPECT_EQ(Escaped("\xED\xA0\x80"), R"(\xed\xa0\x80)") << "a surrogate";
    EXPECT_EQ(Escaped("\xED\xBF\xBF"), R"(\xed\xbf\xbf)") << "a surrogate";
    EXPECT_EQ(Escaped("\xF4\x90\x80\x80"), R"(\xf4\x90\x80\x80)") << "above U+10FFFF";
    EXPECT_EQ(Escaped("\xF5\xFE"), R"(\xf5\xfe)");
    // What follows a broken character is looked at anew.
    EXPECT_EQ(Escaped("\xE2\xC3\xBC"), "\\xe2\xC3\xBC");
}

TEST(EscapedText, TheEdgesOfUtf8AreWellFormed) {
    EXPECT_EQ(Escaped("\xC2\xA1\xDF\xBF"), "\xC2\xA1\xDF\xBF");
    EXPECT_EQ(Escaped("\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80"),
              "\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80");
    EXPECT_EQ(Escaped("\xF0\x90\x80\x80\xF4\x8F\xBF\xBD"), "\xF0\x90\x80\x80\xF4\x8F\xBF\xBD");
}

TEST(EscapedText, EveryCharacterAndEveryPairOfBytesComesBack) {
    for (char32_t c = 0; c <= 0x10FFFF; ++c) {
        if (c == 0xD800) {
            c = 0xE000;
        }
        const std::string text = Utf8Of(c);
        ASSERT_EQ(Unescaped(Escaped(text)), text) << std::hex << static_cast<unsigned long>(c);
    }
    for (unsigned int pair = 0; pair < 0x10000; ++pair) {
        const std::string text = {static_cast<char>(pair >> 8), static_cast<char>(pair & 0xFF)};
        ASSERT_EQ(Unescaped(Escaped(text)), text) << pair;
    }
}

// The characters that the manual says are escaped, those at the ends of the planes included.
std::vector<bool> EscapedByManual() {
    const std::string manual = ReadFile(VIRLOG_MANUAL);
    const std::size_t start = manual.find("one of these characters:");
    const std::size_t end = manual.find(".RE", start);
    EXPECT_NE(end, std::string::npos);
    const std::string text = manual.substr(start, end - start);
    EXPECT_NE(text.find("the last two of every plane"), std::string::npos);
    std::vector<bool> escaped(0x110000);
    for (std::size_t plane = 0; plane < escaped.size(); plane += 0x10000) {
        escaped[plane + 0xFFFE] = escaped[plane + 0xFFFF] = true;
    }
    const std::regex range("U\\+([0-9A-F]+)( to U\\+([0-9A-F]+))?");
    for (std::sregex_iterator match(text.begin(), text.end(), range), none; match != none;
         ++match) {
        const std::size_t first = std::stoul((*match)[1], nullptr, 16);
        const std::size_t last = (*match)[3].matched ? std::stoul((*match)[3], nullptr, 16) : first;
        EXPECT_LE(first, last) << match->str();
        for (std::size_t c = first; c <= last; ++c) {
            escaped.at(c) = true;
        }
    }
    return escaped;
}

TEST(EscapedText, TheManualListsExactlyWhatIsEscaped) {
    const std::vector<bool> escaped = EscapedByManual();
    for (char32_t c = 0; c <= 0x10FFFF; ++c) {
        if (c == 0xD800) {
            c = 0xE000;
        }
        ASSERT_EQ(Escaped(Utf8Of(c)).starts_with("\\u{"), escaped[c])
            << std::hex << static_cast<unsigned long>(c);
    }
}

TEST(EscapedText, WhatItGivesIsAlwaysOneLineOfUtf8) {
    for (unsigned int seed = 1; seed < 2000; ++seed) {
        std::string text;
        for (unsigned int i = 0, state = seed; i < 40; ++i) {
            state = state * 1664525U + 1013904223U;
            text += static_cast<char>(state >> 24);
        }
        const std::string escaped = Escaped(text);
        EXPECT_EQ(escaped.find_first_of("\n\r\x1B"s + '\0'), std::string::npos);
        for (std::string_view rest = escaped; !rest.empty();) {
            const common::DecodedCharacter next = common::DecodeUtf8(rest);
            ASSERT_TRUE(next.isWellFormed) << escaped;
            rest.remove_prefix(next.length);
        }
        EXPECT_EQ(Unescaped(escaped), text);
    }
}

TEST(EscapedText, ACharacterCanBeEscapedOnDemand) {
    std::string out = "x";
    AppendCharacterEscape(out, U'=');
    EXPECT_EQ(out, R"(x\u{003d})");
    AppendCharacterEscape(out, U'\uFF1D');
    EXPECT_EQ(out, R"(x\u{003d}\u{ff1d})");
}

}  // namespace
