#include <filesystem>
#include <fstream>
#include <sys/file.h>
#include <sys/stat.h>

#include "tests/unit/product/fetch/fetch_fixture.h"

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(FetchTest, BringsIndexSignatureAndFilesOfAMirror) {
    const fetch::Outcome outcome = Fetch();
    EXPECT_EQ(outcome.result, kUpdaterUpdated);
    EXPECT_EQ(outcome.candidate, m_folder / "download/candidate");
    EXPECT_EQ(ReadFile(InCandidate("index.json")), m_contents.IndexText());
    EXPECT_EQ(ReadFile(InCandidate("index.json.minisig")), MirrorSignature(m_contents.IndexText()));
    EXPECT_EQ(ReadFile(InCandidate("daily.ndb")), "daily signatures\n");
    EXPECT_EQ(ReadFile(InCandidate("own.hdb")), std::string(3000, 'o'));
    EXPECT_THAT(m_listener.statuses,
                ElementsAre("2000", "2003", "2001", "2005", "2006 daily.ndb", "2006 own.hdb"));
    EXPECT_THAT(m_listener.log, IsEmpty());
}

TEST_F(FetchTest, WhoInstallsMayReadTheCandidateByItsGroup) {
    const mode_t before = ::umask(077);
    const fetch::Outcome outcome = Fetch();
    ::umask(before);
    ASSERT_EQ(outcome.result, kUpdaterUpdated);
    EXPECT_EQ(ModeOf(InCandidate("")), 0750U);
    for (const char* name : {"index.json", "index.json.minisig", "daily.ndb", "own.hdb"}) {
        EXPECT_EQ(ModeOf(InCandidate(name)), 0640U) << name;
    }
}

TEST_F(FetchTest, TwoFilesOfTheSameBytesAreLoadedOnce) {
    m_contents.files.emplace_back("twin.hdb", m_contents.files[1].second);
    Publish();
    ASSERT_EQ(Fetch().result, kUpdaterUpdated);
    EXPECT_EQ(ReadFile(InCandidate("twin.hdb")), std::string(3000, 'o'));
    EXPECT_EQ(m_server.CountOf(PathOf(1)), 1U);
}

TEST_F(FetchTest, OneConditionalRequestTellsThatNothingIsNew) {
    ASSERT_EQ(Fetch().result, kUpdaterUpdated);
    InstallContents();
    m_server.ForgetRequests();
    EXPECT_EQ(Fetch().result, kUpdaterUpToDate);
    const auto requests = m_server.Requests();
    ASSERT_EQ(requests.size(), 1U);
    EXPECT_THAT(requests[0], testing::StartsWith("GET /index.json | If-None-Match: \""));
    EXPECT_THAT(requests[0], testing::HasSubstr(" | If-Modified-Since: "));
}

TEST_F(FetchTest, ASameIndexIsUpToDateWithoutFurtherRequests) {
    InstallContents();
    EXPECT_EQ(Fetch().result, kUpdaterUpToDate);
    EXPECT_THAT(m_server.Requests(), ElementsAre("GET /index.json | User-Agent: corvane-update"));
    // Its validators are remembered, so the next request is a conditional one.
    EXPECT_EQ(Fetch().result, kUpdaterUpToDate);
    EXPECT_THAT(m_server.Requests()[1], testing::HasSubstr("If-None-Match"));
}

TEST_F(FetchTest, TheConditionIsLeftOutWhenTheSetThatIsInstalledIsAnother) {
    ASSERT_EQ(Fetch().result, kUpdaterUpdated);
    // Not installed: a test load may have failed.
    m_server.ForgetRequests();
    EXPECT_EQ(Fetch().result, kUpdaterUpdated);
    EXPECT_EQ(m_server.Requests()[0], "GET /index.json | User-Agent: corvane-update");
}

TEST_F(FetchTest, TheConditionIsLeftOutAfterAReturnToAnOlderSet) {
    const MirrorContents older = m_contents;
    PublishNext();
    ASSERT_EQ(Fetch().result, kUpdaterUpdated);
    InstallContents();
    ASSERT_EQ(Fetch().result, kUpdaterUpToDate);
    WriteInstalledSet(m_request.currentSet + "/", older);
    EXPECT_EQ(Fetch().result, kUpdaterUpdated);
    EXPECT_EQ(ReadFile(InCandidate("index.json")), m_contents.IndexText());
}

TEST_F(FetchTest, TheConditionOfOneAddressIsNotUsedForAnother) {
    InstallContents();
    ASSERT_EQ(Fetch().result, kUpdaterUpToDate);
    m_server.ForgetRequests();
    EXPECT_EQ(FetchFrom({m_server.Address("http", "localhost")}).result, kUpdaterUpToDate);
    EXPECT_EQ(m_server.Requests()[0], "GET /index.json | User-Agent: corvane-update");
}

TEST_F(FetchTest, OnlyFilesThatChangedAreLoaded) {
    InstallContents();
    PublishNext();
    EXPECT_EQ(Fetch().result, kUpdaterUpdated);
    EXPECT_EQ(ReadFile(InCandidate("daily.ndb")), "daily signatures\none more\n");
    EXPECT_EQ(ReadFile(InCandidate("own.hdb")), std::string(3000, 'o'));
    EXPECT_EQ(m_server.CountOf(PathOf(0)), 1U);
    EXPECT_EQ(m_server.CountOf(PathOf(1)), 0U);
}

TEST_F(FetchTest, AnInstalledFileThatIsDamagedIsLoadedAnew) {
    InstallContents();
    WriteFile(m_request.currentSet + "/own.hdb", std::string(3000, 'x'));
    PublishNext();
    EXPECT_EQ(Fetch().result, kUpdaterUpdated);
    EXPECT_EQ(ReadFile(InCandidate("own.hdb")), std::string(3000, 'o'));
    EXPECT_EQ(m_server.CountOf(PathOf(1)), 1U);
}

TEST_F(FetchTest, AnInstalledFileIsNotReadThroughALink) {
    InstallContents();
    fs::remove(m_request.currentSet + "/own.hdb");
    WriteFile(m_folder / "elsewhere", std::string(3000, 'o'));
    fs::create_symlink(m_folder / "elsewhere", m_request.currentSet + "/own.hdb");
    PublishNext();
    EXPECT_EQ(Fetch().result, kUpdaterUpdated);
    EXPECT_EQ(m_server.CountOf(PathOf(1)), 1U);
}

TEST_F(FetchTest, WhatAnEarlierRunLeftToInstallGoesAtTheNext) {
    ASSERT_EQ(Fetch().result, kUpdaterUpdated);
    InstallContents();
    EXPECT_EQ(Fetch().result, kUpdaterUpToDate);
    EXPECT_FALSE(Exists(m_folder / "download/candidate"));
}

// Refused by who installs, say, and offered still: under another serial, too.
TEST_F(FetchTest, WhatWasNotInstalledIsOfferedAgainAndNotLoadedAgain) {
    for (const std::uint64_t serial : {1U, 2U, 3U}) {
        m_contents.serial = serial;
        Publish();
        EXPECT_EQ(Fetch().result, kUpdaterUpdated);
        for (const auto& [name, bytes] : m_contents.files) {
            EXPECT_EQ(ReadFile(InCandidate(name)), bytes) << name;
        }
    }
    EXPECT_EQ(m_server.CountOf(PathOf(0)), 1U);
    EXPECT_EQ(m_server.CountOf(PathOf(1)), 1U);
    InstallContents();
    EXPECT_EQ(Fetch().result, kUpdaterUpToDate);
    EXPECT_TRUE(std::filesystem::is_empty(m_folder / "download/parts")) << "no longer needed";
}

TEST_F(FetchTest, WhatAnAddressThatFailsHasSentStaysThoughTheNextOneHasNothingNew) {
    InstallContents();
    const MirrorServer other;
    WriteMirror(other.Root(), m_contents);
    PublishNext();
    m_server.Script({{PathOf(0), R"([{"do": "cut", "after": 10}, {"do": "status", "status": 404},
 {"do": "status", "status": 404}, {"do": "status", "status": 404}])"}});
    EXPECT_EQ(FetchFrom({m_server.Address(), other.Address()}).result, kUpdaterUpToDate);
    const std::string parts = m_folder / "download/parts/";
    EXPECT_EQ(ReadFile(parts + Sha256Text(m_contents.files[0].second)), "daily sign");
    WriteFile(parts + Sha256Text(m_contents.files[1].second), "in use");
    EXPECT_EQ(FetchFrom({"no address", other.Address()}).result, kUpdaterUpToDate);
    EXPECT_FALSE(Exists(parts + Sha256Text(m_contents.files[1].second)));
    EXPECT_EQ(ReadFile(parts + Sha256Text(m_contents.files[0].second)), "daily sign");
    EXPECT_EQ(FetchFrom({other.Address()}).result, kUpdaterUpToDate);
    EXPECT_TRUE(std::filesystem::is_empty(parts)) << "nobody offers it";
}

TEST_F(FetchTest, TheNextAddressIsTriedWhenOneFails) {
    const MirrorServer empty;
    const std::string nobody = "http://127.0.0.1:" + std::to_string(FreePort());
    EXPECT_EQ(FetchFrom({"no address", nobody, empty.Address(), m_server.Address()}).result,
              kUpdaterUpdated);
    EXPECT_TRUE(m_listener.HasLogged("no address: this is no address of a web server"));
    EXPECT_TRUE(m_listener.HasLogged(nobody + ": "));
    EXPECT_TRUE(m_listener.HasLogged(empty.Address() + ": the server answered with status 404"));
    EXPECT_FALSE(m_listener.HasStatus("2004"));
}

// As a renewal leaves the mirror that was broken off between two renames.
TEST_F(FetchTest, TheSignatureMayLieUnderTheDigestOfTheIndex) {
    const std::string index = ReadFile(m_server.Root() + "index.json");
    const std::string own = MirrorSignature(index);
    WriteFile(m_server.Root() + "files/" + Sha256Text(index) + ".minisig", own);
    WriteFile(m_server.Root() + "index.json.minisig", MirrorSignature("the one before"));
    EXPECT_EQ(Fetch().result, kUpdaterUpdated) << testing::PrintToString(m_listener.log);
    EXPECT_EQ(m_server.CountOf("/index.json"), 1U);
    EXPECT_EQ(ReadFile(InCandidate("index.json.minisig")), own);
}

// The first renewal, broken off between two renames.
TEST_F(FetchTest, AMissingSignatureIsLookedForUnderTheDigestOfTheIndex) {
    const std::string index = ReadFile(m_server.Root() + "index.json");
    const std::string own = MirrorSignature(index);
    WriteFile(m_server.Root() + "files/" + Sha256Text(index) + ".minisig", own);
    fs::remove(m_server.Root() + "index.json.minisig");
    EXPECT_EQ(Fetch().result, kUpdaterUpdated) << testing::PrintToString(m_listener.log);
    EXPECT_EQ(m_server.CountOf("/index.json"), 1U);
    EXPECT_EQ(ReadFile(InCandidate("index.json.minisig")), own);
}

TEST_F(FetchTest, TheFirstAddressThatAnswersIsTheLastThatIsAsked) {
    const MirrorServer second;
    EXPECT_EQ(FetchFrom({m_server.Address(), second.Address()}).result, kUpdaterUpdated);
    EXPECT_THAT(second.Requests(), IsEmpty());
}

TEST_F(FetchTest, AnAdministratorsAddressIsTriedWithoutItsRelease) {
    m_request.fromAdministrator = true;
    EXPECT_EQ(FetchFrom({m_server.Address() + "/update/0512"}).result, kUpdaterUpdated);
    EXPECT_EQ(m_server.CountOf("/update/0512/index.json"), 1U);
    m_request.fromAdministrator = false;
    EXPECT_EQ(Fetch().result, kUpdaterFailed);
}

TEST_F(FetchTest, NoListAndAnEmptyOneAreErrorsWithTheirReasonInTheLog) {
    EXPECT_EQ(FetchFrom({}).result, kUpdaterFailed);
    EXPECT_TRUE(m_listener.HasLogged("the list of addresses to update from is empty"));
    m_request.hasAddresses = false;
    EXPECT_EQ(Fetch().result, kUpdaterFailed);
    EXPECT_TRUE(m_listener.HasLogged("there is no list of addresses to update from"));
}

TEST_F(FetchTest, OneDownloadFolderIsUsedByOneRunAtATime) {
    const common::FileDescriptor folder(
        ::open(m_request.downloadDirectory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ASSERT_EQ(::flock(folder.Get(), LOCK_EX), 0);
    EXPECT_EQ(Fetch().result, kUpdaterFailed);
    EXPECT_TRUE(m_listener.HasLogged("another update is running"));
    EXPECT_THAT(m_server.Requests(), IsEmpty());
}

TEST_F(FetchTest, ARunThatIsStillEndingIsWaitedFor) {
    common::FileDescriptor folder(
        ::open(m_request.downloadDirectory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ASSERT_EQ(::flock(folder.Get(), LOCK_EX), 0);
    m_request.limits.otherRun = std::chrono::seconds(60);
    m_listener.shouldStop = [&] {
        if (m_listener.times.size() > 4) {  // told again and again
            folder.Reset();
        }
        return false;
    };
    EXPECT_EQ(Fetch().result, kUpdaterUpdated);
    EXPECT_LT(m_listener.LongestSilence(), std::chrono::milliseconds(250));
}

TEST_F(FetchTest, AMissingDownloadFolderIsAnError) {
    m_request.downloadDirectory = m_folder / "nothing";
    EXPECT_EQ(Fetch().result, kUpdaterFailed);
    EXPECT_TRUE(m_listener.HasLogged("nothing: No such file or directory"));
}

TEST_F(FetchTest, AFullDiskIsToldAndNoOtherAddressIsTried) {
    const TinyDisk disk(m_folder / "download", "64k");
    if (!disk.IsMounted()) {
        GTEST_SKIP() << "nothing may be mounted here";
    }
    m_contents.files[1].second = std::string(200'000, 'o');
    Publish();
    const MirrorServer second;
    EXPECT_EQ(FetchFrom({m_server.Address(), second.Address()}).result, kUpdaterFailed);
    EXPECT_TRUE(m_listener.HasLogged("own.hdb: it cannot be written: No space left on device"));
    EXPECT_THAT(second.Requests(), IsEmpty());
    EXPECT_FALSE(m_listener.HasStatus("2004"));
}

TEST_F(FetchTest, DamagedStateCostsOneMoreRequestAndNothingElse) {
    InstallContents();
    ASSERT_EQ(Fetch().result, kUpdaterUpToDate);
    const std::string good = ReadFile(m_folder / "download/state.json");
    for (const std::string& text :
         {std::string("{"), std::string("[]"), std::string(R"({"mirrors": 5, "official": []})"),
          std::string(R"({"mirrors": {"x": 5}})"), std::string(300'000, ' ')}) {
        WriteFile(m_folder / "download/state.json", text);
        EXPECT_EQ(Fetch().result, kUpdaterUpToDate) << text.substr(0, 50);
        EXPECT_EQ(ReadFile(m_folder / "download/state.json").size(), good.size());
    }
}

TEST_F(FetchTest, AValidatorOfSeveralLinesIsNotSentBack) {
    InstallContents();
    ASSERT_EQ(Fetch().result, kUpdaterUpToDate);
    std::string state = ReadFile(m_folder / "download/state.json");
    const std::size_t at = state.find("\"etag\": \"") + 9;
    state.insert(at, "a\\r\\nX-Injected: 1");
    WriteFile(m_folder / "download/state.json", state);
    m_server.ForgetRequests();
    EXPECT_EQ(Fetch().result, kUpdaterUpToDate);
    EXPECT_THAT(m_server.Requests()[0], testing::Not(testing::HasSubstr("If-None-Match")));
}

TEST_F(FetchTest, WhileTheMirrorChangesTheNewStateComesWhole) {
    // The old index is answered once more, when its signature has gone already.
    const std::string old = m_contents.IndexText();
    PublishNext();
    std::string escaped;
    for (const char character : old) {
        escaped += character == '"'    ? "\\\""
                   : character == '\n' ? "\\n"
                                       : std::string(1, character);
    }
    m_server.Script(
        {{"/index.json", R"([{"do": "status", "status": 200, "body": ")" + escaped + "\"}]"}});
    EXPECT_EQ(Fetch().result, kUpdaterUpdated);
    EXPECT_EQ(ReadFile(InCandidate("index.json")), m_contents.IndexText());
    EXPECT_EQ(m_server.CountOf("/index.json"), 2U);
    EXPECT_FALSE(m_listener.HasStatus("2004"));
}

TEST_F(FetchTest, AFileThatGoesWhileTheMirrorChangesIsNoFailure) {
    m_server.Script({{PathOf(0), R"([{"do": "status", "status": 404}])"}});
    EXPECT_EQ(Fetch().result, kUpdaterUpdated);
    EXPECT_EQ(m_server.CountOf("/index.json"), 2U);
}

}  // namespace
