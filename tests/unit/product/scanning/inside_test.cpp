// What is in a file, read by whom it may be: names, bounds, repeated contents, damage.

#include <gtest/gtest.h>

#include "tests/unit/product/scanapi/archives.h"
#include "tests/unit/product/scanning/sample_scanner.h"

namespace {

using Names = std::vector<std::string>;
using archives::Eicar;
using archives::Gzip;
using archives::Zip;
using Pack = std::string (*)(const std::vector<archives::Member>&);

class InsideTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        s_scanner =
            std::make_unique<SampleScanner>(std::vector<std::pair<std::string, std::string>>{
                {"unwanted.ndu", "PUA.Test.Adware:0:*:61647761726521\n"},
                {"unknown.ndb", "Unknown.Body:0:*:756e6b6e6f776e2d626f6479\n"}});
    }
    static void TearDownTestSuite() { s_scanner.reset(); }

    static SampleScanner::Result Scan(std::string_view bytes,
                                      const scanning::ScanProfile& profile = SampleScanner::kAll) {
        return s_scanner->Scan(bytes, profile);
    }
    static std::string Verdict(std::string_view bytes,
                               const scanning::ScanProfile& profile = SampleScanner::kAll) {
        return Described(Scan(bytes, profile).outcome);
    }

    static inline std::unique_ptr<SampleScanner> s_scanner;
};

// Each level holds the next one sixteen times: 16 to the power of 5 files to look at.
std::string Bomb(Pack pack) {
    std::string bomb = "the one file that all of it is made of";
    for (int level = 0; level < 5; ++level) {
        std::vector<archives::Member> members;
        for (int i = 0; i < 16; ++i) {
            members.push_back({"m" + std::to_string(i), bomb});
        }
        bomb = Gzip(pack(members));
    }
    return bomb;
}

TEST_F(InsideTest, EqualContentsAreLookedAtOnce) {
    const auto result = Scan(Bomb(Zip));
    EXPECT_EQ(Described(result.outcome), "clean");
    // Told of at each place where it was looked at, and where it was seen to be the same.
    EXPECT_EQ(result.members.size(), 5U * 16U);
}

TEST_F(InsideTest, AFindInRepeatedContentsIsAFind) {
    const auto inner = Zip({{"bad.com", Eicar()}});
    EXPECT_EQ(Scan(Zip({{"a", inner}, {"b", inner}})).outcome.member, "a/bad.com");
}

// Where it was first met it hid, and it is met again when the file is gone through once more.
TEST_F(InsideTest, RepeatedContentsAreLookedAtAgainInAnotherWay) {
    auto profile = SampleScanner::kAll;
    profile.unwanted = false;
    const auto both = Zip({{"ad", "this is adware!"}, {"bad", Eicar()}});
    EXPECT_EQ(Scan(Zip({{"a", both}, {"b", both}}), profile).outcome.member, "a/bad");
}

TEST_F(InsideTest, FilesOfUnknownTypeAreLookedAtWhateverIsAskedFor) {
    auto quiet = SampleScanner::kAll;
    quiet.unknownTypes = false;
    const std::string unknown = std::string("\x01\x02\x03\x04\x05\x06\x07\x81\x8d") +
                                std::string(40, '\0') + std::string("\x81\0\0\0\x01", 5);
    EXPECT_EQ(Verdict(unknown), "clean");
    EXPECT_EQ(Verdict(unknown, quiet), "passed over");
    EXPECT_EQ(Verdict(unknown + "unknown-body", quiet), "infected");
    // What is recognised late is of a known type, whether or not there is a find in it.
    EXPECT_EQ(Verdict(unknown + Zip({{"a.txt", "nothing in it"}}), quiet), "clean");
    EXPECT_EQ(Verdict(unknown + Zip({{"bad.com", Eicar()}}), quiet), "infected");
}

}  // namespace
