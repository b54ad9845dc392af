#include <sstream>

#include "tests/support/traced_program.h"
#include "tests/unit/product/updated/updated_service.h"
#include "update/files/update_links.h"

// How often users can have the official mirrors asked, and what they hear in between.

namespace updated {
namespace {

/// "zqupdate.opt" and "updlink.dat" of a machine that gets its updates from this address.
void UseAddress(const std::string& address) {
    WriteFile(kDirectory + "zqupdate.opt",
              std::string({3, 0, 0, 0, 1, 0, 0, 0}) + std::string(512, '\0'));
    std::string record = std::string(4, '\0') + address + std::string(1032 - address.size(), '\0');
    CUpdate::Encrypt(reinterpret_cast<unsigned char*>(record.data()),
                     static_cast<int>(record.size()));
    WriteFile(kDirectory + "updlink.dat", std::string("\0\0\0\0\1\0", 6) + record);
}

/// What another user is told.
std::string HeardBySomebody(const std::string& path, uid_t user = kNobody) {
    const std::string heard = path + "heard";
    EXPECT_EQ(InChild([&] {
                  Become(user);
                  WriteFile(heard, Client("update\n").HearAll());
                  return 0;
              }),
              0);
    std::string text = ReadFile(heard);
    fs::remove(heard);
    return text;
}

constexpr char kAsked[] = "log the official mirrors were asked less than 15 minutes ago; ";
constexpr char kMemory[] = "/var/lib/corvane-updated/official-mirrors";

// Root is the one who can become another user.
class OfficialMirrors : public UpdatedService {
protected:
    void SetUp() override {
        UpdatedService::SetUp();
        if (!IsSkipped() && ::geteuid() != 0) {
            GTEST_SKIP() << "only root can become another user";
        }
        if (!IsSkipped()) {
            UseAddress("https://database.clamav.net");
        }
    }

    /// They were asked longer ago than counts: what is in the file.
    static std::string PutAskedLongAgo(int result) {
        std::string text = "asked " + std::to_string(std::time(nullptr) - 1000) + " result " +
                           std::to_string(result) + "\n";
        fs::create_directories("/var/lib/corvane-updated");
        WriteFile(kMemory, text);
        return text;
    }

    /// A user's run in which the service is killed.
    void KillInARun() {
        Start("sleep 20; echo 'result 1'");
        const pid_t user = StartChild([&] {
            Become(kNobody);
            Client("update\n").HearAll();
            return 0;
        });
        EXPECT_TRUE(WaitUntil([&] { return Note("runs") == "run\n"; }));
        ::kill(m_service, SIGKILL);
        EXPECT_EQ(End(), -1);
        EXPECT_EQ(JoinChild(user), 0);
        StartAgain();
    }
};

TEST_F(OfficialMirrors, UsersHaveTheOfficialMirrorsAskedSeldom) {
    const std::string told = kAsked + std::string("this is what came of it\n");
    Start("[[ $(wc -l <" + m_scratch.Path() + "runs) -gt 1 ]]; echo \"result $?\"");
    EXPECT_EQ(HeardBySomebody(m_scratch.Path()), "result 1\n") << "the first asks";
    EXPECT_EQ(HeardBySomebody(m_scratch.Path()), told + "result 2\n")
        << "what was new then is not new any more";
    EXPECT_EQ(Client("update\n").HearAll(), "result 0\n")
        << "the timer and root ask when they want";
    EXPECT_EQ(HeardBySomebody(m_scratch.Path()), told + "result 0\n");
    EXPECT_EQ(Note("runs"), "run\nrun\n");
    End();
    StartAgain();
    EXPECT_EQ(HeardBySomebody(m_scratch.Path()), told + "result 0\n") << "also after a restart";
    EXPECT_EQ(Note("runs"), "run\nrun\n");
    EXPECT_EQ(ModeOf("/var/lib/corvane-updated"), 0700U);
}

TEST_F(OfficialMirrors, TheAutomaticUpdatesAreNoOrdinaryUserWhereTheServiceIsRoot) {
    if (!HasPrivateRoot()) {
        GTEST_SKIP() << "a user is made, in the sandbox";
    }
    constexpr uid_t kAutomatic = 64'321;
    const std::string users = ReadFile("/etc/passwd");
    WriteFile("/etc/passwd", "corvane:x:64321:64321::/nonexistent:/usr/sbin/nologin\n" + users);
    Start("echo 'result 2'");
    EXPECT_EQ(HeardBySomebody(m_scratch.Path(), kAutomatic), "result 2\n");
    EXPECT_EQ(HeardBySomebody(m_scratch.Path(), kAutomatic), "result 2\n");
    EXPECT_EQ(Note("runs"), "run\nrun\n");
    WriteFile("/etc/passwd", users);
}

TEST_F(OfficialMirrors, UsersMayHavePrivateMirrorsAskedAsOftenAsTheyLike) {
    UseAddress("https://mirror.example");
    Start("echo 'result 2'");
    EXPECT_EQ(HeardBySomebody(m_scratch.Path()), "result 2\n");
    EXPECT_EQ(HeardBySomebody(m_scratch.Path()), "result 2\n");
    EXPECT_EQ(Note("runs"), "run\nrun\n");
}

TEST_F(OfficialMirrors, AnInterruptedRunHasAskedTheMirrorsToo) {
    Start("echo 'result 3'");
    EXPECT_EQ(HeardBySomebody(m_scratch.Path()), "result 3\n");
    EXPECT_EQ(HeardBySomebody(m_scratch.Path()),
              kAsked + std::string("what came of it is not known\nresult 0\n"));
    EXPECT_EQ(Note("runs"), "run\n");
}

TEST_F(OfficialMirrors, AfterAnInterruptedRunTheLastTrueResultIsTold) {
    PutAskedLongAgo(2);
    Start("echo 'result 3'");
    EXPECT_EQ(HeardBySomebody(m_scratch.Path()), "result 3\n");
    EXPECT_EQ(HeardBySomebody(m_scratch.Path()),
              kAsked + std::string("that was broken off; this is what came of the time before\n"
                                   "result 2\n"));
    EXPECT_EQ(Note("runs"), "run\n");
}

TEST_F(OfficialMirrors, AServiceThatWasKilledInARunStillTellsTheLastTrueResult) {
    PutAskedLongAgo(1);
    KillInARun();
    EXPECT_EQ(HeardBySomebody(m_scratch.Path()),
              kAsked + std::string("that was broken off; this is what came of the time before\n"
                                   "result 2\n"))
        << "what was new then is not new any more";
    EXPECT_EQ(Note("runs"), "run\n");
}

TEST_F(OfficialMirrors, AServiceThatWasKilledInItsFirstRunSaysThatNothingIsKnown) {
    KillInARun();
    EXPECT_EQ(HeardBySomebody(m_scratch.Path()),
              kAsked + std::string("what came of it is not known\nresult 0\n"));
    EXPECT_EQ(Note("runs"), "run\n");
}

TEST_F(OfficialMirrors, WithoutAnUpdaterTheyWereNotAsked) {
    Start("echo 'result 2'");
    fs::rename(kDirectory + "corvane-update", kDirectory + "elsewhere");
    EXPECT_EQ(HeardBySomebody(m_scratch.Path()), "result 0\n");
    EXPECT_FALSE(Exists(kMemory));
    EXPECT_EQ(HeardBySomebody(m_scratch.Path()), "result 0\n") << "not from memory";
    End();
    const std::string before = PutAskedLongAgo(2);
    StartAgain();
    EXPECT_EQ(HeardBySomebody(m_scratch.Path()), "result 0\n");
    EXPECT_EQ(ReadFile(kMemory), before);
    fs::rename(kDirectory + "elsewhere", kDirectory + "corvane-update");
    EXPECT_EQ(HeardBySomebody(m_scratch.Path()), "result 2\n") << "now they are";
    EXPECT_EQ(Note("runs"), "run\n");
}

TEST_F(OfficialMirrors, SignalsKeepNothingFromBeingWrittenDown) {
    if (!CanTrace()) {
        GTEST_SKIP() << "strace is missing, or not allowed to look at processes";
    }
    Start("echo 'result 2'");
    End();
    const std::string trace = m_scratch / "trace";
    m_service = StartChild([&] {
        return ::Become(TracedCommand(
            {"-D", "-o", trace, "-e", "inject=unlinkat,fsync,renameat:error=EINTR:when=1+2"},
            {UPDATED_PROGRAM}));
    });
    ASSERT_TRUE(WaitUntil([] { return Client("").IsConnected(); }));
    EXPECT_EQ(HeardBySomebody(m_scratch.Path()), "result 2\n");
    EXPECT_EQ(End(), 0);
    EXPECT_TRUE(ReadFile(kMemory).ends_with(" result 2\n")) << ReadFile(kMemory);
    // Each is made again at once: before the run and after it an unlinkat, two fsync, a renameat.
    std::istringstream made(ReadFile(trace));
    int interrupted = 0;
    for (std::string line; std::getline(made, line);) {
        if (line.find("EINTR") != std::string::npos && line.find("INJECTED") != std::string::npos) {
            std::string next;
            std::getline(made, next);
            EXPECT_EQ(next.substr(0, next.find(" = ")), line.substr(0, line.find(" = ")));
            ++interrupted;
        }
    }
    EXPECT_GE(interrupted, 8);
}

}  // namespace
}  // namespace updated
