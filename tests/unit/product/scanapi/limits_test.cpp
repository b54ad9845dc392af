#include <chrono>
#include <filesystem>

#include "tests/support/quickest.h"
#include "tests/unit/product/scanapi/archives.h"
#include "tests/unit/product/scanapi/loaded_engine.h"

namespace {

using archives::Eicar;
using Numbers = std::vector<int>;
using Clock = std::chrono::steady_clock;
namespace fs = std::filesystem;

class LimitsTest : public EngineTest {};

TEST_F(LimitsTest, AFileOfFiveGibibytesOfNothingIsNotCalledClean) {
    Start();
    const auto path = m_tree.Write("sparse", "");
    fs::resize_file(path, 5ULL << 30U);
    constexpr std::chrono::milliseconds kEnough(1000);
    const auto quickest = QuickestOf(3, kEnough, [&] {
        m_messages.clear();
        const auto before = Clock::now();
        EXPECT_EQ(Scan(path), 0);
        return Clock::now() - before;
    });
    EXPECT_LT(quickest, kEnough);
    EXPECT_EQ(Codes(), (Numbers{1005}));
}

TEST_F(LimitsTest, ASparseFileWithinTheBoundsIsReadWhole) {
    Start();
    const auto path = m_tree.Write("sparse", "");
    fs::resize_file(path, 50ULL << 20U);
    EXPECT_EQ(Scan(path), 1);
    EXPECT_EQ(Codes(), (Numbers{1002}));
}

TEST_F(LimitsTest, AMemberBeyondTheSizeBoundMakesTheArchiveUnreadable) {
    Start();
    const auto path = m_tree.Write("bomb.zip", archives::ZipOfZeros("zeros", 120U << 20U));
    EXPECT_LT(fs::file_size(path), 1U << 20U);
    EXPECT_EQ(Scan(path), 0);
    EXPECT_EQ(Files(1005), (std::vector<std::string>{path}));
    EXPECT_TRUE(Files(1002).empty());
}

TEST_F(LimitsTest, TooDeepNestingMakesTheArchiveUnreadable) {
    Start();
    std::string archive = archives::Zip({{"e.com", Eicar()}});
    for (int i = 0; i < 30; ++i) {
        archive = archives::Zip({{"next.zip", archive}});
    }
    const auto path = m_tree.Write("deep.zip", archive);
    EXPECT_EQ(Scan(path), 0);
    EXPECT_EQ(Files(1005), (std::vector<std::string>{path}));
    EXPECT_TRUE(Files(1002).empty());
}

TEST_F(LimitsTest, TooManyMembersMakeTheArchiveUnreadable) {
    Start();
    std::vector<archives::Member> members;
    members.reserve(11000);
    for (int i = 0; i < 11000; ++i) {
        members.push_back({"m" + std::to_string(i), "content " + std::to_string(i)});
    }
    const auto path = m_tree.Write("many.zip", archives::Zip(members));
    EXPECT_EQ(Scan(path), 0);
    EXPECT_EQ(Files(1005), (std::vector<std::string>{path}));
    EXPECT_TRUE(Files(1002).empty());
}

TEST_F(LimitsTest, AnEncryptedMemberMakesTheArchiveUnreadable) {
    Start();
    const auto path = m_tree.Write("locked.zip", archives::Zip({{"open.txt", "readable text"},
                                                                {"locked", "no one knows", true}}));
    EXPECT_EQ(Scan(path), 0);
    EXPECT_EQ(Files(1005), (std::vector<std::string>{path}));
    EXPECT_TRUE(Files(1002).empty());
    EXPECT_TRUE(Files(1001).empty());
}

TEST_F(LimitsTest, AVirusBesideAnEncryptedMemberIsFound) {
    Start();
    const auto path = m_tree.Write(
        "locked.zip", archives::Zip({{"locked", "no one knows", true}, {"bad.com", Eicar()}}));
    EXPECT_EQ(Scan(path), 1);
    EXPECT_EQ(Files(1001), (std::vector<std::string>{path + "/bad.com"}));
    EXPECT_TRUE(Files(1005).empty());
}

// Whether they unpack there or in memory of their own.
TEST_F(LimitsTest, WithoutTheFolderToUnpackInNothingIsPassedOver) {
    Start();
    EXPECT_EQ(Scan(m_tree.Write("first.txt", "there is room")), 1);
    EXPECT_EQ(Codes(), (Numbers{1002}));
    fs::remove_all(m_engine.Path("tmp"));
    m_messages.clear();
    Scan(m_tree.Write("a.zip", archives::Zip({{"e.com", Eicar()}})));
    EXPECT_TRUE(Codes() == (Numbers{1003, 1001, 3004}) || Codes() == (Numbers{1005}));
}

TEST_F(LimitsTest, AMemberPackedInAnUnknownWayMakesTheArchiveUnreadable) {
    Start();
    for (const int method : {14, 93, 95, 98}) {  // LZMA, Zstandard, xz, PPMd
        m_messages.clear();
        const auto path = m_tree.Write(
            "new.zip", archives::Zip({{"open.txt", "readable text"},
                                      {"dir/new", "packed by another method", false, method},
                                      {"more.txt", "readable too"}}));
        EXPECT_EQ(Scan(path), 0) << method;
        EXPECT_EQ(Codes(), (Numbers{1003, 1003, 1005})) << method;
        EXPECT_EQ(Files(1003), (std::vector<std::string>{path + "/open.txt", path + "/more.txt"}));
        // The same one level further in.
        m_messages.clear();
        const auto nested = archives::Zip({{"in/new.zip", ReadAll(path)}, {"last", "last text"}});
        EXPECT_EQ(Scan(m_tree.Write("outer.zip", nested)), 0) << method;
        EXPECT_EQ(Codes().back(), 1005) << method;
    }
}

TEST_F(LimitsTest, AnArchiveWithoutItsListingIsNotCalledClean) {
    Start();
    const auto zip = archives::Zip({{"a.txt", "readable text"}, {"b.txt", "readable too"}});
    EXPECT_EQ(Scan(m_tree.Write("cut.zip", zip.substr(0, zip.find("PK\x01\x02")))), 0);
    EXPECT_EQ(Scan(m_tree.Write(
                  "cut.7z", std::string("7z\xbc\xaf\x27\x1c\0\x04", 8) + std::string(200, 'z'))),
              0);
    EXPECT_EQ(Codes(), (Numbers{1005, 1005}));
}

TEST_F(LimitsTest, EmptyTinyAndTwinMembersLeaveAnArchiveClean) {
    Start();
    const auto inner = archives::Zip({{"n.txt", "one more text"}, {"n.txt", "and another"}});
    const auto zip = archives::Zip({{"folder/", ""},
                                    {"empty", ""},
                                    {"tiny", "12345"},
                                    {"folder/n.txt", "first of that name"},
                                    {"inner.zip", inner},
                                    {"folder/n.txt", "second of that name"}});
    EXPECT_EQ(Scan(m_tree.Write("a.zip", zip)), 1);
    EXPECT_EQ(Codes().back(), 1002);
    // Found by their headers alone within another file, and not through a listing.
    EXPECT_EQ(Scan(m_tree.Write("carrier", std::string(3000, 'j') + zip)), 1);
    EXPECT_EQ(Codes().back(), 1002);
    EXPECT_EQ(Scan(m_tree.Write("none.zip", archives::Zip({}))), 1);
    EXPECT_EQ(Files(1002).size(), 3U);
}

TEST_F(LimitsTest, MoreThanIsReadInAllMakesTheArchiveUnreadable) {
    Start();
    // Each within the bound for one member, 450 MiB together.
    std::vector<archives::Member> members;
    const auto part = archives::Gzip(std::string(90U << 20U, '\0'));
    for (char name = 'a'; name < 'f'; ++name) {
        members.push_back({std::string(1, name), part + name});
    }
    EXPECT_EQ(Scan(m_tree.Write("sum.zip", archives::Zip(members))), 0);
    EXPECT_EQ(Codes().back(), 1005);
    EXPECT_TRUE(Files(1002).empty());
}

TEST_F(LimitsTest, AnArchiveThatNoReaderIsThereForIsNotCalledClean) {
    Start();
    const auto path =
        m_tree.Write("a.rar", std::string("Rar!\x1a\x07\x00", 7) + std::string(300, 'r'));
    EXPECT_EQ(Scan(path), 0);
    EXPECT_EQ(Codes(), (Numbers{1005}));
}

}  // namespace
