#include "tests/unit/product/updated/updated_service.h"

// What the service does for who asks it, and how it begins and ends.

namespace updated {
namespace {

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

// The log of the system is a socket of the test's own here.
TEST_F(UpdatedService, WhoAsksAndWhatTheUpdaterSaysAreLinesOfTheLog) {
    const common::FileDescriptor log(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    constexpr sockaddr_un kLog{AF_UNIX, "/dev/log"};
    ::unlink(kLog.sun_path);
    ASSERT_EQ(::bind(log.Get(), reinterpret_cast<const sockaddr*>(&kLog), sizeof kLog), 0);
    Start("echo 'log a%0Ab%1B[2J'; echo 'result 1'");
    EXPECT_EQ(Client("index\n").HearAll(), "log a%0Ab%1B[2J\nresult 1\n");
    End();
    ::unlink(kLog.sun_path);
    std::string logged;
    char line[1024];
    for (ssize_t got = 0; (got = ::recv(log.Get(), line, sizeof line, MSG_DONTWAIT)) > 0;) {
        logged.append(line, static_cast<std::size_t>(got)).append("\n");
    }
    EXPECT_NE(logged.find(": a\\u{000a}b\\u{001b}[2J\n"), std::string::npos) << logged;
    const std::string asker = "user " + std::to_string(::getuid()) + " (process " +
                              std::to_string(::getpid()) + ") asks for an update";
    EXPECT_NE(logged.find(asker), std::string::npos) << logged;
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
