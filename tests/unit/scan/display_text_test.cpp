#include "scan/display_text.h"

#include <gtest/gtest.h>
#include <string>

namespace {

TEST(DisplayText, LeavesOrdinaryTextAlone) {
    EXPECT_EQ(DisplayText("/home/a b/<b>&amp;.txt"), QStringLiteral("/home/a b/<b>&amp;.txt"));
    EXPECT_EQ(DisplayText("gr\xC3\xBC\xC3\x9F"), QString::fromUtf8("grüß"));
    EXPECT_EQ(DisplayText(""), QString());
}

TEST(DisplayText, ShowsWhatWouldMisleadAsAMark) {
    const QString mark(QChar(0xFFFD));
    EXPECT_EQ(DisplayText("a\nb"), "a" + mark + "b");
    EXPECT_EQ(DisplayText("a\tb\rc"), "a" + mark + "b" + mark + "c");
    EXPECT_EQ(DisplayText("a\x1B[2J"), "a" + mark + "[2J");
    EXPECT_EQ(DisplayText("a\xFF"
                          "b"),
              "a" + mark + "b");
    EXPECT_EQ(DisplayText("exe\xE2\x80\xAEtxt"), "exe" + mark + "txt");  // turns the direction
    EXPECT_EQ(DisplayText("a\xE2\x80\xA8z"), "a" + mark + "z");          // a line separator
}

TEST(DisplayText, ShortensByBytes) {
    const std::string path = "/123456789012345678901234567890";  // 31
    EXPECT_EQ(ShortDisplayPath(path.c_str(), 31), QString::fromLatin1(path.c_str()));
    EXPECT_EQ(ShortDisplayPath(path.c_str(), 20), QStringLiteral("/123456...1234567890"));
    // Cut in the middle of a character: what is left of it is shown as a mark.
    EXPECT_EQ(ShortDisplayPath("123456\xC3\xBC 012345678901", 20).left(7),
              "123456" + QString(QChar(0xFFFD)));
    EXPECT_EQ(ShortDisplayPath(nullptr, 20), QString());
}

}  // namespace
