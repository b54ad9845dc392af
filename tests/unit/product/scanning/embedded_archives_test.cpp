#include "product/scanning/embedded_archives.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;
using scanning::ContainerKind;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

using Found = std::vector<std::pair<ContainerKind, std::size_t>>;

Found Find(const std::string& bytes, bool withZip = false) {
    Found found;
    for (const auto& [kind, offset] : scanning::FindEmbeddedArchives(bytes, withZip)) {
        found.emplace_back(kind, offset);
    }
    return found;
}

// The heads of an empty 7z archive and of two RAR archives, with their check sums.
const std::string kSevenZip =
    "7z\xbc\xaf\x27\x1c\0\x04\x8d\x9b\xd5\x0f"s + std::string(20, '\0') + "more";
const std::string kOldRar = "Rar!\x1a\x07\0\xcf\x90\x73\0\0\x0d\0"s + std::string(6, '\0') + "more";
// 44 bytes, from byte 36 on one folder and one file.
const std::string kCab =
    "MSCF\0\0\0\0\x2c\0\0\0\0\0\0\0\x24\0\0\0\0\0\0\0\x03\x01\x01\0\x01\0"s + std::string(14, '\0');
// Blocks of 128 KiB, version 4.0.
const std::string kSquashfs =
    "hsqs\x01\0\0\0\0\0\0\0\0\0\x02\0\0\0\0\0\x01\0\x11\0\0\0\x01\0\x04\0\0\0"s +
    std::string(65, '\0');
const std::string kZip = "PK\x03\x04\x14\0\0\0\0\0"s + std::string(16, '\0') + "\x01\0\0\0nx"s;

TEST(EmbeddedArchivesTest, ArchivesAreFoundInAnyData) {
    for (const std::string start :
         {"MZ program", "\177ELF program", "#!/bin/sh\n", "a text ", "\xff\xd8 an image"}) {
        const std::size_t n = start.size();
        EXPECT_THAT(Find(std::string(start).append(kSevenZip).append(kOldRar)),
                    ElementsAre(Pair(ContainerKind::SevenZip, n),
                                Pair(ContainerKind::Rar, n + kSevenZip.size())))
            << start;
        EXPECT_THAT(Find(std::string(start).append(kCab).append(kSquashfs)),
                    ElementsAre(Pair(ContainerKind::Cab, n),
                                Pair(ContainerKind::NoReader, n + kCab.size())))
            << start;
    }
    EXPECT_THAT(Find(""), IsEmpty());
    EXPECT_THAT(Find(kOldRar), IsEmpty()) << "what begins the data is no part of it";
}

// A harmless one before it must not hide the other.
TEST(EmbeddedArchivesTest, EachOfAKindIsFound) {
    const std::size_t n = kOldRar.size();
    EXPECT_THAT(Find("x" + kOldRar + kOldRar + kOldRar),
                ElementsAre(Pair(ContainerKind::Rar, 1), Pair(ContainerKind::Rar, 1 + n),
                            Pair(ContainerKind::Rar, 1 + 2 * n)));
}

TEST(EmbeddedArchivesTest, ThereIsAnEndToIt) {
    std::string many = "x";
    for (std::size_t i = 0; i < scanning::kMostEmbedded + 5; ++i) {
        many += kOldRar;
    }
    EXPECT_EQ(Find(many + kCab).size(), scanning::kMostEmbedded + 1);
}

// Programs that know of a kind of archive have its first bytes in them.
TEST(EmbeddedArchivesTest, FirstBytesAloneAreNoArchive) {
    const auto with = [](std::string bytes, std::size_t at, char byte) {
        bytes.at(at) = byte;
        return "MZ program " + bytes;
    };
    EXPECT_THAT(Find(with(kSevenZip, 20, 1)), IsEmpty());
    EXPECT_THAT(Find(with(kSevenZip, 6, 1)), IsEmpty()) << "of another version";
    EXPECT_THAT(Find(with(kOldRar, 16, 1)), IsEmpty());
    EXPECT_THAT(Find(with(kOldRar, 6, 2)), IsEmpty()) << "of another version";
    for (const std::size_t at : {12U, 20U, 24U, 25U}) {
        EXPECT_THAT(Find(with(kCab, at, 7)), IsEmpty()) << at;
    }
    for (const std::size_t at : {8U, 16U, 26U, 28U}) {
        EXPECT_THAT(Find(with(kCab, at, 0)), IsEmpty()) << at;
    }
    for (const std::size_t at : {13U, 22U, 28U}) {
        EXPECT_THAT(Find(with(kSquashfs, at, 7)), IsEmpty()) << at;
    }
    EXPECT_THAT(Find("MZ program PK\x03\x04 and more of its texts"), IsEmpty());
    EXPECT_THAT(Find("MZ program Rar!\x1a\x07\0 Rar!\x1a\x07\x01\0"s), IsEmpty());
    // Cut off right behind them.
    for (const std::string& whole : {kSevenZip, kOldRar, kCab, kSquashfs}) {
        for (std::size_t size = 4; size < 16; ++size) {
            EXPECT_THAT(Find("x" + whole.substr(0, size)), IsEmpty()) << size;
        }
    }
    // The true one may come later.
    EXPECT_EQ(Find(with(kOldRar, 16, 1) + kOldRar).size(), 1U);
}

TEST(EmbeddedArchivesTest, ZipFilesAreFoundInProgramsAndScriptsOrAtWish) {
    for (const std::string start : {"MZ program", "#!/bin/sh\n"}) {
        EXPECT_THAT(Find(std::string(start).append(kZip).append(kZip)),
                    ElementsAre(Pair(ContainerKind::Zip, start.size())));
    }
    EXPECT_THAT(Find("a text " + kZip), IsEmpty());
    EXPECT_THAT(Find("a text " + kZip, true), ElementsAre(Pair(ContainerKind::Zip, 7)));
}

TEST(EmbeddedArchivesTest, StreamsAreFoundInScriptsOnly) {
    const std::string stream = "\x1f\x8b\x08\0"s + std::string(30, 'x');
    EXPECT_THAT(Find("#!/bin/sh\n" + stream), ElementsAre(Pair(ContainerKind::Gzip, 10)));
    EXPECT_THAT(Find("MZ program" + stream), IsEmpty());
}

}  // namespace
