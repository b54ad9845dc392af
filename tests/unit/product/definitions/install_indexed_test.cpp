#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>

#include "tests/unit/product/definitions/definitions_fixture.h"

// Installing what a signed index names.

namespace fs = std::filesystem;

namespace {

using definitions::InstallStep;
using definitions::Outcome;
using testing::ElementsAre;

class InstallIndexed : public DefinitionsTest {
protected:
    // Nothing of the candidate is used, and what was in use still is.
    void ExpectRefused(const std::string& why, Outcome outcome = Outcome::kRefused) {
        const auto before = CurrentNames();
        const auto number = Current();
        const auto result = Install();
        EXPECT_EQ(result.outcome, outcome);
        EXPECT_EQ(result.why, why);
        EXPECT_EQ(Current(), number);
        EXPECT_EQ(CurrentNames(), before);
        EXPECT_FALSE(Exists(m_defs + "unfinished"));
    }
};

TEST_F(InstallIndexed, TheFirstSetIsInUseAsItWasSigned) {
    ASSERT_EQ(InstallSerial(7, {{"own.ndb", OwnSignature('A'), 301}}), Outcome::kInstalled);
    EXPECT_EQ(fs::read_symlink(m_defs + "current"), "set-1");
    EXPECT_THAT(Names(), ElementsAre("current", "set-1"));
    EXPECT_THAT(CurrentNames(),
                ElementsAre("index.json", "index.json.minisig", "own.ndb", "scanver.cnf"));
    EXPECT_EQ(CurrentFile("own.ndb"), OwnSignature('A'));
    EXPECT_EQ(CurrentFile("index.json"), ReadFile(m_candidate + "index.json"));
    EXPECT_EQ(CurrentFile("index.json.minisig"), ReadFile(m_candidate + "index.json.minisig"));
    ExpectWhole();
}

TEST_F(InstallIndexed, EveryUserCanReadASetWhateverTheUmask) {
    const auto old = ::umask(0077);
    EXPECT_EQ(InstallSerial(7, {{"own.ndb", OwnSignature('A'), 301}}), Outcome::kInstalled);
    ::umask(old);
    EXPECT_EQ(ModeOf(m_defs + "set-1"), 0755U);
    for (const std::string& name : CurrentNames()) {
        EXPECT_EQ(ModeOf(m_defs + "set-1/" + name), 0644U) << name;
    }
    EXPECT_EQ(ModeOf(m_defs + "lock"), 0600U);
}

// 301 as 3.01, and the day the index was made: Saturday, 21 November 2026, 03:55:53.
TEST_F(InstallIndexed, TheVersionRecordHasTheVersionAndTheDateOfTheIndex) {
    const std::vector<GivenFile> files{{"a.ndb", OwnSignature('A'), 301},
                                       {"b.ndb", OwnSignature('B'), 300}};
    PutFiles(files);
    auto index = IndexOf(7, files);
    index.made = 1795233353;
    index.expires = 4102444800;
    Sign(index);
    ASSERT_EQ(Install().outcome, Outcome::kInstalled);
    EXPECT_EQ(CurrentFile("scanver.cnf"),
              std::string("\x03\0\x01\0\xEA\x07\x0B\0\x06\0\x15\0\x03\0\x37\0\x35\0\0\0", 20));
}

TEST_F(InstallIndexed, AnotherSetTakesTheCurrentPlaceAndTheLastOneStays) {
    ASSERT_EQ(InstallSerial(7, {{"own.ndb", OwnSignature('A'), 1}}), Outcome::kInstalled);
    ASSERT_EQ(InstallSerial(8, {{"own.ndb", OwnSignature('B'), 2}}), Outcome::kInstalled);
    EXPECT_THAT(Names(), ElementsAre("current", "set-1", "set-2"));
    EXPECT_EQ(CurrentFile("own.ndb"), OwnSignature('B'));
    ASSERT_EQ(InstallSerial(9, {{"own.ndb", OwnSignature('C'), 3}}), Outcome::kInstalled);
    EXPECT_THAT(Names(), ElementsAre("current", "set-2", "set-3"));
    EXPECT_EQ(CurrentFile("own.ndb"), OwnSignature('C'));
    ExpectWhole();
}

TEST_F(InstallIndexed, ThePackagesOwnSignaturesStay) {
    WriteFile(m_defs + "corvane.ldb", "of the package");
    fs::create_directory(m_defs + "package");
    for (const char letter : {'A', 'B', 'C'}) {
        ASSERT_EQ(InstallSerial(static_cast<std::uint64_t>(letter),
                                {{"own.ndb", OwnSignature(letter), 1}}),
                  Outcome::kInstalled);
    }
    EXPECT_EQ(ReadFile(m_defs + "corvane.ldb"), "of the package");
    EXPECT_TRUE(fs::is_directory(m_defs + "package"));
}

TEST_F(InstallIndexed, TheSameAgainIsUpToDate) {
    ASSERT_EQ(InstallSerial(7, {{"own.ndb", OwnSignature('A'), 1}}), Outcome::kInstalled);
    EXPECT_EQ(InstallSerial(7, {{"own.ndb", OwnSignature('A'), 1}}), Outcome::kUpToDate);
    EXPECT_THAT(Names(), ElementsAre("current", "set-1"));
}

TEST_F(InstallIndexed, WhatTheIndexNoLongerNamesGoes) {
    ASSERT_EQ(InstallSerial(7, {{"a.ndb", OwnSignature('A'), 1}, {"b.ndb", OwnSignature('B'), 1}}),
              Outcome::kInstalled);
    ASSERT_EQ(InstallSerial(8, {{"b.ndb", OwnSignature('B'), 1}}), Outcome::kInstalled);
    EXPECT_THAT(CurrentNames(),
                ElementsAre("b.ndb", "index.json", "index.json.minisig", "scanver.cnf"));
}

TEST_F(InstallIndexed, WhatDidNotChangeNeedNotBeGiven) {
    ASSERT_EQ(InstallSerial(7, {{"a.ndb", OwnSignature('A'), 1}, {"b.ndb", OwnSignature('B'), 1}}),
              Outcome::kInstalled);
    PutIndexed(8, {{"a.ndb", OwnSignature('A'), 1}, {"b.ndb", OwnSignature('C'), 2}});
    fs::remove(m_candidate + "a.ndb");
    ASSERT_EQ(Install().outcome, Outcome::kInstalled);
    EXPECT_EQ(CurrentFile("a.ndb"), OwnSignature('A'));
    EXPECT_EQ(CurrentFile("b.ndb"), OwnSignature('C'));
    ExpectWhole();
}

TEST_F(InstallIndexed, WhatChangedOnTheDiskIsTakenFromTheCandidateAgain) {
    const std::vector<GivenFile> files{{"a.ndb", OwnSignature('A'), 1}};
    ASSERT_EQ(InstallSerial(7, files), Outcome::kInstalled);
    WriteFile(m_defs + "set-1/a.ndb", OwnSignature('Z'));
    ASSERT_EQ(InstallSerial(8, files), Outcome::kInstalled);
    EXPECT_EQ(CurrentFile("a.ndb"), OwnSignature('A'));
}

TEST_F(InstallIndexed, AnIndexWithoutASignatureIsRefused) {
    PutIndexed(7, {{"own.ndb", OwnSignature('A'), 1}});
    fs::remove(m_candidate + "index.json.minisig");
    ExpectRefused("the index has no signature");
}

TEST_F(InstallIndexed, ASignatureWithoutAnIndexIsRefused) {
    PutIndexed(7, {{"own.ndb", OwnSignature('A'), 1}});
    fs::remove(m_candidate + "index.json");
    ExpectRefused("the signature does not belong to this index");
}

TEST_F(InstallIndexed, AStrangersSignatureIsRefused) {
    const std::vector<GivenFile> files{{"own.ndb", OwnSignature('A'), 1}};
    PutFiles(files);
    Sign(IndexOf(7, files), Signer::kStranger);
    ExpectRefused("the index is signed by a key that this machine does not trust");
}

TEST_F(InstallIndexed, AChangedIndexIsRefused) {
    PutIndexed(7, {{"own.ndb", OwnSignature('A'), 1}});
    std::string text = ReadFile(m_candidate + "index.json");
    text.replace(text.find("\"serial\": 7"), 11, "\"serial\": 8");
    WriteFile(m_candidate + "index.json", text);
    ExpectRefused("the signature does not belong to this index");
}

TEST_F(InstallIndexed, AnExpiredIndexIsRefused) {
    const std::vector<GivenFile> files{{"own.ndb", OwnSignature('A'), 1}};
    PutFiles(files);
    auto index = IndexOf(7, files);
    index.expires = std::time(nullptr) - 60;
    Sign(index);
    ExpectRefused("the index has expired");
}

TEST_F(InstallIndexed, WithoutAKeyNothingIsInstalled) {
    PutIndexed(7, {{"own.ndb", OwnSignature('A'), 1}});
    fs::remove(m_product + "updturl.keys/test.pub");
    ExpectRefused("this machine trusts no key");
}

TEST_F(InstallIndexed, AKeyThatOthersMayChangeIsNotTrustedAndToldInTheLog) {
    PutIndexed(7, {{"own.ndb", OwnSignature('A'), 1}});
    fs::permissions(m_product + "updturl.keys/test.pub", fs::perms(0666));
    ExpectRefused("this machine trusts no key");
    EXPECT_EQ(m_listener.log,
              "key test.pub is not trusted: others than root may change the key file\n");
}

TEST_F(InstallIndexed, ALowerSerialIsRefused) {
    ASSERT_EQ(InstallSerial(7, {{"own.ndb", OwnSignature('A'), 1}}), Outcome::kInstalled);
    PutIndexed(6, {{"own.ndb", OwnSignature('B'), 2}});
    ExpectRefused("the index is older than the one already here");
}

TEST_F(InstallIndexed, TheSameSerialForOtherFilesIsRefused) {
    ASSERT_EQ(InstallSerial(7, {{"own.ndb", OwnSignature('A'), 1}}), Outcome::kInstalled);
    PutIndexed(7, {{"own.ndb", OwnSignature('B'), 2}});
    ExpectRefused("the index has the serial of the one in use, and other files");
}

TEST_F(InstallIndexed, AnOlderVersionOfADatabaseIsRefused) {
    ASSERT_EQ(InstallSerial(7, {{"own.ndb", OwnSignature('A'), 12}}), Outcome::kInstalled);
    PutIndexed(8, {{"own.ndb", OwnSignature('B'), 11}});
    ExpectRefused("own.ndb is older, version 11, than the one in use, version 12");
}

TEST_F(InstallIndexed, OtherBytesThanSignedAreRefused) {
    PutIndexed(7, {{"own.ndb", OwnSignature('A'), 1}});
    WriteFile(m_candidate + "own.ndb", OwnSignature('B'));
    ExpectRefused("own.ndb: the file has another digest than the index says");
}

TEST_F(InstallIndexed, AByteTooManyOrTooFewIsRefused) {
    PutIndexed(7, {{"own.ndb", OwnSignature('A'), 1}});
    WriteFile(m_candidate + "own.ndb", OwnSignature('A') + "\n");
    ExpectRefused("own.ndb: the file has another size than the index says");
    WriteFile(m_candidate + "own.ndb", OwnSignature('A').substr(1));
    ExpectRefused("own.ndb: the file has another size than the index says");
}

TEST_F(InstallIndexed, AMissingFileIsRefused) {
    PutIndexed(7, {{"own.ndb", OwnSignature('A'), 1}});
    fs::remove(m_candidate + "own.ndb");
    ExpectRefused("own.ndb cannot be opened: No such file or directory");
}

TEST_F(InstallIndexed, NoLinkIsFollowedOutOfTheFolder) {
    PutIndexed(7, {{"own.ndb", OwnSignature('A'), 1}});
    fs::rename(m_candidate + "own.ndb", m_scratch / "outside.ndb");
    fs::create_symlink(m_scratch / "outside.ndb", m_candidate + "own.ndb");
    ExpectRefused("own.ndb cannot be opened: Too many levels of symbolic links");
}

TEST_F(InstallIndexed, AFifoKeepsNobodyWaiting) {
    PutIndexed(7, {{"own.ndb", OwnSignature('A'), 1}});
    fs::remove(m_candidate + "own.ndb");
    ASSERT_EQ(::mkfifo((m_candidate + "own.ndb").c_str(), 0600), 0);
    ExpectRefused("own.ndb cannot be opened: Operation not permitted");
}

TEST_F(InstallIndexed, WhatTheLibraryCannotLoadIsRefused) {
    ASSERT_EQ(InstallSerial(7, {{"own.ndb", OwnSignature('A'), 1}}), Outcome::kInstalled);
    PutIndexed(8, {{"a.ndb", OwnSignature('B'), 1}, {"b.ndb", "this is no signature\n", 1}});
    ExpectRefused("b.ndb cannot be loaded: Malformed database");
}

TEST_F(InstallIndexed, ASetWithoutASignatureInItIsRefused) {
    PutIndexed(7, {{"own.ign2", "Some.Virus-1\n", 1}});
    ExpectRefused("there is not one signature in them");
}

TEST_F(InstallIndexed, StopsAtAnyQuestionAndLeavesNothing) {
    ASSERT_EQ(InstallSerial(7, {{"own.ndb", OwnSignature('A'), 1}}), Outcome::kInstalled);
    PutIndexed(8, {{"a.ndb", OwnSignature('B'), 1}, {"b.ndb", OwnSignature('C'), 1}});
    std::size_t stops = 0;
    for (m_listener.stopAfter = 0; m_listener.stopAfter < 100; ++m_listener.stopAfter) {
        const auto result = Install();
        if (result.outcome == Outcome::kInstalled) {
            break;
        }
        ++stops;
        EXPECT_EQ(result.outcome, Outcome::kStopped);
        EXPECT_THAT(Names(), ElementsAre("current", "set-1"));
        EXPECT_EQ(CurrentFile("own.ndb"), OwnSignature('A'));
    }
    EXPECT_GE(stops, 4U) << "each file, at its start and its end";
    EXPECT_EQ(Current(), 2U);
    EXPECT_EQ(m_listener.steps.front(), InstallStep::kCopying);
}

TEST_F(InstallIndexed, AnotherProcessThatInstallsIsToldByItsNumber) {
    PutIndexed(7, {{"own.ndb", OwnSignature('A'), 1}});
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const pid_t other = StartChild([&] {
        const int lock = ::open((m_defs + "lock").c_str(), O_RDWR | O_CREAT, 0600);
        struct flock whole {};
        whole.l_type = F_WRLCK;
        const bool isHeld = ::fcntl(lock, F_SETLK, &whole) == 0;
        (void)!::write(ends[1], "x", 1);
        while (true) {
            ::pause();
        }
        return isHeld ? 0 : 1;
    });
    char byte = 0;
    ASSERT_EQ(::read(ends[0], &byte, 1), 1);
    const auto result = Install();
    EXPECT_EQ(result.outcome, Outcome::kLocked);
    EXPECT_EQ(result.holder, other);
    EXPECT_EQ(result.why, "another process changes the definitions");
    EXPECT_EQ(Names(), std::vector<std::string>());
    ::kill(other, SIGKILL);
    JoinChild(other);
    EXPECT_EQ(Install().outcome, Outcome::kInstalled);
}

TEST_F(InstallIndexed, ALinkInThePlaceOfTheLockIsNotFollowed) {
    PutIndexed(7, {{"own.ndb", OwnSignature('A'), 1}});
    fs::create_symlink(m_scratch / "elsewhere", m_defs + "lock");
    const auto result = Install();
    EXPECT_EQ(result.outcome, Outcome::kFailed);
    EXPECT_EQ(result.why,
              "the lock of the definitions cannot be used: Too many levels of symbolic links");
    EXPECT_FALSE(Exists(m_scratch / "elsewhere"));
}

TEST_F(InstallIndexed, WithoutTheFolderNothingIsMade) {
    PutIndexed(7, {{"own.ndb", OwnSignature('A'), 1}});
    fs::remove(m_defs);
    const auto result = Install();
    EXPECT_EQ(result.outcome, Outcome::kFailed);
    EXPECT_EQ(result.why,
              "the folder of the definitions cannot be opened: No such file or directory");
}

TEST_F(InstallIndexed, WhatAKilledRunLeftGoesAtTheNext) {
    ASSERT_EQ(InstallSerial(7, {{"own.ndb", OwnSignature('A'), 1}}), Outcome::kInstalled);
    ASSERT_EQ(InstallSerial(8, {{"own.ndb", OwnSignature('B'), 1}}), Outcome::kInstalled);
    fs::create_directory(m_defs + "unfinished");
    WriteFile(m_defs + "unfinished/own.ndb", "half");
    fs::create_directory(m_defs + "set-9");
    WriteFile(m_defs + "set-9/own.ndb", OwnSignature('Z'));
    fs::create_symlink("set-9", m_defs + "current.new");
    fs::create_directory(m_defs + "set-07");  // somebody else's
    EXPECT_EQ(InstallSerial(8, {{"own.ndb", OwnSignature('B'), 1}}), Outcome::kUpToDate);
    EXPECT_THAT(Names(), ElementsAre("current", "set-07", "set-1", "set-2"));
    EXPECT_EQ(CurrentFile("own.ndb"), OwnSignature('B'));
}

TEST_F(InstallIndexed, AFolderInASetKeepsItFromNothing) {
    for (const std::uint32_t serial : {7U, 8U, 9U}) {
        ASSERT_EQ(InstallSerial(serial, {{"own.ndb", OwnSignature('A'), serial}}),
                  Outcome::kInstalled);
        fs::create_directories(m_defs + "current/deep/deeper");
        WriteFile(m_defs + "current/deep/deeper/file", "x");
        WriteFile(m_scratch / "outside", "x");
        fs::create_symlink(m_scratch.Path(), m_defs + "current/deep/link");
    }
    EXPECT_THAT(Names(), ElementsAre("current", "set-2", "set-3"));
    EXPECT_TRUE(Exists(m_scratch / "outside"));
}

TEST_F(InstallIndexed, ACurrentLinkThatLeadsElsewhereIsNoSet) {
    ASSERT_EQ(InstallSerial(7, {{"own.ndb", OwnSignature('A'), 1}}), Outcome::kInstalled);
    fs::remove(m_defs + "current");
    fs::create_symlink("/etc", m_defs + "current");
    EXPECT_EQ(Current(), 0U);
    EXPECT_EQ(InstallSerial(7, {{"own.ndb", OwnSignature('A'), 1}}), Outcome::kInstalled);
    EXPECT_EQ(fs::read_symlink(m_defs + "current"), "set-2");
}

}  // namespace
