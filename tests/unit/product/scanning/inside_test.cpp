// What is in a file, read by whom it may be: names, bounds, repeated contents, damage.

#include <gtest/gtest.h>

#include "tests/unit/product/scanapi/archives.h"
#include "tests/unit/product/scanning/packed_samples.h"
#include "tests/unit/product/scanning/sample_scanner.h"

namespace {

using Names = std::vector<std::string>;
using archives::Eicar;
using archives::Gzip;
using archives::Zip;
using Pack = std::string (*)(const std::vector<archives::Member>&);

std::string Ar(const std::vector<archives::Member>& members) {
    std::string out = "!<arch>\n";
    for (const auto& member : members) {
        std::string head = member.name + '/';
        head.resize(16, ' ');
        head += "0           0     0     100644  ";
        std::string size = std::to_string(member.content.size());
        size.resize(10, ' ');
        out += head + size + "`\n" + member.content;
        if (out.size() % 2 != 0) {
            out += '\n';
        }
    }
    return out;
}

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
        return VerdictOf(Scan(bytes, profile).outcome);
    }

    static inline std::unique_ptr<SampleScanner> s_scanner;
};

// Each level holds the next one sixteen times: 16 to the power of 5 files to look at.
std::string Bomb(Pack pack) {
    std::string bomb = "the one file that all of it is made of";
    for (int level = 0; level < 5; ++level) {
        std::vector<archives::Member> members;
        members.reserve(16);
        for (int i = 0; i < 16; ++i) {
            members.push_back({"m" + std::to_string(i), bomb});
        }
        bomb = Gzip(pack(members));
    }
    return bomb;
}

TEST_F(InsideTest, EqualContentsAreLookedAtOnce) {
    for (const Pack pack : {Zip, Ar}) {
        const auto result = Scan(Bomb(pack));
        EXPECT_EQ(VerdictOf(result.outcome), "clean");
        // Told of at each place where it was looked at, and where it was seen to be the same.
        EXPECT_EQ(result.members.size(), 5U * 16U);
    }
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

TEST_F(InsideTest, AnEncryptedMemberWithinOtherDataIsNotCalledClean) {
    const std::string unknown = std::string("\x01\x02\x03\x04\x05\x06\x07\x81\x8d") +
                                std::string(40, '\0') + std::string("\x81\0\0\0\x01", 5);
    const auto secret = Zip({{"plain", "nothing in it"}, {"secret", "nobody reads this", true}});
    for (const std::string& start : {unknown, std::string("some text\n"), std::string("MZ program"),
                                     std::string("\xFF\xD8\xFF\xE0 an image")}) {
        EXPECT_EQ(Verdict(start + secret), "unread: encrypted") << start;
        // A find next to it is told of all the same.
        EXPECT_EQ(Verdict((start + Zip({{"bad.com", Eicar()}})).append(secret)), "infected")
            << start;
    }
    // Matched as the bytes it is where archives are not to be read.
    auto quiet = SampleScanner::kAll;
    quiet.archives = false;
    EXPECT_EQ(Verdict(unknown + secret, quiet), "clean");
    // Too small for anything, or no member at all.
    EXPECT_EQ(Verdict(unknown + Zip({{"secret", "tiny", true}})), "clean");
    EXPECT_EQ(Verdict(unknown + std::string("PK\x03\x04\x14\0\x01\0", 8) + unknown), "clean");
}

// A harmless one before it hides nothing, and what follows an archive is no fault of it.
TEST_F(InsideTest, EachArchiveWithinOtherDataIsRead) {
    for (const char* const kind : {"RAR 4, stored", "RAR 5, stored", "7z, bzip2", "cab"}) {
        const std::string good = MakeSample(kind, false);
        const std::string bad = MakeSample(kind, true);
        const auto within = [&good](const std::string& second) {
            return std::string("some text\n").append(good).append("and more ").append(second) +
                   "the end";
        };
        EXPECT_EQ(Verdict(within(good)), "clean") << kind;
        EXPECT_EQ(Verdict(within(bad)), "infected") << kind;
        auto quiet = SampleScanner::kAll;
        quiet.archives = false;
        EXPECT_EQ(Verdict("some text\n" + good.substr(0, good.size() / 2), quiet), "clean") << kind;
    }
}

// What looks like an archive cut short there need be none.
TEST_F(InsideTest, TheStreamsOfADocumentMayLieAboutInPieces) {
    const std::string piece = MakeSample("RAR 4, stored", false).substr(0, 3000);
    const std::string document = MakeSample("Word document", true);
    EXPECT_TRUE(Verdict("some text\n" + piece).starts_with("unread: archive "));
    EXPECT_EQ(Verdict(document), "clean");
    EXPECT_EQ(Verdict(document + piece), "clean");
}

TEST_F(InsideTest, SoManyArchivesInOneFileAreNotCalledClean) {
    // A head with its check sum, and the end.
    const std::string empty = std::string("Rar!\x1a\x07\0\xcf\x90\x73\0\0\x0d\0", 14) +
                              std::string(6, '\0') + std::string("\xc4\x3d\x7b\0\x40\x07\0", 7);
    std::string many = "some text\n";
    for (int i = 0; i < 1000; ++i) {
        many += empty;
    }
    EXPECT_EQ(Verdict(many), "clean");
    EXPECT_EQ(Verdict(many + empty), "unread: too many members");
}

TEST_F(InsideTest, MembersAreNamedByTheirWholePath) {
    const auto inner = Ar({{"one.txt", "the first text"}, {"bad.com", Eicar()}});
    const auto result = Scan(Ar({{"plain", "plain text"}, {"inner.a", inner}}));
    EXPECT_EQ(result.outcome.virusName, "Eicar-Test-Signature.UNOFFICIAL");
    EXPECT_EQ(result.outcome.member, "inner.a/bad.com");
    EXPECT_EQ(result.members, (Names{"plain", "inner.a", "inner.a/one.txt", "inner.a/bad.com"}));
}

// One reader's members in the other's.
TEST_F(InsideTest, WhateverIsPackedInWhateverIsFound) {
    const auto deep =
        Zip({{"dir/in.a", Ar({{"tape.gz", Gzip(archives::Tar({{"bad", Eicar()}}))}})}});
    const auto result = Scan(Ar({{"deep.zip", deep}}));
    EXPECT_EQ(result.outcome.member, "deep.zip/dir/in.a/tape.gz/bad");
    EXPECT_EQ(result.members, (Names{"deep.zip", "deep.zip/dir/in.a", "deep.zip/dir/in.a/tape.gz",
                                     "deep.zip/dir/in.a/tape.gz/bad"}));
}

// Stored in two bytes each, in the one, and as they are in the other.
TEST_F(InsideTest, NamesInAnyAlphabetAreInUtf8) {
    const std::string renamed =
        "export LC_ALL=C.UTF-8\nmkdir d\nmv bad.com 'd/gr\xc3\xbcn.com'\nrm noise\n";
    const auto sevenZip = renamed + "7zz a -bd -m0=BZip2 \"$WORK/a\" d && mv \"$WORK\"/a* \"$OUT\"";
    EXPECT_EQ(Scan(RunPacker(sevenZip, true)).outcome.member, "d/gr\xc3\xbcn.com");
    const auto package = Ar({{"d.tar", RunPacker(renamed + "tar cf \"$OUT\" d", true)}});
    EXPECT_EQ(Scan(package).outcome.member, "d.tar/d/gr\xc3\xbcn.com");
}

TEST_F(InsideTest, AfterAFindNothingMoreIsToldOf) {
    EXPECT_EQ(Scan(Ar({{"bad", Eicar()}, {"late", "comes after it"}})).members, (Names{"bad"}));
}

TEST_F(InsideTest, WithArchivesOffNothingIsUnpacked) {
    auto profile = SampleScanner::kAll;
    profile.archives = false;
    const auto result = Scan(Ar({{"bad", Eicar()}}), profile);
    EXPECT_EQ(VerdictOf(result.outcome), "clean");
    EXPECT_TRUE(result.members.empty());
    EXPECT_EQ(Verdict("hsqs" + std::string(200, 'x'), profile), "clean");
}

TEST_F(InsideTest, TooDeepNestingIsUnread) {
    std::string archive = Ar({{"bad", Eicar()}});
    for (int i = 0; i < 12; ++i) {
        archive = Ar({{"a", archive}});
    }
    EXPECT_EQ(Verdict(archive), "infected");
    for (int i = 0; i < 12; ++i) {
        archive = Ar({{"a", archive}});
    }
    EXPECT_EQ(Verdict(archive), "unread: nested too deeply");
}

// Half of the levels are libclamav's.
TEST_F(InsideTest, BothReadersLevelsAreCountedTogether) {
    std::string archive = Ar({{"bad", Eicar()}});
    for (int i = 0; i < 12; ++i) {
        archive = Ar({{"a", Gzip(archive)}});
    }
    EXPECT_EQ(Verdict(archive), "unread: nested too deeply");
}

TEST_F(InsideTest, MembersAreCountedOverTheWholeFile) {
    std::vector<archives::Member> halves;
    for (const char half : {'a', 'b'}) {
        std::vector<archives::Member> members;
        members.reserve(5100);
        for (int i = 0; i < 5100; ++i) {
            members.push_back({"m", "content " + std::string(1, half) + std::to_string(i)});
        }
        halves.push_back({std::string(1, half), Ar(members)});
    }
    EXPECT_EQ(Verdict(Ar(halves)), "unread: too many members");
}

TEST_F(InsideTest, BytesAreCountedOverTheWholeFile) {
    std::vector<archives::Member> members;
    for (char name = 'a'; name < 'g'; ++name) {
        members.push_back({std::string(1, name), Gzip(std::string(80U << 20U, name))});
    }
    EXPECT_EQ(Verdict(Ar(members)), "unread: too large when unpacked");
}

TEST_F(InsideTest, AnUnwantedProgramHidesNothingInAnyReader) {
    auto profile = SampleScanner::kAll;
    profile.unwanted = false;
    const auto archive = Ar({{"ad", "this is adware!"}, {"bad", Eicar()}});
    const auto result = Scan(archive, profile);
    EXPECT_EQ(result.outcome.member, "bad");
    EXPECT_EQ(result.members, (Names{"ad", "bad"}));
    EXPECT_EQ(Verdict(Ar({{"ad", "this is adware!"}}), profile), "clean");
    EXPECT_EQ(Scan(archive).outcome.member, "ad");
}

TEST_F(InsideTest, DamagedContentsAreNotCalledClean) {
    auto gzip = Gzip("a text that is long enough to be packed, packed, packed");
    EXPECT_EQ(Verdict(gzip), "clean");
    gzip[gzip.size() - 6] = static_cast<char>(gzip[gzip.size() - 6] ^ 1);
    EXPECT_EQ(Verdict(gzip), "unread: archive damaged");
    EXPECT_EQ(Verdict(Zip({{"in.gz", gzip}})), "unread: archive damaged");
}

TEST_F(InsideTest, WhatIsInALaterStreamIsFound) {
    const auto tar = archives::Tar({{"plain", "plain text"}, {"bad", Eicar()}});
    EXPECT_EQ(Scan(Gzip(tar.substr(0, 700)) + Gzip(tar.substr(700))).outcome.member, "bad");
}

// Many a stream begins with zeros, and is no archive for that.
TEST_F(InsideTest, AStreamOfZerosHidesNothing) {
    const std::string zeros(2048, '\0');
    EXPECT_EQ(Verdict(Gzip(zeros) + Gzip("unknown-body")), "infected");
    EXPECT_EQ(Verdict(Gzip(zeros) + Gzip(zeros)), "clean");
}

TEST_F(InsideTest, AnUnreadMemberMakesTheWholeUnread) {
    EXPECT_EQ(Verdict(Ar({{"disk", "hsqs" + std::string(200, 'x')}})),
              "unread: no reader for its kind");
    EXPECT_EQ(Verdict(Zip({{"disk", "hsqs" + std::string(200, 'x')}})),
              "unread: no reader for its kind");
    // A find is a find all the same.
    EXPECT_EQ(Verdict(Zip({{"disk", "hsqs" + std::string(200, 'x')}, {"bad", Eicar()}})),
              "infected");
}

}  // namespace
