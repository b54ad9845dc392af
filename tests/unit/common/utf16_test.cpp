#include "common/utf16.h"

#include <gtest/gtest.h>

namespace {

TEST(Utf16, WellFormedTextIsConverted) {
    EXPECT_EQ(common::Utf16FromBytes(""), u"");
    EXPECT_EQ(common::Utf16FromBytes("/home/a.txt"), u"/home/a.txt");
    EXPECT_EQ(common::Utf16FromBytes("\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80z"),
              u"\u00E4\u20AC\xD83D\xDE00z");
    EXPECT_EQ(common::Utf16FromBytes("\xF4\x8F\xBF\xBF"), u"\xDBFF\xDFFF");
    EXPECT_EQ(common::Utf16FromBytes(std::string_view("a\0b", 3)), std::u16string(u"a\0b", 3));
}

TEST(Utf16, EachByteThatIsNoUtf8BecomesALoneSurrogate) {
    EXPECT_EQ(common::Utf16FromBytes("a\xFF"
                                     "b"),
              u"a\xDCFF"
              u"b");
    // Cut sequences, a continuation alone, an overlong slash, and one past the last character.
    EXPECT_EQ(common::Utf16FromBytes("\xE2\x82"), u"\xDCE2\xDC82");
    EXPECT_EQ(common::Utf16FromBytes("\xE2\x82z"), u"\xDCE2\xDC82z");
    EXPECT_EQ(common::Utf16FromBytes("\x80"), u"\xDC80");
    EXPECT_EQ(common::Utf16FromBytes("\xC0\xAF"), u"\xDCC0\xDCAF");
    EXPECT_EQ(common::Utf16FromBytes("\xF4\x90\x80\x80"), u"\xDCF4\xDC90\xDC80\xDC80");
    // A surrogate in three bytes would come back as another byte if it were let pass.
    EXPECT_EQ(common::Utf16FromBytes("x\xED\xB2\x80y"), u"x\xDCED\xDCB2\xDC80y");
    EXPECT_EQ(common::Utf16FromBytes("\xED\xA0\x80"), u"\xDCED\xDCA0\xDC80");
    EXPECT_EQ(common::Utf16FromBytes("\xED\x9F\xBF"), u"\uD7FF");
}

TEST(Utf16, BytesComeBackAsTheyWere) {
    // Every pair of bytes after a character and before one.
    for (int first = 0; first < 256; ++first) {
        for (int second = 0; second < 256; ++second) {
            const std::string bytes = std::string("\xE2\x82\xAC") + static_cast<char>(first) +
                                      static_cast<char>(second) + "\xBF\xC3\xA4";
            ASSERT_EQ(common::BytesFromUtf16(common::Utf16FromBytes(bytes)), bytes)
                << first << " " << second;
        }
    }
}

TEST(Utf16, BackFromUnits) {
    EXPECT_EQ(common::BytesFromUtf16(u""), "");
    EXPECT_EQ(common::BytesFromUtf16(u"a\u00E4\u20AC\xD83D\xDE00"),
              "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80");
    EXPECT_EQ(common::BytesFromUtf16(u"\xDC80\xDCFFz"), "\x80\xFFz");
    // Lone surrogates that stand for no byte.
    EXPECT_EQ(common::BytesFromUtf16(u"\xD800"), "\xED\xA0\x80");
    EXPECT_EQ(common::BytesFromUtf16(u"\xD800z"), "\xED\xA0\x80z");
    EXPECT_EQ(common::BytesFromUtf16(u"\xDC7F\xDD00"), "\xED\xB1\xBF\xED\xB4\x80");
    EXPECT_EQ(common::BytesFromUtf16(u"\xD83D\xD83D\xDE00"), "\xED\xA0\xBD\xF0\x9F\x98\x80");
}

}  // namespace
