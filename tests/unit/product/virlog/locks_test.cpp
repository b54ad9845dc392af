#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <string>
#include <sys/file.h>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <unistd.h>

#include "common/named_mutex.h"
#include "tests/unit/product/virlog/run_virlog.h"

namespace {

using testing::HasSubstr;
using testing::MatchesRegex;
using VirlogLockTest = VirlogProgramTest;
using Clock = std::chrono::steady_clock;

constexpr char kTaken[] = " at [0-9-]+ [0-9:]+, [0-9]+ seconds? ago";

std::string MyName() {
    const passwd* const me = getpwuid(geteuid());
    return me != nullptr ? me->pw_name : "user " + std::to_string(geteuid());
}

std::string LockOf(const char* key, int queue) {
    return "ock \"" + std::string(key) + "\" \\(queue " + std::to_string(queue) + "\\), taken by " +
           MyName() + kTaken;
}

// A process that takes a lock and is killed with it.
void LeaveBehind(const char* key) {
    const pid_t child = StartChild([key] {
        tagMUTEX_INFO mutex{};
        if (GetMutexOwnerShip(key, &mutex, 0) == 0) {
            return 1;
        }
        ::raise(SIGKILL);
        return 2;
    });
    ASSERT_EQ(JoinChild(child), -1);
}

TEST_F(VirlogLockTest, WaitsForAnotherProcessAndSaysSo) {
    WriteLog({Record(u"/tmp/a")});
    for (const auto& [key, name] : {std::pair{kMainKey, "10022"}, std::pair{kRecordKey, "10011"}}) {
        const Queue held(key);
        VirlogRun run({"--format", "csv"});
        ASSERT_TRUE(WaitUntil([&run] { return !run.Errors().empty(); }));
        EXPECT_EQ(run.Output(), "");
        held.Remove();
        EXPECT_EQ(run.Status(), 0);
        EXPECT_THAT(run.Errors(),
                    MatchesRegex("corvane-virlog: waiting for l" + LockOf(name, held.Id()) + "\n"));
        EXPECT_THAT(run.Output(), HasSubstr(",/tmp/a,"));
    }
}

TEST_F(VirlogLockTest, GivesUpOnALockThatADeadProcessHolds) {
    WriteLog({Record(u"/tmp/a")});
    for (const char* key : {"10022", "10011"}) {
        LeaveBehind(key);
        const auto state = common::FindNamedMutex(key);
        ASSERT_TRUE(state);
        const Clock::time_point start = Clock::now();
        VirlogRun run({});
        EXPECT_EQ(run.Status(), 1);
        EXPECT_GE(Clock::now() - start, std::chrono::seconds(9));
        EXPECT_EQ(run.Output(), "");
        const std::string lock = LockOf(key, state->queueId);
        std::string expected = "corvane-virlog: waiting for l";
        expected += lock;
        expected += "\ncorvane-virlog: another process holds the virus log: l";
        expected += lock;
        expected += "; when that process is gone, \"corvane-virlog --unlock\" helps\n";
        EXPECT_THAT(run.Errors(), MatchesRegex(expected));
        EXPECT_TRUE(common::RemoveNamedMutex(*state)) << "it must not be touched";
    }
    EXPECT_FALSE(Exists(kCopy));
}

TEST_F(VirlogLockTest, EndsAtOnceWhenItIsTold) {
    WriteLog({Record(u"/tmp/a")});
    for (const int signal :
         {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGUSR1, SIGUSR2, SIGALRM, SIGVTALRM, SIGPROF, SIGXCPU,
          SIGIO, SIGPWR, SIGSTKFLT, SIGRTMIN, SIGRTMIN + 1, SIGRTMAX}) {
        // The first lock is free: it is in the program's hands while it waits for the second.
        const Queue held(kRecordKey);
        VirlogRun run({});
        ASSERT_TRUE(WaitUntil([] { return IsHeld(kMainKey); }));
        const Clock::time_point start = Clock::now();
        run.Signal(signal);
        EXPECT_EQ(run.Status(), 128 + signal);
        EXPECT_LT(Clock::now() - start, std::chrono::seconds(5)) << signal;
        const bool isLeftBehind = IsHeld(kMainKey);
        EXPECT_FALSE(isLeftBehind) << "it would lock everybody out: " << signal;
        EXPECT_FALSE(Exists(kCopy)) << signal;
        if (isLeftBehind) {
            ::msgctl(::msgget(kMainKey, 0), IPC_RMID, nullptr);
        }
    }
}

TEST_F(VirlogLockTest, GoesOnAfterWhatEndsNoProgramAndWhatIsAnsweredOtherwise) {
    WriteLog({Record(u"/tmp/a")});
    const Queue held(kRecordKey);
    VirlogRun run({"--format", "csv"});
    ASSERT_TRUE(WaitUntil([] { return IsHeld(kMainKey); }));
    for (const int signal : {SIGPIPE, SIGXFSZ, SIGCHLD, SIGCONT, SIGURG, SIGWINCH}) {
        run.Signal(signal);
    }
    ASSERT_TRUE(WaitUntil([&run] { return !run.Errors().empty(); }));
    held.Remove();
    EXPECT_EQ(run.Status(), 0);
    EXPECT_THAT(run.Output(), HasSubstr(",/tmp/a,"));
}

TEST_F(VirlogLockTest, IgnoresWhatItWasStartedToIgnore) {
    WriteLog({Record(u"/tmp/a")});
    const Queue held(kMainKey);
    std::signal(SIGHUP, SIG_IGN);
    VirlogRun run({"--format", "csv"});
    std::signal(SIGHUP, SIG_DFL);
    ASSERT_TRUE(WaitUntil([&run] { return !run.Errors().empty(); }));
    run.Signal(SIGHUP);
    held.Remove();
    EXPECT_EQ(run.Status(), 0);
    EXPECT_THAT(run.Output(), HasSubstr(",/tmp/a,"));
}

TEST_F(VirlogLockTest, WaitsForWhoKeepsTheFolderLocked) {
    WriteLog({Record(u"/tmp/a")});
    common::FileDescriptor folder(::open(kReports, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ASSERT_EQ(::flock(folder.Get(), LOCK_EX), 0);
    VirlogRun run({"--format", "csv"});
    ASSERT_TRUE(WaitUntil([&run] { return !run.Errors().empty(); }));
    EXPECT_FALSE(IsHeld(kMainKey)) << "no lock of the log is held meanwhile";
    folder.Reset();
    EXPECT_EQ(run.Status(), 0);
    EXPECT_EQ(run.Errors(),
              "corvane-virlog: waiting for another process that keeps "
              "/usr/lib/Corvane/Corvane/reports/ locked\n");
    EXPECT_THAT(run.Output(), HasSubstr(",/tmp/a,"));
}

using VirlogUnlockTest = VirlogProgramTest;

constexpr char kLooking[] = "Looking whether the locks of the virus log are in use \\.\\.\\.\n";
constexpr char kAdvice[] =
    "A working process holds a lock of the virus log for moments, "
    "one that waits for the other lock for up to ten seconds, "
    "and a reset of the log for up to a minute\\.\n"
    "Remove a lock only when the process that took it is gone\\.\n";

TEST_F(VirlogUnlockTest, SaysWhenThereIsNothingToRemove) {
    VirlogRun run({"--unlock"});
    EXPECT_EQ(run.Status(), 0);
    EXPECT_EQ(run.Output(), "There is no lock to remove.\n");
    EXPECT_EQ(run.Errors(), "");
}

TEST_F(VirlogUnlockTest, RemovesWhatAPersonWantsToHaveRemoved) {
    LeaveBehind("10022");
    LeaveBehind("10011");
    const int mainQueue =
        common::FindNamedMutex("10022").value_or(common::NamedMutexState{}).queueId;
    const int recordQueue =
        common::FindNamedMutex("10011").value_or(common::NamedMutexState{}).queueId;
    VirlogRun run({"--unlock"}, "y\nyes\n");
    EXPECT_EQ(run.Status(), 0);
    EXPECT_EQ(run.Errors(), "");
    EXPECT_THAT(run.Output(),
                MatchesRegex(std::string(kLooking) + "L" + LockOf("10022", mainQueue) + "\\.\nL" +
                             LockOf("10011", recordQueue) + "\\.\n" + kAdvice +
                             "Remove lock \"10022\"\\? \\[y/N\\] Removed\\.\n"
                             "Remove lock \"10011\"\\? \\[y/N\\] Removed\\.\n"));
    EXPECT_FALSE(IsHeld(kMainKey));
    EXPECT_FALSE(IsHeld(kRecordKey));
}

TEST_F(VirlogUnlockTest, AsksForEach) {
    const Queue main(kMainKey);
    const Queue record(kRecordKey);
    VirlogRun run({"--unlock"}, "n\nY\n");
    EXPECT_EQ(run.Status(), 0);
    EXPECT_THAT(run.Output(), HasSubstr("Remove lock \"10022\"? [y/N] Kept.\n"
                                        "Remove lock \"10011\"? [y/N] Removed.\n"));
    EXPECT_TRUE(IsHeld(kMainKey));
    EXPECT_FALSE(IsHeld(kRecordKey));
}

TEST_F(VirlogUnlockTest, AnythingButYesKeepsTheLock) {
    const Queue main(kMainKey);
    const Queue record(kRecordKey);
    for (const char* answers : {"n\n\n", "yess\n y\n", "y \nj\n", "no\nyy\ny\n"}) {
        VirlogRun run({"--unlock"}, answers);
        EXPECT_EQ(run.Status(), 0) << answers;
        EXPECT_THAT(run.Output(), HasSubstr("Remove lock \"10022\"? [y/N] Kept.\n"
                                            "Remove lock \"10011\"? [y/N] Kept.\n"))
            << answers;
        EXPECT_TRUE(IsHeld(kMainKey)) << answers;
        EXPECT_TRUE(IsHeld(kRecordKey)) << answers;
    }
}

TEST_F(VirlogUnlockTest, TheEndOfInputKeepsEveryLock) {
    const Queue main(kMainKey);
    const Queue record(kRecordKey);
    VirlogRun run({"--unlock"});
    run.CloseInput();
    EXPECT_EQ(run.Status(), 0);
    EXPECT_THAT(run.Output(), HasSubstr("Remove lock \"10022\"? [y/N] \nKept.\n"
                                        "Remove lock \"10011\"? [y/N] \nKept.\n"));
    EXPECT_TRUE(IsHeld(kMainKey));
    EXPECT_TRUE(IsHeld(kRecordKey));
}

TEST_F(VirlogUnlockTest, LeavesAloneWhatComesAndGoes) {
    const Queue main(kMainKey);
    const Queue record(kRecordKey);
    VirlogRun run({"--unlock"}, "y\ny\n");
    ASSERT_TRUE(WaitUntil([&run] { return !run.Output().empty(); }));
    main.Remove();
    record.Remove();
    const Queue again(kRecordKey);
    EXPECT_EQ(run.Status(), 0);
    EXPECT_THAT(
        run.Output(),
        MatchesRegex(std::string(kLooking) +
                     "Lock \"10022\" was in use and has been released; it is left alone\\.\n"
                     "Lock \"10011\" was in use and has been released; it is left alone\\.\n"
                     "There is no lock to remove\\.\n"));
    EXPECT_TRUE(IsHeld(kRecordKey));
}

TEST_F(VirlogUnlockTest, ALockThatIsTakenAnewDuringTheQuestionStays) {
    const Queue main(kMainKey);
    VirlogRun run({"--unlock"});
    ASSERT_TRUE(WaitUntil([&run] { return run.Output().find("? [y/N]") != std::string::npos; }));
    main.Remove();
    const Queue again(kMainKey);
    run.Type("y\n");
    EXPECT_EQ(run.Status(), 0);
    EXPECT_THAT(run.Output(), HasSubstr("? [y/N] It has been released meanwhile.\n"));
    EXPECT_TRUE(IsHeld(kMainKey));
}

TEST_F(VirlogUnlockTest, AsksNothingThatCannotBeRead) {
    const Queue main(kMainKey);
    const common::FileDescriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    VirlogRun run({"--unlock"}, full.Get());
    run.Type("y\n");
    EXPECT_EQ(run.Status(), 1);
    EXPECT_EQ(run.Errors(),
              "corvane-virlog: the output could not be written: No space left on device\n");
    EXPECT_TRUE(IsHeld(kMainKey));
}

TEST_F(VirlogUnlockTest, OthersLocksAreTheirsOrRootsToRemove) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can become somebody else";
    }
    const Queue main(kMainKey);
    ASSERT_EQ(InChild([] {
                  tagMUTEX_INFO mutex{};
                  return setgid(kNobody) == 0 && setuid(kNobody) == 0 &&
                                 GetMutexOwnerShip("10011", &mutex, 0) == 1
                             ? 0
                             : 1;
              }),
              0);
    // root's is shown and not asked for; one's own is.
    VirlogRun asNobody({"--unlock"}, "n\n", kNobody);
    EXPECT_EQ(asNobody.Status(), 1);
    EXPECT_EQ(asNobody.Errors(),
              "corvane-virlog: lock \"10022\" belongs to root; only root can remove it\n");
    EXPECT_THAT(asNobody.Output(), HasSubstr("Lock \"10022\" (queue " + std::to_string(main.Id()) +
                                             "), taken by root at "));
    EXPECT_THAT(asNobody.Output(), HasSubstr("Remove lock \"10011\"? [y/N] Kept.\n"));
    EXPECT_TRUE(IsHeld(kMainKey));

    VirlogRun asStranger({"--unlock"}, "y\n", 12345);
    EXPECT_EQ(asStranger.Status(), 1);
    EXPECT_EQ(asStranger.Errors(),
              "corvane-virlog: lock \"10022\" belongs to root; only root can remove it\n"
              "corvane-virlog: lock \"10011\" belongs to nobody; only nobody or root can remove "
              "it\n");
    EXPECT_TRUE(IsHeld(kRecordKey));

    VirlogRun asRoot({"--unlock"}, "y\ny\n");
    EXPECT_EQ(asRoot.Status(), 0);
    EXPECT_FALSE(IsHeld(kMainKey));
    EXPECT_FALSE(IsHeld(kRecordKey));
}

}  // namespace
