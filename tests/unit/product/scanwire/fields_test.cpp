#include "product/scanwire/fields.h"

#include <gtest/gtest.h>

namespace {

using scanwire::FieldReader;
using scanwire::FieldWriter;
using namespace std::string_literals;

TEST(FieldsTest, NumbersAreLittleEndian) {
    std::string bytes;
    FieldWriter fields(bytes);
    fields.U8(0xFE);
    fields.U32(0x01020304);
    fields.U64(0x1122334455667788);
    EXPECT_EQ(bytes, "\xFE\x04\x03\x02\x01\x88\x77\x66\x55\x44\x33\x22\x11"s);
    FieldReader reader(bytes);
    EXPECT_EQ(reader.U8(), 0xFE);
    EXPECT_EQ(reader.U32(), 0x01020304U);
    EXPECT_EQ(reader.U64(), 0x1122334455667788U);
    EXPECT_TRUE(reader.IsDone());
}

TEST(FieldsTest, ATextHasItsSizeBeforeIt) {
    std::string bytes;
    FieldWriter(bytes).Text("a/\xFF", 100);
    EXPECT_EQ(bytes,
              "\x03\x00"
              "a/\xFF"s);
    FieldReader reader(bytes);
    EXPECT_EQ(reader.Text(3), "a/\xFF");
    EXPECT_TRUE(reader.IsDone());
}

TEST(FieldsTest, TheWriterCutsATextToItsLimit) {
    std::string bytes;
    FieldWriter(bytes).Text("abcdef", 4);
    EXPECT_EQ(bytes,
              "\x04\x00"
              "abcd"s);
    bytes.clear();
    FieldWriter(bytes).Text(std::string(70000, 'x'), 100000);
    EXPECT_EQ(bytes.substr(0, 2), "\xFF\xFF");
    EXPECT_EQ(bytes.size(), 2U + 65535U);
}

TEST(FieldsTest, TheWriterCutsATextAtAZeroByte) {
    std::string bytes;
    FieldWriter(bytes).Text("ab\0cd"s, 100);
    EXPECT_EQ(bytes,
              "\x02\x00"
              "ab"s);
}

TEST(FieldsTest, WhatIsCutOffFails) {
    for (const std::string& bytes : {""s, "\x01\x02\x03"s}) {
        FieldReader reader(bytes);
        EXPECT_EQ(reader.U32(), 0U);
        EXPECT_TRUE(reader.Failed());
        EXPECT_FALSE(reader.IsDone());
    }
    const std::string shorter =
        "\x04\x00"
        "abc"s;
    FieldReader text(shorter);
    EXPECT_EQ(text.Text(100), "");
    EXPECT_TRUE(text.Failed());
}

TEST(FieldsTest, ATextBeyondItsLimitFails) {
    const std::string bytes =
        "\x03\x00"
        "abc"s;
    FieldReader reader(bytes);
    EXPECT_EQ(reader.Text(2), "");
    EXPECT_TRUE(reader.Failed());
}

TEST(FieldsTest, ATextWithAZeroByteFails) {
    const std::string bytes =
        "\x03\x00"
        "a\0c"s;
    FieldReader reader(bytes);
    EXPECT_EQ(reader.Text(100), "");
    EXPECT_TRUE(reader.Failed());
}

TEST(FieldsTest, NothingIsReadAfterAFailure) {
    const std::string bytes = "\x05\x01\x01";
    FieldReader reader(bytes);
    reader.FailUnless(true);
    EXPECT_EQ(reader.U8(), 5);
    reader.FailUnless(false);
    EXPECT_EQ(reader.U8(), 0);
    EXPECT_EQ(reader.Text(5), "");
    EXPECT_FALSE(reader.IsDone());
}

TEST(FieldsTest, WhatIsLeftOverIsNotDone) {
    const std::string bytes = "\x05\x01";
    FieldReader reader(bytes);
    EXPECT_EQ(reader.U8(), 5);
    EXPECT_FALSE(reader.IsDone());
    EXPECT_FALSE(reader.Failed());
}

TEST(FieldsTest, PlainIsPrintableAscii) {
    EXPECT_TRUE(scanwire::IsPlain(" az~"));
    EXPECT_TRUE(scanwire::IsPlain(""));
    EXPECT_FALSE(scanwire::IsPlain("a\n"));
    EXPECT_FALSE(scanwire::IsPlain("\x7F"));
    EXPECT_FALSE(scanwire::IsPlain("\xC3\xA4"));
}

}  // namespace
