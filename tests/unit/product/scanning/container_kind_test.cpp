#include "product/scanning/container_kind.h"

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;
using scanning::ContainerKind;

ContainerKind KindOf(const std::string& text) {
    return scanning::KindOfContainer(std::as_bytes(std::span(text)));
}

std::string At(std::size_t offset, const std::string& text, std::size_t size = 70000) {
    std::string bytes(size, '\x01');
    return bytes.replace(offset, text.size(), text);
}

TEST(ContainerKindTest, KnownByTheirFirstBytes) {
    EXPECT_EQ(KindOf("\x1f\x8b\x08 and more"), ContainerKind::Gzip);
    EXPECT_EQ(KindOf("BZh91AY&SY and more"), ContainerKind::Bzip2);
    EXPECT_EQ(KindOf("\xfd\x37zXZ\0 and more"s), ContainerKind::Xz);
    EXPECT_EQ(KindOf("LZIP\x01 and more"), ContainerKind::Lzip);
    EXPECT_EQ(KindOf("\x28\xb5\x2f\xfd and more"), ContainerKind::Zstd);
    EXPECT_EQ(KindOf("\x04\x22\x4d\x18 and more"), ContainerKind::Lz4);
    EXPECT_EQ(KindOf("!<arch>\nand more"), ContainerKind::Ar);
    EXPECT_EQ(KindOf("\xed\xab\xee\xdb and more"), ContainerKind::Rpm);
    EXPECT_EQ(KindOf(At(257, "ustar")), ContainerKind::Tar);
    EXPECT_EQ(KindOf(At(0x8001, "CD001")), ContainerKind::Iso);
    EXPECT_EQ(KindOf("hsqs and more"), ContainerKind::NoReader);
}

TEST(ContainerKindTest, TextAndEmptyFilesAreNone) {
    EXPECT_EQ(KindOf(""), ContainerKind::None);
    EXPECT_EQ(KindOf("BZh is how such a file begins"), ContainerKind::None);
    EXPECT_EQ(KindOf("] is a bracket, no stream"), ContainerKind::None);
    EXPECT_EQ(KindOf("ab-lh5- is how one packs it"), ContainerKind::None);
    EXPECT_EQ(KindOf(std::string(70000, '\0')), ContainerKind::None);
}

// Framed by what is to be skipped, as parallel compressors do.
TEST(ContainerKindTest, SkippedFramesComeBeforeTheStream) {
    const std::string skipped = "\x50\x2a\x4d\x18\x04\0\0\0abcd"s;
    EXPECT_EQ(KindOf(skipped + skipped + "\x28\xb5\x2f\xfd"), ContainerKind::Zstd);
    EXPECT_EQ(KindOf(skipped + "\x04\x22\x4d\x18"), ContainerKind::Lz4);
    EXPECT_EQ(KindOf(skipped + "else"), ContainerKind::None);
    EXPECT_EQ(KindOf("\x50\x2a\x4d\x18\xff\xff\xff\xff"s + "abcd"), ContainerKind::None);
}

TEST(ContainerKindTest, LzmaIsKnownByAllOfItsHead) {
    const std::string head = "\x5d\0\0\x80\0\xff\xff\xff\xff\xff\xff\xff\xff\0x"s;
    EXPECT_EQ(KindOf(head), ContainerKind::Lzma);
    for (const std::size_t at : {0U, 1U, 13U}) {
        std::string other = head;
        other[at] = '\x07';
        EXPECT_EQ(KindOf(other), ContainerKind::None) << at;
    }
    EXPECT_EQ(KindOf("\x5d\0\0\x80\0\x01\0\0\0\0\0\0\x7f\0x"s), ContainerKind::None);
}

TEST(ContainerKindTest, CompressStatesHowManyBits) {
    EXPECT_EQ(KindOf("\x1f\x9d\x90 and more"), ContainerKind::Compress);
    EXPECT_EQ(KindOf("\x1f\x9d\x88 and more"), ContainerKind::None);
    EXPECT_EQ(KindOf("\x1f\x9d\xf0 and more"), ContainerKind::None);
}

// Two bytes are not much.
TEST(ContainerKindTest, OldCpioAndArjAreKnownByAllOfTheirHeads) {
    auto cpio = "\xc7\x71"s + std::string(18, '\x01') + "\x05\0"s + std::string(4, '\0') +
                "name\0contents"s;
    EXPECT_EQ(KindOf(cpio), ContainerKind::Cpio);
    cpio[20] = 4;
    EXPECT_EQ(KindOf(cpio), ContainerKind::None);
    EXPECT_EQ(KindOf("\xc7\x71 and any text that may come after it"), ContainerKind::None);
    const auto arj =
        "\x60\xea\x1e\0"s + std::string(30, '\0') + "\xb5\x3e\x04\0"s + std::string(9, '\0');
    EXPECT_EQ(KindOf(arj), ContainerKind::Arj);
    EXPECT_EQ(KindOf("\x60\xea\x1e\0"s + std::string(43, 1)), ContainerKind::None);
}

TEST(ContainerKindTest, AFileSystemIsNotKnownByTwoBytesAlone) {
    std::string image(4096, '\0');
    image.replace(0x438, 2, "\x53\xef");
    EXPECT_EQ(KindOf(image), ContainerKind::NoReader);
    image[0x44c] = 5;
    EXPECT_EQ(KindOf(image), ContainerKind::None);
    std::string fat = At(54, "FAT16   ", 1024);
    EXPECT_EQ(KindOf(fat), ContainerKind::None);
    fat.replace(510, 2, "\x55\xaa");
    EXPECT_EQ(KindOf(fat), ContainerKind::NoReader);
}

}  // namespace
