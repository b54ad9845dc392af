#include "product/scanning/self_extractor.h"

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;
using scanning::ContainerKind;
using scanning::FindEmbeddedArchives;

// The heads of an empty 7z archive and of two RAR archives, with their check sums.
const std::string kSevenZip =
    "7z\xbc\xaf\x27\x1c\0\x04\x8d\x9b\xd5\x0f"s + std::string(20, '\0') + "more";
const std::string kOldRar = "Rar!\x1a\x07\0\xcf\x90\x73\0\0\x0d\0"s + std::string(6, '\0') + "more";

TEST(SelfExtractorTest, ArchivesAreFoundInProgramsAndScriptsOnly) {
    for (const std::string start : {"MZ program",
                                    "\x7f"
                                    "ELF program",
                                    "#!/bin/sh\n"}) {
        const auto found =
            FindEmbeddedArchives(std::string(start).append(kSevenZip).append(kOldRar));
        ASSERT_EQ(found.size(), 2U) << start;
        EXPECT_EQ(found[0].kind, ContainerKind::SevenZip);
        EXPECT_EQ(found[0].offset, start.size());
        EXPECT_EQ(found[1].kind, ContainerKind::Rar);
        EXPECT_EQ(found[1].offset, start.size() + kSevenZip.size());
    }
    EXPECT_TRUE(FindEmbeddedArchives("a text " + kSevenZip + kOldRar).empty());
    EXPECT_TRUE(FindEmbeddedArchives("").empty());
}

// Programs that know of a kind of archive have its first bytes in them.
TEST(SelfExtractorTest, FirstBytesAloneAreNoArchive) {
    auto sevenZip = kSevenZip;
    sevenZip[20] = 1;
    auto rar = kOldRar;
    rar[16] = 1;
    EXPECT_TRUE(FindEmbeddedArchives("MZ program" + sevenZip + rar).empty());
    EXPECT_TRUE(FindEmbeddedArchives("MZ program PK\x03\x04 and more of its texts").empty());
    EXPECT_TRUE(FindEmbeddedArchives("MZ program Rar!\x1a\x07\0 Rar!\x1a\x07\x01\0"s).empty());
    // The true one may come later.
    EXPECT_EQ(FindEmbeddedArchives("MZ program" + rar + kOldRar).size(), 1U);
}

TEST(SelfExtractorTest, StreamsAreFoundInScriptsOnly) {
    const std::string stream = "\x1f\x8b\x08\0"s + std::string(30, 'x');
    ASSERT_EQ(FindEmbeddedArchives("#!/bin/sh\n" + stream).size(), 1U);
    EXPECT_EQ(FindEmbeddedArchives("#!/bin/sh\n" + stream)[0].kind, ContainerKind::Gzip);
    EXPECT_TRUE(FindEmbeddedArchives("MZ program" + stream).empty());
}

}  // namespace
