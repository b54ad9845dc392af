#include "product/updated/server.h"

#include <algorithm>
#include <csignal>
#include <grp.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <vector>

#include "common/io.h"
#include "product/updated/listening.h"
#include "tests/support/scratch.h"
#include "update/files/update_links.h"

// corvane-updated itself, with a script in the place of the program that updates.

namespace fs = std::filesystem;

namespace updated {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

const std::string kDirectory = "/usr/lib/Corvane/Corvane/";
const std::string kSocket = "/run/corvane/update.sock";

/// One who asks.
class Client {
public:
    explicit Client(std::string_view wish)
        : m_socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        kSocket.copy(address.sun_path, sizeof address.sun_path - 1);
        m_isConnected =
            ::connect(m_socket.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
        Say(wish);
    }

    [[nodiscard]] bool IsConnected() const { return m_isConnected; }
    void Say(std::string_view text) const { common::WriteAll(m_socket.Get(), text); }
    void HangUp() { m_socket.Reset(); }

    /// All that comes until `text` has, the end or 20 seconds.
    std::string HearUntil(std::string_view text) {
        const auto end = steady_clock::now() + seconds(20);
        while (m_heard.find(text) == std::string::npos && steady_clock::now() < end) {
            pollfd readable{m_socket.Get(), POLLIN, 0};
            char buffer[4096];
            ssize_t got = 1;
            if (::poll(&readable, 1, 100) == 1) {
                got = ::read(m_socket.Get(), buffer, sizeof buffer);
                m_heard.append(buffer, got > 0 ? static_cast<std::size_t>(got) : 0);
            }
            if (got <= 0) {
                break;
            }
        }
        return m_heard;
    }
    std::string HearAll() { return HearUntil(std::string_view("\0", 1)); }

private:
    common::FileDescriptor m_socket;
    bool m_isConnected = false;
    std::string m_heard;
};

class UpdatedService : public testing::Test {
protected:
    void SetUp() override {
        if (!InSandbox()) {
            GTEST_SKIP() << "the product directory is only made inside the sandbox";
        }
        CleanUp();
        fs::create_directories(kDirectory);
        fs::create_directories("/run/corvane");
        WriteFile(kDirectory + "zqupdate.opt", std::string({1, 0, 0, 0, 1, 0, 0, 0}) +
                                                   "/srv/definitions" + std::string(496, '\0'));
    }
    void TearDown() override {
        End();
        if (InSandbox()) {
            CleanUp();
        }
    }
    static void CleanUp() {
        fs::remove_all("/usr/lib/Corvane");
        fs::remove_all("/run/corvane");
        fs::remove_all("/var/lib/corvane-updated");
    }

    /// The program that updates notes its request below its number of the run, then does `work`.
    void Start(const std::string& work) {
        const std::string program = kDirectory + "corvane-update";
        WriteFile(program,
                  "#!/bin/bash\nexport LC_ALL=C\n"
                  "while IFS= read -r line && [[ $line != go ]]; do\n"
                  "    echo \"$line\" >>" +
                      m_scratch.Path() + "request\ndone\necho run >>" + m_scratch.Path() +
                      "runs\n" + work + "\n");
        ASSERT_EQ(::chmod(program.c_str(), 0755), 0);
        ASSERT_EQ(::chmod(m_scratch.Path().c_str(), 0777), 0);
        StartAgain();
    }
    void StartAgain() {
        m_service = StartChild([] {
            ::execl(UPDATED_PROGRAM, "corvane-updated", nullptr);
            return 127;
        });
        ASSERT_TRUE(WaitUntil([] { return Client("").IsConnected(); }));
    }
    /// The same with limits of the test's own, in milliseconds.
    void StartWithin(int folder, int site, int awaited, const std::string& work) {
        Start(work);
        End();
        m_service = StartChild([&] {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            Server server(Listen(kSocket), {.directory = kDirectory,
                                            .program = kDirectory + "corvane-update",
                                            .state = m_scratch / "state",
                                            .folderLimit = milliseconds(folder),
                                            .siteLimit = milliseconds(site),
                                            .awaitedLimit = milliseconds(awaited)});
            server.Serve(-1, -1, [] {});
            return 0;
        });
        ASSERT_TRUE(WaitUntil([] { return Client("").IsConnected(); }));
    }
    /// The exit status of the service.
    int End() {
        if (m_service <= 0) {
            return -1;
        }
        ::kill(m_service, SIGTERM);
        return JoinChild(std::exchange(m_service, -1));
    }

    [[nodiscard]] std::string Note(const std::string& name) const {
        return ReadFile(m_scratch / name);
    }

    ScratchFolder m_scratch;
    pid_t m_service = -1;
};

TEST_F(UpdatedService, RunsTheUpdaterAndTellsWhatItSays) {
    Start(
        "echo 'status 2006 main.cvd'; echo 'log a word%0A'; echo 'candidate /secret';"
        "echo switching; echo 'result 1'");
    Client client("index\n");
    EXPECT_EQ(client.HearAll(), "status 2006 main.cvd\nlog a word%0A\nswitching\nresult 1\n");
    const std::string request = Note("request");
    EXPECT_NE(request.find("source index\n"), std::string::npos) << request;
    EXPECT_NE(request.find("folder /srv/definitions\n"), std::string::npos) << request;
}

TEST_F(UpdatedService, AnUpdaterThatDiesIsAFailure) {
    Start("echo 'status 2000'; kill -KILL $$");
    EXPECT_EQ(Client("update\n").HearAll(), "status 2000\nresult 0\n");
}

TEST_F(UpdatedService, AMissingUpdaterIsAFailure) {
    Start("");
    fs::remove(kDirectory + "corvane-update");
    EXPECT_EQ(Client("update\n").HearAll(), "result 0\n");
}

TEST_F(UpdatedService, WithoutOptionsItIsAFailure) {
    Start("echo 'result 1'");
    fs::remove(kDirectory + "zqupdate.opt");
    EXPECT_EQ(Client("update\n").HearAll(), "result 0\n");
    EXPECT_EQ(Note("runs"), "");
}

TEST_F(UpdatedService, NothingAfterTheResultIsTold) {
    Start("echo 'result 2'; echo 'result 1'");
    EXPECT_EQ(Client("update\n").HearAll(), "result 2\n");
}

TEST_F(UpdatedService, AStopReachesTheUpdater) {
    Start("echo 'status 2001'; read -r -t 20 line; echo \"$line\" >" + m_scratch.Path() +
          "said; echo 'result 3'");
    Client client("update\n");
    client.HearUntil("2001");
    client.Say("stop\n");
    EXPECT_TRUE(WaitUntil([&] { return Note("said") == "stop\n"; }));
}

TEST_F(UpdatedService, WhoStopsTooLateHearsThatTheUpdateIsIn) {
    Start("echo switching; read -r -t 20 line; sleep 0.5; echo 'result 1'");
    Client client("update\n");
    client.HearUntil("switching\n");
    client.Say("stop\n");
    EXPECT_EQ(client.HearAll(), "switching\nresult 1\n");
}

TEST_F(UpdatedService, WhoStopsInTimeHearsThatItStopped) {
    Start("echo 'status 2001'; read -r -t 20 line; echo 'result 3'");
    Client client("update\n");
    client.HearUntil("2001\n");
    client.Say("stop\n");
    EXPECT_EQ(client.HearAll(), "status 2001\nresult 3\n");
}

TEST_F(UpdatedService, HangingUpIsAStopToo) {
    Start("echo 'status 2001'; read -r -t 20 line; echo \"$line\" >" + m_scratch.Path() + "said");
    Client client("update\n");
    client.HearUntil("2001");
    client.HangUp();
    EXPECT_TRUE(WaitUntil([&] { return Note("said") == "stop\n"; }));
}

TEST_F(UpdatedService, AnUpdaterThatDoesNotStopIsEndedByForce) {
    Start("echo $$ >" + m_scratch.Path() + "pid; echo 'status 2001'; sleep 120; echo late >" +
          m_scratch.Path() + "late");
    Client client("update\n");
    client.HearUntil("2001");
    client.Say("stop\n");
    EXPECT_TRUE(WaitUntil([&] { return ::kill(std::stoi(Note("pid")), 0) != 0; }));
    EXPECT_FALSE(Exists(m_scratch / "late"));
    EXPECT_EQ(client.HearAll(), "status 2001\nresult 3\n");
}

TEST_F(UpdatedService, OneAfterTheOtherAndEachStopsOnlyItsOwn) {
    // Each run waits until it is told to go on.
    Start("echo 'status 2005'; until [[ -e " + m_scratch.Path() +
          "goon ]]; do sleep 0.05; done; echo 'result 1'");
    Client first("update\n");
    first.HearUntil("2005");
    Client second("update\n");
    Client third("update\n");
    EXPECT_NE(second.HearUntil("status 2000\nstatus 2000\n").find("status 2000\nstatus 2000\n"),
              std::string::npos)
        << "it hears that it waits";
    EXPECT_EQ(Note("runs"), "run\n");
    second.Say("stop\n");
    WriteFile(m_scratch / "goon", "");
    EXPECT_EQ(first.HearAll(), "status 2005\nresult 1\n");
    EXPECT_NE(third.HearUntil("result").find("status 2005\nresult 1\n"), std::string::npos);
    EXPECT_EQ(Note("runs"), "run\nrun\n") << "who has left has no run";
}

TEST_F(UpdatedService, WhoSaysNothingOrNonsenseHasNoRun) {
    Start("echo 'result 1'");
    const Client silent("");
    Client nonsense("folder /etc\n");
    EXPECT_EQ(nonsense.HearAll(), "");
    EXPECT_EQ(Client("update\n").HearAll(), "result 1\n") << "the others are served";
    EXPECT_EQ(Note("runs"), "run\n");
}

TEST_F(UpdatedService, TheEndOfTheServiceEndsTheRun) {
    Start("echo $$ >" + m_scratch.Path() + "pid; echo 'status 2001'; sleep 120");
    Client client("update\n");
    client.HearUntil("2001");
    const pid_t updater = std::stoi(Note("pid"));
    EXPECT_EQ(End(), 0);
    EXPECT_NE(::kill(updater, 0), 0);
}

TEST_F(UpdatedService, EveryUserMayAskAndTheEnvironmentOfTheServiceDecidesNothing) {
    ::setenv("https_proxy", "http://proxy.example", 1);
    Start("env >" + m_scratch.Path() + "environment; echo 'result 1'");
    ::unsetenv("https_proxy");
    EXPECT_EQ(ModeOf(kSocket), 0666U);
    EXPECT_EQ(Client("update\n").HearAll(), "result 1\n");
    EXPECT_EQ(Note("environment").find("proxy"), std::string::npos) << Note("environment");
}

TEST_F(UpdatedService, TheUpdaterHasASessionOfItsOwn) {
    Start("[[ $(cut -d ' ' -f 6 /proc/$$/stat) == $$ ]] && echo 'result 1'");
    EXPECT_EQ(Client("update\n").HearAll(), "result 1\n");
}

TEST_F(UpdatedService, ASocketThatWasLeftBehindIsReplaced) {
    WriteFile(kSocket, "left");
    Start("echo 'result 2'");
    EXPECT_EQ(Client("update\n").HearAll(), "result 2\n");
}

TEST_F(UpdatedService, KeepsTheOptionsOpenToEverybody) {
    ASSERT_EQ(::chmod((kDirectory + "zqupdate.opt").c_str(), 0644), 0);
    Start("");
    EXPECT_TRUE(WaitUntil([] { return ModeOf(kDirectory + "zqupdate.opt") == 0666U; }));
    ASSERT_EQ(::chmod((kDirectory + "zqupdate.opt").c_str(), 0644), 0);
    EXPECT_TRUE(WaitUntil([] { return ModeOf(kDirectory + "zqupdate.opt") == 0666U; }));
}

/// "zqupdate.opt" and "updlink.dat" of a machine that gets its updates from this address.
void UseAddress(const std::string& address) {
    WriteFile(kDirectory + "zqupdate.opt",
              std::string({3, 0, 0, 0, 1, 0, 0, 0}) + std::string(512, '\0'));
    std::string record = std::string(4, '\0') + address + std::string(1032 - address.size(), '\0');
    CUpdate::Encrypt(reinterpret_cast<unsigned char*>(record.data()),
                     static_cast<int>(record.size()));
    WriteFile(kDirectory + "updlink.dat", std::string("\0\0\0\0\1\0", 6) + record);
}

constexpr uid_t kNobody = 65534;

void Become(uid_t user) {
    if (::setgroups(0, nullptr) != 0 || ::setgid(user) != 0 || ::setuid(user) != 0) {
        ::_exit(1);
    }
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

constexpr char kTooLong[] = "log the update takes too long and is ended\n";
constexpr char kUntilStopped[] = "echo 'status 2001'; read -r -t 20 line; echo 'result 3'";

TEST_F(UpdatedService, ARunFromTheFolderHasALimit) {
    StartWithin(400, 60'000, 60'000, kUntilStopped);
    EXPECT_EQ(Client("index\n").HearAll(), std::string("status 2001\n") + kTooLong + "result 0\n")
        << "3 would say that the folder holds nothing valid";
}

TEST_F(UpdatedService, ARunFromASiteHasALimitOfItsOwn) {
    StartWithin(60'000, 400, 60'000, kUntilStopped);
    EXPECT_EQ(Client("update\n").HearAll(), std::string("status 2001\n") + kTooLong + "result 0\n");
}

TEST_F(UpdatedService, ARunThatIgnoresItsLimitIsEndedByForce) {
    StartWithin(400, 60'000, 60'000, "echo $$ >" + m_scratch.Path() + "pid; sleep 120");
    EXPECT_EQ(Client("index\n").HearAll(), kTooLong + std::string("result 0\n"));
    EXPECT_TRUE(WaitUntil([&] { return ::kill(std::stoi(Note("pid")), 0) != 0; }));
}

TEST_F(UpdatedService, WhoeverIsTrustedComesFirstAndEndsALongRunOfAUser) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    StartWithin(60'000, 60'000, 500,
                "[[ $(wc -l <" + m_scratch.Path() + "runs) -gt 1 ]] && echo 'result 2' && exit\n" +
                    kUntilStopped);
    const auto ask = [&](const std::string& name) {
        return StartChild([&, name] {
            Become(kNobody);
            WriteFile(m_scratch / name, Client("update\n").HearAll());
            return 0;
        });
    };
    const pid_t first = ask("first");
    ASSERT_TRUE(WaitUntil([&] { return Note("runs") == "run\n"; }));
    const pid_t second = ask("second");
    std::this_thread::sleep_for(milliseconds(700));
    EXPECT_EQ(Note("runs"), "run\n") << "a user does not end another's";
    Client root("update\n");
    EXPECT_NE(root.HearUntil("result").find("result 2\n"), std::string::npos);
    EXPECT_EQ(JoinChild(first), 0);
    EXPECT_EQ(JoinChild(second), 0);
    EXPECT_EQ(Note("first"), std::string("status 2001\n") + kTooLong + "result 0\n");
    EXPECT_NE(Note("second").find("result 2\n"), std::string::npos);
}

TEST_F(UpdatedService, TheManyDoNotTurnRootAway) {
    Start("echo 'result 2'");
    constexpr int kMany = 70;
    std::vector<Client> many;
    many.reserve(kMany);
    for (int i = 0; i < kMany; ++i) {
        many.emplace_back("");
    }
    EXPECT_EQ(Client("update\n").HearAll(), "result 2\n");
}

TEST_F(UpdatedService, OneRunFillsNoLog) {
    Start("for ((i = 0; i < 700; i++)); do echo log x; done; echo 'result 2'");
    const std::string heard = Client("update\n").HearAll();
    EXPECT_EQ(std::count(heard.begin(), heard.end(), '\n'), 501);
    EXPECT_TRUE(heard.ends_with("log x\nresult 2\n"));
}

TEST_F(UpdatedService, UsersHaveTheOfficialMirrorsAskedSeldom) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    constexpr char kTold[] =
        "log the official mirrors were asked less than 15 minutes ago; this is what came of it\n";
    UseAddress("https://database.clamav.net");
    Start("[[ $(wc -l <" + m_scratch.Path() + "runs) -gt 1 ]]; echo \"result $?\"");
    EXPECT_EQ(HeardBySomebody(m_scratch.Path()), "result 1\n") << "the first asks";
    EXPECT_EQ(HeardBySomebody(m_scratch.Path()), kTold + std::string("result 2\n"))
        << "what was new then is not new any more";
    EXPECT_EQ(Client("update\n").HearAll(), "result 0\n")
        << "the timer and root ask when they want";
    EXPECT_EQ(HeardBySomebody(m_scratch.Path()), kTold + std::string("result 0\n"));
    EXPECT_EQ(Note("runs"), "run\nrun\n");
    End();
    StartAgain();
    EXPECT_EQ(HeardBySomebody(m_scratch.Path()), kTold + std::string("result 0\n"))
        << "also after a restart";
    EXPECT_EQ(Note("runs"), "run\nrun\n");
    EXPECT_EQ(ModeOf("/var/lib/corvane-updated"), 0700U);
}

TEST_F(UpdatedService, TheAutomaticUpdatesAreNoOrdinaryUserWhereTheServiceIsRoot) {
    if (!HasPrivateRoot() || ::geteuid() != 0) {
        GTEST_SKIP() << "a user is made, in the sandbox";
    }
    constexpr uid_t kAutomatic = 64'321;
    const std::string users = ReadFile("/etc/passwd");
    WriteFile("/etc/passwd", "corvane:x:64321:64321::/nonexistent:/usr/sbin/nologin\n" + users);
    UseAddress("https://database.clamav.net");
    Start("echo 'result 2'");
    EXPECT_EQ(HeardBySomebody(m_scratch.Path(), kAutomatic), "result 2\n");
    EXPECT_EQ(HeardBySomebody(m_scratch.Path(), kAutomatic), "result 2\n");
    EXPECT_EQ(Note("runs"), "run\nrun\n");
    WriteFile("/etc/passwd", users);
}

TEST_F(UpdatedService, UsersMayHavePrivateMirrorsAskedAsOftenAsTheyLike) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    UseAddress("https://mirror.example");
    Start("echo 'result 2'");
    EXPECT_EQ(HeardBySomebody(m_scratch.Path()), "result 2\n");
    EXPECT_EQ(HeardBySomebody(m_scratch.Path()), "result 2\n");
    EXPECT_EQ(Note("runs"), "run\nrun\n");
}

TEST_F(UpdatedService, AnInterruptedRunHasAskedTheMirrorsToo) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    UseAddress("https://database.clamav.net");
    Start("echo 'result 3'");
    EXPECT_EQ(HeardBySomebody(m_scratch.Path()), "result 3\n");
    EXPECT_EQ(HeardBySomebody(m_scratch.Path()),
              "log the official mirrors were asked less than 15 minutes ago; this is what came of "
              "it\nresult 0\n");
    EXPECT_EQ(Note("runs"), "run\n");
}

TEST_F(UpdatedService, ServesTheSocketThatSystemdGivesIt) {
    WriteFile(kDirectory + "corvane-update", "#!/bin/sh\necho 'result 2'\n");
    ASSERT_EQ(::chmod((kDirectory + "corvane-update").c_str(), 0755), 0);
    common::FileDescriptor listening(::socket(AF_UNIX, SOCK_STREAM, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    kSocket.copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(::bind(listening.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(listening.Get(), 4), 0);
    struct stat before {};
    ASSERT_EQ(::stat(kSocket.c_str(), &before), 0);
    m_service = StartChild([&] {
        constexpr int kFirstGiven = 3;
        if (listening.Get() != kFirstGiven) {
            ::dup2(listening.Get(), kFirstGiven);
        }
        ::setenv("LISTEN_FDS", "1", 1);
        ::setenv("LISTEN_PID", std::to_string(::getpid()).c_str(), 1);
        ::execl(UPDATED_PROGRAM, "corvane-updated", nullptr);
        return 127;
    });
    listening.Reset();
    EXPECT_EQ(Client("update\n").HearAll(), "result 2\n");
    EXPECT_EQ(End(), 0);
    struct stat after {};
    ASSERT_EQ(::stat(kSocket.c_str(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino) << "it puts none of its own in its place";
}

TEST_F(UpdatedService, WithoutAPlaceToListenAtItFails) {
    fs::remove_all("/run/corvane");
    m_service = StartChild([] {
        ::execl(UPDATED_PROGRAM, "corvane-updated", nullptr);
        return 127;
    });
    EXPECT_EQ(JoinChild(std::exchange(m_service, -1)), 1);
}

TEST_F(UpdatedService, HasNoOptions) {
    EXPECT_EQ(InChild([] {
                  ::execl(UPDATED_PROGRAM, "corvane-updated", "--help", nullptr);
                  return 127;
              }),
              2);
}

}  // namespace
}  // namespace updated
