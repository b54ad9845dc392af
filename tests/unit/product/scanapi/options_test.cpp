#include <filesystem>

#include "tests/unit/product/scanapi/archives.h"
#include "tests/unit/product/scanapi/loaded_engine.h"

namespace {

using archives::Eicar;
using Numbers = std::vector<int>;

// Bytes that no file type begins with.
const std::string kUnknown = std::string("\x01\x02\x03\x04\x05\x06\x07\x81\x8d") +
                             std::string(8, '\0') + "unknown-body" +
                             std::string("\0\0\x81\0\0\0\0\x01", 8);

class OptionsTest : public EngineTest {
protected:
    Numbers CodesOf(const std::string& path) {
        m_messages.clear();
        Scan(path);
        return Codes();
    }
    void Set(tagSCANAPI_OPTIONS options) { m_library.setOptions(&options); }
};

TEST_F(OptionsTest, ArchivesOffReadsNoMembers) {
    Start();
    const auto path = m_tree.Write("a.tar.gz", archives::Gzip(archives::Tar({{"bad", Eicar()}})));
    auto options = Options();
    options.scanArchives = 0;
    Set(options);
    EXPECT_EQ(CodesOf(path), (Numbers{1002}));
    // Back on for the very next file, though its contents were clean a moment ago.
    Set(Options());
    EXPECT_EQ(CodesOf(path), (Numbers{1003, 1001, 3004}));
}

TEST_F(OptionsTest, CleanFilesOfUnknownTypeAreToldOfOnlyWhenAskedFor) {
    InstallSignatures();
    m_engine.Write("defs/unknown.ndb", "Unknown.Body:0:*:756e6b6e6f776e2d626f6479\n");
    StartWith(Options());
    const auto path = m_tree.Write("blob", kUnknown);
    const auto clean = m_tree.Write("clean", kUnknown.substr(0, 17) + std::string(40, '\0'));
    EXPECT_EQ(CodesOf(path), (Numbers{1001, 3004}));
    EXPECT_EQ(CodesOf(clean), (Numbers{1002}));
    auto options = Options();
    options.dumbScan = 0;
    Set(options);
    // It was looked at all the same: what is found does not hang on it.
    EXPECT_EQ(CodesOf(path), (Numbers{1001, 3004}));
    EXPECT_EQ(CodesOf(clean), Numbers{});
    EXPECT_EQ(CodesOf(m_tree.Write("e.com", Eicar())), (Numbers{1001, 3004}));
    EXPECT_EQ(CodesOf(m_tree.Write("a.zip", archives::Zip({{"blob", kUnknown}}))),
              (Numbers{1003, 1001, 3004}));
    Set(Options());
    EXPECT_EQ(CodesOf(path), (Numbers{1001, 3004}));
}

TEST_F(OptionsTest, UnwantedProgramsAreReportedAtLevelSevenOnly) {
    InstallSignatures();
    m_engine.Write("defs/unwanted.ndu", "PUA.Test.Adware:0:*:61647761726521\n");
    StartWith(Options());
    const auto path = m_tree.Write("ad", "this is adware!");
    EXPECT_EQ(CodesOf(path), (Numbers{1001, 3004}));
    EXPECT_EQ(Find(1001)->detectionClass, 2);
    for (const std::uint16_t level : {std::uint16_t{3}, std::uint16_t{0}}) {
        auto options = Options();
        options.adwareLevel = level;
        Set(options);
        EXPECT_EQ(CodesOf(path), (Numbers{1002})) << level;
    }
    Set(Options());
    EXPECT_EQ(CodesOf(path), (Numbers{1001, 3004}));
}

TEST_F(OptionsTest, AnUnwantedProgramHidesNoVirus) {
    InstallSignatures();
    m_engine.Write("defs/unwanted.ndu", "PUA.Test.Adware:0:*:61647761726521\n");
    m_engine.Write("defs/virus.ndb", "Real.Virus:0:*:766972757321\n");
    auto options = Options();
    options.adwareLevel = 0;
    StartWith(options);
    EXPECT_EQ(CodesOf(m_tree.Write("both", "first adware! and then virus! at the end")),
              (Numbers{1001, 3004}));
    EXPECT_EQ(Find(1001)->virus, "Real.Virus.UNOFFICIAL");
    const auto zip = m_tree.Write(
        "both.zip", archives::Zip({{"ad", "this is adware!"}, {"virus", "this is a virus!"}}));
    CodesOf(zip);
    EXPECT_EQ(Files(1001), (std::vector<std::string>{zip + "/virus"}));
    // Each member is told of once, although the file may be looked through twice.
    EXPECT_EQ(Files(1003), (std::vector<std::string>{zip + "/ad", zip + "/virus"}));
}

TEST_F(OptionsTest, AnUnwantedProgramIsNoExcuseForWhatWasNotRead) {
    InstallSignatures();
    m_engine.Write("defs/unwanted.ndu", "PUA.Test.Adware:0:*:61647761726521\n");
    auto options = Options();
    options.adwareLevel = 0;
    StartWith(options);
    EXPECT_EQ(CodesOf(m_tree.Write("ad.zip", archives::Zip({{"ad", "this is adware!"}}))),
              (Numbers{1003, 1002}));
    const auto path = m_tree.Write(
        "both.zip", archives::Zip({{"ad", "this is adware!"}, {"locked", "no one knows", true}}));
    CodesOf(path);
    EXPECT_EQ(Files(1005), (std::vector<std::string>{path}));
    EXPECT_TRUE(Files(1002).empty());
}

TEST_F(OptionsTest, OptionsOfAnotherSizeChangeNothing) {
    Start();
    auto options = Options();
    options.scanArchives = 0;
    options.size = 544;
    Set(options);
    EXPECT_EQ(CodesOf(m_tree.Write("a.tar.gz", archives::Gzip(archives::Tar({{"bad", Eicar()}})))),
              (Numbers{1003, 1001, 3004}));
}

}  // namespace
