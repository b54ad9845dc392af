#include <gtest/gtest.h>
#include <string>

#include "tests/unit/update/files/link_bytes.h"
#include "update/files/update_links.h"

namespace {

unsigned char* Bytes(std::string& text) {
    return reinterpret_cast<unsigned char*>(text.data());
}

TEST(Rotation, OfSingleBits) {
    struct Row {
        unsigned char byte;
        int bits;
        unsigned char left;
        unsigned char right;
    };
    for (const Row& row :
         {Row{0x01, 1, 0x02, 0x80}, Row{0x80, 1, 0x01, 0x40}, Row{0x96, 1, 0x2D, 0x4B},
          Row{0x96, 3, 0xB4, 0xD2}, Row{0x96, 4, 0x69, 0x69}, Row{0x96, 7, 0x4B, 0x2D},
          Row{0x96, 8, 0x96, 0x96}, Row{0x96, 11, 0xB4, 0xD2}, Row{0x01, 2'147'483'647, 0x80, 0x02},
          Row{0xFF, 5, 0xFF, 0xFF}, Row{0x00, 5, 0x00, 0x00}}) {
        EXPECT_EQ(CUpdate::ByteRotateLeft(row.byte, row.bits), row.left)
            << int{row.byte} << " by " << row.bits;
        EXPECT_EQ(CUpdate::ByteRotateRight(row.byte, row.bits), row.right)
            << int{row.byte} << " by " << row.bits;
    }
}

TEST(Rotation, BelowOneLeavesTheByte) {
    for (const int bits : {0, -1, -3, -8, -2'147'483'647 - 1}) {
        EXPECT_EQ(CUpdate::ByteRotateLeft(0x96, bits), 0x96) << bits;
        EXPECT_EQ(CUpdate::ByteRotateRight(0x96, bits), 0x96) << bits;
    }
}

TEST(Rotation, ThereAndBackGivesEveryByte) {
    for (int value = 0; value < 256; ++value) {
        const auto byte = static_cast<unsigned char>(value);
        EXPECT_EQ(CUpdate::ByteRotateRight(CUpdate::ByteRotateLeft(byte, 3), 3), byte);
        EXPECT_EQ(CUpdate::ByteRotateLeft(byte, 3),
                  static_cast<unsigned char>(value * 8 % 256 + value / 32));
    }
}

TEST(Scrambling, RotatesEachByteByThreeBits) {
    std::string text = "http://a.b";
    ASSERT_EQ(CUpdate::Encrypt(Bytes(text), 10), 1);
    EXPECT_EQ(ToHex(text), "43a3a383d179790b7113");
    ASSERT_EQ(CUpdate::Decrypt(Bytes(text), 10), 1);
    EXPECT_EQ(text, "http://a.b");
}

TEST(Scrambling, UndoesItselfForEveryByte) {
    std::string all;
    for (int value = 0; value < 256; ++value) {
        all += static_cast<char>(value);
    }
    std::string scrambled = all;
    CUpdate::Encrypt(Bytes(scrambled), 256);
    EXPECT_EQ(scrambled, Rotated(all));
    CUpdate::Decrypt(Bytes(scrambled), 256);
    EXPECT_EQ(scrambled, all);
}

TEST(Scrambling, StopsAtItsLength) {
    std::string text = "hhh";
    ASSERT_EQ(CUpdate::Encrypt(Bytes(text), 1), 1);
    EXPECT_EQ(text, "\x43hh");
    ASSERT_EQ(CUpdate::Decrypt(Bytes(text), 1), 1);
    EXPECT_EQ(text, "hhh");
}

TEST(Scrambling, FailsWithoutBytes) {
    std::string text = "text";
    EXPECT_EQ(CUpdate::Encrypt(nullptr, 4), 0);
    EXPECT_EQ(CUpdate::Decrypt(nullptr, 4), 0);
    for (const int length : {0, -1}) {
        EXPECT_EQ(CUpdate::Encrypt(Bytes(text), length), 0);
        EXPECT_EQ(CUpdate::Decrypt(Bytes(text), length), 0);
    }
    EXPECT_EQ(text, "text");
}

}  // namespace
