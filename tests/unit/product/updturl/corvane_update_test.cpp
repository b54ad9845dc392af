// The program corvane-update, from a folder: whatever needs no network.

#include <array>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <vector>

#include "common/io.h"
#include "product/definitions/update_lock.h"
#include "product/updturl/child_process.h"
#include "product/updturl/conversation.h"
#include "product/updturl/request.h"
#include "tests/support/command_output.h"
#include "tests/unit/product/definitions/definitions_fixture.h"

namespace updturl {
namespace {

/// Notes what a run says; stops it at a status.
class Notes : public ConversationListener {
public:
    void Status(std::uint16_t status, std::string_view /*fileName*/) override {
        statuses.push_back(status);
        isToStop = isToStop || status == stopAt;
    }
    void Beat() override {}
    void Log(std::string_view text) override { log.append(text).append("\n"); }
    bool IsToStop() override { return isToStop; }

    std::vector<int> statuses;
    std::string log;
    int stopAt = 0;
    bool isToStop = false;
};

class CorvaneUpdateTest : public DefinitionsTest {
protected:
    CorvaneUpdateTest() {
        m_request.source = Source::kIndex;
        m_request.applicationDirectory = m_product;
        m_request.downloadDirectory = m_product + "download/";
        m_request.folder = m_candidate;
    }

    /// Runs the program with words of its own; its result, -1 for none.
    int RunWords(const std::string& words) { return RunWords(words, {"--as-caller"}); }
    int RunWords(const std::string& words, const std::vector<std::string>& arguments) {
        m_notes.statuses.clear();
        m_notes.log.clear();
        ChildProcess child;
        common::FileDescriptor socket = child.Start(CORVANE_UPDATE, arguments, ProcessGroup::kOwn);
        Conversation conversation(std::move(socket), m_notes);
        m_ending = conversation.Hold(words, {.end = {}, .timeToStop = std::chrono::seconds(10)});
        child.EndInPeace();
        return conversation.Result().value_or(-1);
    }

    int Run() { return RunWords(RequestText(m_request).value_or("")); }

    [[nodiscard]] std::string LastUpdate() const {
        const std::string text = ReadFile(m_defs + "last-update.json");
        const std::size_t at = text.find("\"result\"");
        return at == std::string::npos ? text : text.substr(at);
    }

    Request m_request;
    Notes m_notes;
    Ending m_ending = Ending::kSilence;
};

TEST_F(CorvaneUpdateTest, AFolderWithASignedIndexIsInstalled) {
    PutIndexed(1, {{"own.ndb", OwnSignature('a')}});
    EXPECT_EQ(Run(), 1) << m_notes.log;
    EXPECT_EQ(Current(), 1U);
    ExpectWhole();
    ASSERT_FALSE(m_notes.statuses.empty());
    for (const int status : m_notes.statuses) {
        EXPECT_EQ(status, 2015);
    }
    EXPECT_EQ(m_notes.log, "the definitions were updated\n");
    EXPECT_EQ(LastUpdate(), "\"result\": 1, \"text\": \"the definitions were updated\"}\n");
    EXPECT_EQ(ModeOf(m_defs + "lock"), 0600U);
}

TEST_F(CorvaneUpdateTest, TheSameAgainIsUpToDate) {
    PutIndexed(1, {{"own.ndb", OwnSignature('a')}});
    ASSERT_EQ(Run(), 1) << m_notes.log;
    EXPECT_EQ(Run(), 2);
    EXPECT_EQ(Current(), 1U);
    EXPECT_EQ(LastUpdate(), "\"result\": 2, \"text\": \"the definitions are up to date\"}\n");
}

TEST_F(CorvaneUpdateTest, AStrangersSignatureIsNoValidFolderAndTheOldSetStays) {
    PutIndexed(1, {{"own.ndb", OwnSignature('a')}});
    ASSERT_EQ(Run(), 1) << m_notes.log;
    PutFiles({{"own.ndb", OwnSignature('b')}});
    Sign(IndexOf(2, {{"own.ndb", OwnSignature('b')}}), Signer::kStranger);
    EXPECT_EQ(Run(), 3);
    EXPECT_EQ(m_notes.statuses.back(), 2004);
    EXPECT_EQ(m_notes.log.find("the definitions are refused: "), 0U) << m_notes.log;
    EXPECT_TRUE(LastUpdate().starts_with("\"result\": 4, ")) << "3 is of a run that was stopped";
    EXPECT_EQ(Current(), 1U);
    EXPECT_EQ(CurrentFile("own.ndb"), OwnSignature('a'));
}

TEST_F(CorvaneUpdateTest, AFolderWithNothingInItHoldsNoValidFiles) {
    EXPECT_EQ(Run(), 3);
    EXPECT_EQ(m_notes.log, "there are no definition files in " + m_candidate + "\n");
    m_request.folder = m_scratch / "missing";
    EXPECT_EQ(Run(), 3);
}

TEST_F(CorvaneUpdateTest, WithTheLockHeldNothingIsDoneAndTheHolderIsNamed) {
    PutIndexed(1, {{"own.ndb", OwnSignature('a')}});
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
    const pid_t other = StartChild([&] {
        const auto folder = definitions::DefinitionFolder::Open(m_product);
        const definitions::UpdateLock lock(folder.Get());
        common::WriteAll(ends[1], lock.IsHeld() ? "y" : "n");
        pause();
        return 0;
    });
    char isHeld = 0;
    ASSERT_EQ(read(ends[0], &isHeld, 1), 1);
    ASSERT_EQ(isHeld, 'y');
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(m_notes.log, "another update is running, process " + std::to_string(other) + "\n");
    EXPECT_EQ(Current(), 0U);
    EXPECT_FALSE(Exists(m_defs + "last-update.json"));
    kill(other, SIGKILL);
    JoinChild(other);
    EXPECT_EQ(Run(), 1);
}

// A lock that belongs to an open file has no process that could be named.
TEST_F(CorvaneUpdateTest, AHolderThatCannotBeToldIsNotNamed) {
    PutIndexed(1, {{"own.ndb", OwnSignature('a')}});
    const common::FileDescriptor file(
        ::open((m_defs + "lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    ASSERT_EQ(::fcntl(file.Get(), F_OFD_SETLK, &lock), 0);
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(m_notes.log, "another update is running\n");
    EXPECT_EQ(Current(), 0U);
}

TEST_F(CorvaneUpdateTest, AStopBeforeTheSwitchLeavesEverythingAsItWas) {
    PutIndexed(1, {{"own.ndb", OwnSignature('a')}});
    EXPECT_EQ(RunWords(*RequestText(m_request) + "stop\n"), 0);
    EXPECT_EQ(m_notes.log, "the update was stopped\n");
    EXPECT_EQ(Current(), 0U);
    EXPECT_EQ(Run(), 1);
}

TEST_F(CorvaneUpdateTest, ARunFromASiteWithoutAListSaysSo) {
    m_request.source = Source::kSite;
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(m_notes.log, "the list of update servers cannot be read\n");
    EXPECT_EQ(LastUpdate(),
              "\"result\": 0, \"text\": \"the list of update servers cannot be read\"}\n");
}

TEST_F(CorvaneUpdateTest, ARunFromASiteThatIsStoppedIsWrittenDownAsOne) {
    std::filesystem::create_directory(m_product + "download");
    m_request.source = Source::kSite;
    m_request.addresses = {{"http://127.0.0.1:1"}};
    EXPECT_EQ(RunWords(*RequestText(m_request) + "stop\n"), 3);
    EXPECT_EQ(LastUpdate(), "\"result\": 3, \"text\": \"the update was stopped\"}\n");
}

TEST_F(CorvaneUpdateTest, WhatIsNoRequestIsRefused) {
    EXPECT_EQ(RunWords("GET / HTTP/1.1\n"), 0);
    EXPECT_EQ(m_notes.log, "the request is not understood at \"GET\"\n");
}

TEST_F(CorvaneUpdateTest, WithoutAFolderOfDefinitionsItSaysSo) {
    std::filesystem::remove_all(m_defs);
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(m_notes.log,
              "the folder of the definitions cannot be opened: No such file or directory\n");
}

TEST(CorvaneUpdateOptions, TheManualNamesThemAll) {
    const std::string help = OutputOf(CORVANE_UPDATE " --help; echo $?");
    EXPECT_EQ(help.find("Usage: corvane-update [--fetch | --test] [--as-caller]\n"), 0U);
    EXPECT_TRUE(help.ends_with("show the version\n0\n"));
    const std::string manual = ReadFile(CORVANE_UPDATE_MANUAL);
    for (const std::string option : {"fetch", "test", "as-caller", "help", "version"}) {
        EXPECT_NE(help.find("  --" + option), std::string::npos) << option;
        const std::string name = option == "as-caller" ? "as\\-caller" : option;
        EXPECT_NE(manual.find("\\-\\-" + name), std::string::npos) << option;
    }
    EXPECT_EQ(OutputOf(CORVANE_UPDATE " --version; echo $?"),
              "corvane-update " CORVANE_VERSION "\n0\n");
}

TEST(CorvaneUpdateOptions, MistakesAreTold) {
    EXPECT_TRUE(OutputOf(CORVANE_UPDATE " --now 2>&1; echo $?").ends_with("show the version\n2\n"));
    EXPECT_TRUE(OutputOf(CORVANE_UPDATE " word 2>&1; echo $?").ends_with("show the version\n2\n"));
}

}  // namespace
}  // namespace updturl
