#include "product/scanning/layer_check.h"

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;
using scanning::CheckLength;
using scanning::ContainerKind;
using scanning::ListArj;

// 20 blocks of 2,048 bytes, by its primary head.
std::string Iso() {
    std::string image(40960, '\0');
    image.replace(0x8000, 6, "\x01"s + "CD001");
    image[0x8000 + 80] = 20;
    image[0x8000 + 129] = 8;
    return image;
}

TEST(LayerCheckTest, ADiscImageIsAsLongAsItSays) {
    EXPECT_EQ(CheckLength(ContainerKind::Iso, Iso()), "");
    EXPECT_EQ(CheckLength(ContainerKind::Iso, Iso() + "padding"), "");
    EXPECT_EQ(CheckLength(ContainerKind::Iso, Iso().substr(0, 40959)), "archive cut short");
}

TEST(LayerCheckTest, ACabinetIsAsLongAsItSays) {
    const std::string cabinet = "MSCF\0\0\0\0\x0e\0\0\0xx"s;
    EXPECT_EQ(CheckLength(ContainerKind::Cab, cabinet), "");
    EXPECT_EQ(CheckLength(ContainerKind::Cab, cabinet.substr(0, 13)), "archive cut short");
}

TEST(LayerCheckTest, ADocumentEndsInItsMark) {
    const std::string document = "%PDF-1.4\nobjects\nstartxref\n9\n%%EOF\n";
    EXPECT_EQ(CheckLength(ContainerKind::Pdf, document), "");
    EXPECT_EQ(CheckLength(ContainerKind::Pdf, document + std::string(60000, ' ')), "");
    EXPECT_EQ(CheckLength(ContainerKind::Pdf, document + std::string(70000, ' ')),
              "document cut short");
    EXPECT_EQ(CheckLength(ContainerKind::Pdf, "%PDF-1.4\nobjects\nstartxref"),
              "document cut short");
}

// Made for reading over a network, it has a mark at its beginning as well.
TEST(LayerCheckTest, ADocumentThatStatesItsLengthIsAsLong) {
    const std::string document =
        "%PDF-1.4\n1 0 obj<</Linearized 1/L 64/O 2>>\n%%EOF\n" + std::string(9, 'x') + "\n%%EOF";
    ASSERT_EQ(document.size(), 64U);
    EXPECT_EQ(CheckLength(ContainerKind::Pdf, document), "");
    EXPECT_EQ(CheckLength(ContainerKind::Pdf, document.substr(0, 63)), "document cut short");
}

// A head of 30 bytes: flags, type, packed and unpacked size.
std::string ArjHead(char flags, char type, char packed, char size) {
    std::string head(30, '\0');
    head[0] = 30;
    head[4] = flags;
    head[6] = type;
    head[12] = packed;
    head[16] = size;
    return "\x60\xea\x1e\0"s + head + "crc." + "\0\0"s;
}

TEST(LayerCheckTest, AnArjArchiveListsItsMembers) {
    const std::string end = "\x60\xea\0\0"s;
    const std::string start = ArjHead(0, 2, 0, 0);
    const std::string archive = start + ArjHead(0, 0, 3, 9) + "abc" + ArjHead(0, 0, 1, 5) + "d";
    const auto listing = ListArj(archive + end);
    EXPECT_EQ(listing.problem, "");
    EXPECT_EQ(listing.members, 1U);
    EXPECT_EQ(listing.bytes, 9U);
    EXPECT_EQ(ListArj(archive).problem, "archive cut short");
    EXPECT_EQ(ListArj(archive.substr(0, 60)).problem, "archive cut short");
    EXPECT_EQ(ListArj(start + ArjHead(1, 0, 3, 9) + "abc" + end).problem, "encrypted");
    EXPECT_EQ(ListArj(start + ArjHead(4, 0, 3, 9) + "abc" + end).problem, "archive cut short");
}

}  // namespace
