#include <gmock/gmock.h>

#include "product/definitions/official_database.h"
#include "tests/unit/product/definitions/definitions_fixture.h"

// Installing databases that carry their publisher's signature.

namespace fs = std::filesystem;

namespace {

using definitions::CandidateFromFolder;
using definitions::Outcome;
using testing::ElementsAre;
using testing::HasSubstr;

class InstallOfficial : public DefinitionsTest {
protected:
    void SetUp() override {
        NEED_SIGNED_DATABASES();
        m_three = ReadFile(SignedDatabases() + "test-3.cvd");
        m_six = ReadFile(SignedDatabases() + "test-6.cvd");
    }

    Outcome InstallFiles(const std::vector<GivenFile>& files) {
        PutFiles(files);
        const auto result = Install();
        m_why = result.why;
        return result.outcome;
    }

    std::string m_three;
    std::string m_six;
    std::string m_why;
};

TEST_F(InstallOfficial, IsInUseAsItIs) {
    ASSERT_EQ(InstallFiles({{"test.cvd", m_six}}), Outcome::kInstalled) << m_why;
    EXPECT_THAT(CurrentNames(), ElementsAre("scanver.cnf", "test.cvd"));
    EXPECT_EQ(CurrentFile("test.cvd"), m_six);
    ExpectWhole();
}

// Version 6 as 0.06, built at 1624412045: Wednesday, 23 June 2021, 01:34:05 UTC.
TEST_F(InstallOfficial, TheVersionRecordIsThatOfTheSignedList) {
    ASSERT_EQ(InstallFiles({{"test.cvd", m_six}}), Outcome::kInstalled) << m_why;
    EXPECT_EQ(CurrentFile("scanver.cnf"),
              std::string("\0\0\x06\0\xE5\x07\x06\0\x03\0\x17\0\x01\0\x22\0\x05\0\0\0", 20));
}

TEST_F(InstallOfficial, ANewerOneReplacesAnOlder) {
    ASSERT_EQ(InstallFiles({{"test.cvd", m_three}}), Outcome::kInstalled) << m_why;
    ASSERT_EQ(InstallFiles({{"test.cvd", m_six}}), Outcome::kInstalled) << m_why;
    EXPECT_EQ(CurrentFile("test.cvd"), m_six);
    EXPECT_EQ(InstallFiles({{"test.cvd", m_six}}), Outcome::kUpToDate);
    EXPECT_EQ(m_why, "there is nothing newer");
}

TEST_F(InstallOfficial, AnOlderOneReplacesNothing) {
    ASSERT_EQ(InstallFiles({{"test.cvd", m_six}}), Outcome::kInstalled) << m_why;
    EXPECT_EQ(InstallFiles({{"test.cvd", m_three}}), Outcome::kRefused);
    EXPECT_EQ(m_why, "these definitions are older than those in use");
    EXPECT_EQ(CurrentFile("test.cvd"), m_six);
}

// The header is not what counts: 512 bytes that nobody signed alone.
TEST_F(InstallOfficial, AHeadThatClaimsAnotherVersionIsRefused) {
    ASSERT_EQ(InstallFiles({{"test.cvd", m_six}}), Outcome::kInstalled) << m_why;
    std::string forged = m_three;
    forged.replace(forged.find(":3:11:"), 6, ":9:11:");
    EXPECT_EQ(InstallFiles({{"test.cvd", forged}}), Outcome::kNothingValid);
    EXPECT_EQ(CurrentFile("test.cvd"), m_six);
    EXPECT_THAT(m_listener.log, HasSubstr("test.cvd is not used: "));
}

// What it becomes by differences has its signature in the list alone.
TEST_F(InstallOfficial, IsTakenWithTheSignatureOfItsList) {
    ASSERT_EQ(InstallFiles({{"test.cvd", m_three}}), Outcome::kInstalled) << m_why;
    ASSERT_EQ(InstallFiles({{"test.cld", m_six}}), Outcome::kInstalled) << m_why;
    EXPECT_THAT(CurrentNames(), ElementsAre("scanver.cnf", "test.cld"));
    ExpectWhole();
}

TEST_F(InstallOfficial, TheSameAtTwoAgesUnderTwoEndingsIsTakenOnce) {
    ASSERT_EQ(InstallFiles({{"test.cld", m_three}, {"test.cvd", m_six}}), Outcome::kInstalled)
        << m_why;
    EXPECT_THAT(CurrentNames(), ElementsAre("scanver.cnf", "test.cvd"));
    EXPECT_EQ(CurrentFile("test.cvd"), m_six);
    EXPECT_EQ(m_listener.log, "") << "both are valid";
}

TEST_F(InstallOfficial, ADamagedOneIsToldAndNotTakenForUpToDate) {
    const std::string words = "other.cvd is not used: its signature is missing or wrong";
    std::string damaged = m_six;
    damaged[damaged.size() / 2] ^= 1;
    ASSERT_EQ(InstallFiles({{"other.cvd", damaged}, {"test.cvd", m_six}}), Outcome::kInstalled);
    EXPECT_EQ(m_listener.refused, 1) << "beside one that is installed";
    EXPECT_EQ(m_listener.log, words + "\n");
    EXPECT_EQ(InstallFiles({{"other.cvd", damaged}, {"test.cvd", m_six}}), Outcome::kFailed);
    EXPECT_EQ(m_why, words);
    EXPECT_EQ(m_listener.refused, 2);
    EXPECT_EQ(InstallFiles({{"other.cvd", "short"}, {"test.cvd", m_six}}), Outcome::kFailed);
    EXPECT_EQ(m_why, "other.cvd is not used: it is no database");
    EXPECT_EQ(m_listener.refused, 3);
    EXPECT_EQ(InstallFiles({{"test.cvd", m_six}}), Outcome::kUpToDate);
    EXPECT_EQ(m_listener.refused, 3);
    EXPECT_EQ(CurrentFile("test.cvd"), m_six);
}

TEST_F(InstallOfficial, OneOfAnotherNameIsNotTakenForAnother) {
    EXPECT_EQ(InstallFiles({{"main.cvd", m_six}}), Outcome::kNothingValid);
    EXPECT_EQ(m_listener.log,
              "main.cvd is not used: what is signed in it belongs to another database, "
              "or is not whole\n");
}

TEST_F(InstallOfficial, WhatIsNotBroughtStaysInUse) {
    ASSERT_EQ(InstallSerial(7, {{"own.ndb", OwnSignature('A'), 1}}), Outcome::kInstalled);
    ASSERT_EQ(InstallFiles({{"test.cvd", m_three}}), Outcome::kInstalled) << m_why;
    EXPECT_THAT(CurrentNames(), ElementsAre("index.json", "index.json.minisig", "own.ndb",
                                            "scanver.cnf", "test.cvd"));
    EXPECT_EQ(CurrentFile("own.ndb"), OwnSignature('A'));
    ExpectWhole();
    // Nor does an index make the machine forget what it does not name.
    ASSERT_EQ(InstallSerial(8, {{"own.ndb", OwnSignature('B'), 2}}), Outcome::kInstalled);
    EXPECT_EQ(CurrentFile("test.cvd"), m_three);
    EXPECT_EQ(CurrentFile("own.ndb"), OwnSignature('B'));
    ExpectWhole();
}

TEST_F(InstallOfficial, NothingButFilesOfDefinitionsGoesOverToTheNextSet) {
    ASSERT_EQ(InstallSerial(7, {{"own.ndb", OwnSignature('A'), 1}}), Outcome::kInstalled);
    fs::create_directories(m_defs + "current/corvane-definitions-20261122-030405");
    fs::create_directories(m_defs + "current/folder.ndb");
    WriteFile(m_defs + "current/notes.txt", "x");
    fs::create_symlink("own.ndb", m_defs + "current/link.ndb");
    ASSERT_EQ(InstallFiles({{"test.cvd", m_three}}), Outcome::kInstalled) << m_why;
    EXPECT_THAT(CurrentNames(), ElementsAre("index.json", "index.json.minisig", "own.ndb",
                                            "scanver.cnf", "test.cvd"));
    ExpectWhole();
}

TEST_F(InstallOfficial, AnIndexReplacesWhatItNames) {
    ASSERT_EQ(InstallFiles({{"test.cvd", m_three}}), Outcome::kInstalled) << m_why;
    ASSERT_EQ(InstallSerial(7, {{"test.cvd", m_six, 6}}), Outcome::kInstalled);
    EXPECT_EQ(CurrentFile("test.cvd"), m_six);
    ASSERT_EQ(InstallSerial(8, {{"own.ndb", OwnSignature('B'), 2}}), Outcome::kInstalled);
    EXPECT_FALSE(Exists(m_defs + "current/test.cvd")) << "the last index brought it";
}

TEST_F(InstallOfficial, AnIndexWithAnOlderDatabaseIsRefused) {
    ASSERT_EQ(InstallFiles({{"test.cvd", m_six}}), Outcome::kInstalled) << m_why;
    PutIndexed(7, {{"test.cvd", m_three, 12}});
    const auto result = Install();
    EXPECT_EQ(result.outcome, Outcome::kRefused);
    EXPECT_EQ(result.why, "test.cvd is older, version 3, than the one in use, version 6");
    EXPECT_EQ(CurrentFile("test.cvd"), m_six);
}

TEST_F(InstallOfficial, WithoutASignatureOfTheirOwnNoneIsTaken) {
    EXPECT_EQ(InstallFiles({{"own.ndb", OwnSignature('A')}, {"test.cud", m_six}}),
              Outcome::kNothingValid);
    EXPECT_EQ(m_why, "there are no valid definitions");
    EXPECT_EQ(m_listener.log,
              "own.ndb is not used: it is no file with a signature of its own\n"
              "test.cud is not used: it is no file with a signature of its own\n");
    EXPECT_EQ(Names(), std::vector<std::string>());
    m_listener.log.clear();
    EXPECT_EQ(InstallFiles({{"own.ndb", OwnSignature('A')}, {"test.cvd", m_six}}),
              Outcome::kInstalled);
    EXPECT_THAT(CurrentNames(), ElementsAre("scanver.cnf", "test.cvd"));
}

TEST_F(InstallOfficial, AnUnsignedOneIsNotTakenUnderTheNameOfASigned) {
    std::string stripped = m_six;
    const auto digest = stripped.find(":3e249e");
    stripped.replace(digest, stripped.find(":micasnyd") - digest, ":X:X");
    const std::size_t removed = m_six.size() - stripped.size();
    stripped.insert(512 - removed, std::string(removed, ' '));
    ASSERT_EQ(stripped.size(), m_six.size());
    EXPECT_EQ(InstallFiles({{"test.cvd", stripped}}), Outcome::kNothingValid);
    EXPECT_EQ(m_listener.log, "test.cvd is not used: its signature is missing or wrong\n");
}

TEST_F(InstallOfficial, NoLinkIsTakenForADatabase) {
    PutFiles({});
    WriteFile(m_scratch / "outside.cvd", m_six);
    fs::create_symlink(m_scratch / "outside.cvd", m_candidate + "test.cvd");
    EXPECT_EQ(Install().outcome, Outcome::kNothingValid);
    EXPECT_EQ(m_listener.log, "test.cvd is not used: it is no file with a signature of its own\n");
    EXPECT_FALSE(CandidateFromFolder(m_candidate));
}

TEST_F(InstallOfficial, ABadIndexIsNotPassedOverForTheDatabasesBesideIt) {
    PutFiles({{"test.cvd", m_six}, {"index.json", "{}"}});
    const auto result = Install();
    EXPECT_EQ(result.outcome, Outcome::kRefused);
    EXPECT_EQ(result.why, "the index has no signature");
}

TEST_F(InstallOfficial, StopsWhileASignatureIsChecked) {
    PutFiles({{"test.cvd", m_six}});
    m_listener.stopAfter = 2;  // both of the copying
    const auto result = Install();
    EXPECT_EQ(result.outcome, Outcome::kStopped);
    EXPECT_EQ(Names(), std::vector<std::string>());
}

TEST_F(InstallOfficial, WhatWasGoneBackFromDoesNotComeAgain) {
    ASSERT_EQ(InstallFiles({{"test.cvd", m_three}}), Outcome::kInstalled) << m_why;
    ASSERT_EQ(InstallFiles({{"test.cvd", m_six}}), Outcome::kInstalled) << m_why;
    ASSERT_EQ(definitions::RollBack(m_product).outcome, Outcome::kInstalled);
    EXPECT_EQ(CurrentFile("test.cvd"), m_three);
    EXPECT_EQ(InstallFiles({{"test.cvd", m_six}}), Outcome::kUpToDate);
    EXPECT_EQ(CurrentFile("test.cvd"), m_three);
}

// Not from a private mirror either, which counts with serials of its own, nor once that has brought
// something else.
TEST_F(InstallOfficial, WhatWasGoneBackFromDoesNotComeBackFromElsewhere) {
    ASSERT_EQ(InstallFiles({{"test.cvd", m_three}}), Outcome::kInstalled);
    ASSERT_EQ(InstallFiles({{"test.cvd", m_six}}), Outcome::kInstalled);
    ASSERT_EQ(definitions::RollBack(m_product).outcome, Outcome::kInstalled);
    EXPECT_EQ(InstallSerial(1, {{"test.cvd", m_six, 6}}), Outcome::kUpToDate);
    EXPECT_EQ(CurrentFile("test.cvd"), m_three);
    EXPECT_EQ(InstallSerial(2, {{"own.ndb", OwnSignature('A'), 1}}), Outcome::kInstalled);
    EXPECT_EQ(CurrentFile("test.cvd"), m_three);
    EXPECT_EQ(InstallFiles({{"test.cvd", m_six}}), Outcome::kUpToDate);
    EXPECT_EQ(CurrentFile("test.cvd"), m_three);
}

// What was gone back from in official databases is not forgotten with a second way back, from what
// a private mirror has brought meanwhile; and what in loose files, not with an official update.
TEST_F(InstallOfficial, ASecondWayBackForgetsNothingOfTheFirst) {
    ASSERT_EQ(InstallFiles({{"test.cvd", m_three}}), Outcome::kInstalled);
    ASSERT_EQ(InstallFiles({{"test.cvd", m_six}}), Outcome::kInstalled);
    ASSERT_EQ(definitions::RollBack(m_product).outcome, Outcome::kInstalled);
    ASSERT_EQ(InstallSerial(2, {{"own.ndb", OwnSignature('A'), 1}}), Outcome::kInstalled);
    ASSERT_EQ(definitions::RollBack(m_product).outcome, Outcome::kInstalled);
    EXPECT_EQ(CurrentNames(), (std::vector<std::string>{"scanver.cnf", "test.cvd"}));
    EXPECT_EQ(InstallFiles({{"test.cvd", m_six}}), Outcome::kUpToDate);
    EXPECT_EQ(InstallSerial(2, {{"own.ndb", OwnSignature('A'), 1}}), Outcome::kUpToDate);
    EXPECT_EQ(CurrentFile("test.cvd"), m_three);
}

TEST_F(InstallOfficial, ALooseFileThatWasGoneBackFromOutlivesAnOfficialUpdate) {
    ASSERT_EQ(InstallSerial(1, {{"own.ndb", OwnSignature('A'), 0}}), Outcome::kInstalled);
    ASSERT_EQ(InstallSerial(2, {{"own.ndb", OwnSignature('B'), 0}}), Outcome::kInstalled);
    ASSERT_EQ(definitions::RollBack(m_product).outcome, Outcome::kInstalled);
    ASSERT_EQ(InstallFiles({{"test.cvd", m_three}}), Outcome::kInstalled);
    ASSERT_EQ(InstallFiles({{"test.cvd", m_six}}), Outcome::kInstalled);
    EXPECT_EQ(InstallSerial(100, {{"own.ndb", OwnSignature('B'), 0}}), Outcome::kUpToDate);
    EXPECT_EQ(CurrentFile("own.ndb"), OwnSignature('A'));
}

// An index is taken whole, so what is new in it may not bring along what was gone back from.
TEST_F(InstallOfficial, WhatWasGoneBackFromDoesNotComeAlongWithSomethingNew) {
    ASSERT_EQ(InstallSerial(1, {{"test.cvd", m_three, 3}, {"own.ndb", OwnSignature('A'), 0}}),
              Outcome::kInstalled);
    ASSERT_EQ(InstallSerial(2, {{"test.cvd", m_six, 6}, {"own.ndb", OwnSignature('A'), 0}}),
              Outcome::kInstalled);
    ASSERT_EQ(definitions::RollBack(m_product).outcome, Outcome::kInstalled);
    EXPECT_EQ(InstallSerial(3, {{"test.cvd", m_six, 6}, {"new.ndb", OwnSignature('N'), 1}}),
              Outcome::kUpToDate);
    EXPECT_EQ(InstallSerial(4, {{"test.cvd", m_six, 6}, {"own.ndb", OwnSignature('B'), 0}}),
              Outcome::kUpToDate);
    EXPECT_EQ(CurrentFile("test.cvd"), m_three);
    EXPECT_EQ(InstallSerial(5, {{"test.cvd", m_three, 3}, {"own.ndb", OwnSignature('B'), 0}}),
              Outcome::kInstalled)
        << "the mirror has gone back, too";
    EXPECT_EQ(CurrentFile("test.cvd"), m_three);
    EXPECT_EQ(CurrentFile("own.ndb"), OwnSignature('B'));
}

TEST_F(InstallOfficial, AFolderWithOneIsACandidate) {
    PutFiles({{"test.cvd", m_six}});
    const auto candidate = CandidateFromFolder(m_scratch / "candidate");
    ASSERT_TRUE(candidate);
    EXPECT_EQ(candidate->path, m_candidate);
}

class CandidateFolder : public DefinitionsTest {};

TEST_F(CandidateFolder, OneThatCannotBeReadIsNotTakenForAnEmptyOne) {
    const auto reason = [](const std::string& folder) {
        errno = 0;
        return CandidateFromFolder(folder) ? 0 : errno;
    };
    EXPECT_EQ(reason(""), ENOENT);
    EXPECT_EQ(reason(m_scratch / "missing"), ENOENT);
    EXPECT_EQ(reason(m_candidate), ENOENT);
    WriteFile(m_scratch / "file", "x");
    EXPECT_EQ(reason(m_scratch / "file"), ENOTDIR);
    PutFiles({{"daily.cld", "x"}});
    fs::permissions(m_candidate, fs::perms(0300));
    EXPECT_EQ(InChild([&] {
                  constexpr uid_t kStranger = 4711;
                  ::chmod(m_scratch.Path().c_str(), 0755);
                  if (::geteuid() == 0 && ::setresuid(kStranger, kStranger, kStranger) != 0) {
                      return 99;
                  }
                  return reason(m_candidate);
              }),
              EACCES);
}

TEST_F(CandidateFolder, ALinkIsFollowedForAPersonAndForNobodyElse) {
    PutFiles({{"daily.cld", "x"}});
    const std::string link = m_scratch / "link";
    fs::create_directory_symlink(m_candidate, link);
    const auto candidate = CandidateFromFolder(link);
    ASSERT_TRUE(candidate);
    EXPECT_EQ(candidate->path, m_candidate);
    for (const std::string& path : {link, link + "/", link + "//"}) {
        EXPECT_FALSE(definitions::OpenCandidate({path}).folder) << path;
    }
    EXPECT_TRUE(definitions::OpenCandidate({m_candidate}).folder);
}

TEST_F(CandidateFolder, NeedsAnIndexOrADatabaseWithASignature) {
    EXPECT_FALSE(CandidateFromFolder(""));
    EXPECT_FALSE(CandidateFromFolder(m_scratch / "missing"));
    EXPECT_FALSE(CandidateFromFolder(m_candidate));
    PutFiles({{"own.ndb", "x"}, {"daily.cud", "x"}, {"readme.txt", "x"}, {".cvd", "x"}});
    EXPECT_FALSE(CandidateFromFolder(m_candidate));
    PutFiles({{"index.json", "x"}});
    EXPECT_TRUE(CandidateFromFolder(m_candidate));
    PutFiles({{"daily.cld", "x"}});
    EXPECT_TRUE(CandidateFromFolder(m_candidate));
}

}  // namespace
