#include "tests/unit/product/scanapi/archives.h"
#include "tests/unit/product/scanapi/loaded_engine.h"

namespace {

using archives::Eicar;
using Names = std::vector<std::string>;
using Numbers = std::vector<int>;

constexpr char kName[] = "Eicar-Test-Signature.UNOFFICIAL";

class DetectionTest : public EngineTest {};

TEST_F(DetectionTest, FindsTheTestFileAndLeavesIt) {
    Start();
    const auto path = m_tree.Write("e.com", Eicar());
    EXPECT_EQ(Scan(path), 1);
    EXPECT_EQ(Codes(), (Numbers{1001, 3004}));
    ASSERT_NE(Find(1001), nullptr);
    EXPECT_EQ(Find(1001)->file, path);
    EXPECT_EQ(Find(1001)->virus, kName);
    EXPECT_EQ(Find(1001)->detectionClass, 5);
    EXPECT_EQ(Find(3004)->file, path);
    EXPECT_EQ(ReadAll(path), Eicar());
}

TEST_F(DetectionTest, FindsItWithBlanksAfterIt) {
    Start();
    Scan(m_tree.Write("e.com", Eicar() + "\r\n \t\x1a"));
    EXPECT_EQ(Codes(), (Numbers{1001, 3004}));
}

TEST_F(DetectionTest, TextThatOnlySpeaksOfItIsClean) {
    Start();
    EXPECT_EQ(Scan(m_tree.Write("about.txt", "The test file is " + Eicar())), 1);
    EXPECT_EQ(Scan(m_tree.Write("long.txt", Eicar() + std::string(200, ' '))), 1);
    EXPECT_EQ(Codes(), (Numbers{1002, 1002}));
}

TEST_F(DetectionTest, OurOwnDatabaseIsNotAFind) {
    Start();
    EXPECT_EQ(Scan(m_engine.Path("defs/corvane.ldb")), 1);
    EXPECT_EQ(Codes(), (Numbers{1002}));
}

TEST_F(DetectionTest, EmptyAndTinyFilesAreClean) {
    Start();
    EXPECT_EQ(Scan(m_tree.Write("empty", "")), 1);
    EXPECT_EQ(Scan(m_tree.Write("five", "12345")), 1);
    EXPECT_EQ(Codes(), (Numbers{1002, 1002}));
}

TEST_F(DetectionTest, LooksIntoAZipFileMemberByMember) {
    Start();
    const auto path = m_tree.Write(
        "a.zip", archives::Zip({{"docs/readme.txt", "nothing here"}, {"docs/bad.com", Eicar()}}));
    EXPECT_EQ(Scan(path), 1);
    EXPECT_EQ(Files(1003), (Names{path + "/docs/readme.txt", path + "/docs/bad.com"}));
    EXPECT_EQ(Files(1001), (Names{path + "/docs/bad.com"}));
    EXPECT_EQ(Files(3004), (Names{path}));
    EXPECT_EQ(Codes(), (Numbers{1003, 1003, 1001, 3004}));
}

TEST_F(DetectionTest, ACleanArchiveIsToldOfOnceAsClean) {
    Start();
    const auto path = m_tree.Write(
        "a.zip", archives::Zip({{"x/n.txt", "one one one"}, {"y/n.txt", "two two two"}}));
    EXPECT_EQ(Scan(path), 1);
    EXPECT_EQ(Files(1003), (Names{path + "/x/n.txt", path + "/y/n.txt"}));
    EXPECT_EQ(Files(1002), (Names{path}));
}

TEST_F(DetectionTest, LooksIntoACompressedTapeArchive) {
    Start();
    const auto tar = archives::Tar({{"etc/plain", "plain plain"}, {"bin/bad", Eicar()}});
    const auto path = m_tree.Write("a.tar.gz", archives::Gzip(tar));
    EXPECT_EQ(Scan(path), 1);
    EXPECT_EQ(Files(1003), (Names{path + "/etc/plain", path + "/bin/bad"}));
    EXPECT_EQ(Files(1001), (Names{path + "/bin/bad"}));
}

TEST_F(DetectionTest, LooksIntoArchivesInArchives) {
    Start();
    const auto tar = archives::Tar({{"deep/bad", Eicar()}});
    const auto inner = archives::Zip({{"t/tape.tar.gz", archives::Gzip(tar)}});
    const auto path = m_tree.Write(
        "a.zip", archives::Zip({{"clean.txt", "clean as can be"}, {"in/inner.zip", inner}}));
    EXPECT_EQ(Scan(path), 1);
    EXPECT_EQ(Files(1003), (Names{path + "/clean.txt", path + "/in/inner.zip",
                                  path + "/in/inner.zip/t/tape.tar.gz",
                                  path + "/in/inner.zip/t/tape.tar.gz/deep/bad"}));
    EXPECT_EQ(Files(1001), (Names{path + "/in/inner.zip/t/tape.tar.gz/deep/bad"}));
}

TEST_F(DetectionTest, AGzippedFileKeepsItsName) {
    Start();
    const auto path = m_tree.Write("e.gz", archives::Gzip(Eicar()));
    EXPECT_EQ(Scan(path), 1);
    EXPECT_EQ(Codes(), (Numbers{1001, 3004}));
    EXPECT_EQ(Files(1001), (Names{path}));
}

TEST_F(DetectionTest, FindsItInAFileReadByDescriptor) {
    Start();
    // Larger than what is read at once; stored, so that the member lies at the far end.
    const auto path = m_tree.Write(
        "large.zip",
        archives::Zip({{"filling.txt", std::string(5U << 20U, 'a')}, {"bad.com", Eicar()}}));
    EXPECT_EQ(Scan(path), 1);
    EXPECT_EQ(Files(1001), (Names{path + "/bad.com"}));
    EXPECT_EQ(Scan(m_tree.Write("large.txt", std::string(5U << 20U, 'b'))), 1);
    EXPECT_EQ(Files(1002), (Names{m_tree.Path("large.txt")}));
}

}  // namespace
