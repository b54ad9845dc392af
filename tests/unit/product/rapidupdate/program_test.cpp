#include <csignal>
#include <fcntl.h>
#include <syslog.h>
#include <vector>

#include "product/rapidupdate/update_lock.h"
#include "product/updturl/service_connection.h"
#include "tests/support/scratch.h"
#include "tests/unit/product/rapidupdate/fake_update_service.h"

// corvane-rapidupdate in a product directory of its own: the lock, the reports, who is told.

namespace fs = std::filesystem;

namespace {

const std::string kFolder = "/usr/lib/Corvane/Corvane/";
const std::string kLock = kFolder + "updt.lck";
const std::string kOptions = kFolder + "zqupdate.opt";
const std::string kSocket = updturl::kServiceSocket;

/// The process that holds the update lock, 0 without one.
pid_t LockHolder() {
    const common::FileDescriptor file(::open(kLock.c_str(), O_RDWR | O_CLOEXEC));
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_len = 1;
    return file && ::fcntl(file.Get(), F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK ? lock.l_pid
                                                                                      : 0;
}

bool TakeLock(const common::FileDescriptor& file) {
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_len = 1;
    return ::fcntl(file.Get(), F_SETLK, &lock) == 0;
}

class Rapidupdate : public testing::Test {
protected:
    void SetUp() override {
        if (!InSandbox()) {
            GTEST_SKIP() << "the product directory is only made inside the sandbox";
        }
        CleanUp();
        fs::create_directories(kFolder + "reports");
        fs::create_directories("/run/corvane");
        WriteFile(kFolder + "updt.rpt", std::string("ZQRF\0\0\0\0\0\0\0\0", 12));
        WriteFile(kLock, "");
        SetVersion(0x0C);
        SetOptions(0x3);
        fs::copy_file(FAKE_SCANSTS_DIR "good/scansts.so", kFolder + "scansts.so");
        fs::create_directory(m_scratch / "bin");
        WriteFile(m_scratch / "bin/pkill", "#!/bin/sh\necho \"$*\" >>\"$CALLS.pkill\"\n");
        fs::permissions(m_scratch / "bin/pkill", fs::perms::all);
        ::setenv("PATH", ((m_scratch / "bin:") + m_path).c_str(), 1);
        ::setenv("CALLS", (m_scratch / "calls").c_str(), 1);
        ::setenv("FAKE_SCANSTS_LOG", (m_scratch / "calls").c_str(), 1);
    }
    void TearDown() override {
        if (InSandbox()) {
            CleanUp();
        }
        ::setenv("PATH", m_path.c_str(), 1);
    }

    static void CleanUp() {
        fs::remove_all("/usr/lib/Corvane");
        fs::remove_all("/run/corvane");
    }

    /// Version 5.NN of Saturday, 21 November 2026, 9:08:07.
    static void SetVersion(char minor) {
        WriteFile(kFolder + "scanver.cnf", std::string({5,  0, minor, 0, '\xEA', 7, 11, 0, 6, 0,
                                                        21, 0, 9,     0, 8,      0, 7,  0, 0, 0}));
    }
    static void SetOptions(char flags) {
        WriteFile(kOptions, std::string({flags, 0, 0, 0, 1, 0, 0, 0}) + std::string(512, '\0'));
    }

    pid_t Start(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), RAPIDUPDATE_PROGRAM);
        return StartChild([&] {
            const int log =
                ::open((m_scratch / "log").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
            ::dup2(log, STDOUT_FILENO);
            ::dup2(log, STDERR_FILENO);
            return Become(arguments);
        });
    }
    [[nodiscard]] int Run(const std::vector<std::string>& arguments) const {
        return JoinChild(Start(arguments));
    }
    /// One update of a service that answers `text`; its exit status.
    [[nodiscard]] int Once(const std::string& text) const {
        FakeUpdateService service(kSocket, [&](int peer) { FakeUpdateService::Write(peer, text); });
        const int status = Run({"--once", "--log-on-screen"});
        ::unlink(kSocket.c_str());
        return status;
    }

    [[nodiscard]] std::string Log() const { return ReadFile(m_scratch / "log"); }
    [[nodiscard]] bool HasLogged(const std::string& text) const {
        return Log().find(text) != std::string::npos;
    }
    [[nodiscard]] std::string Calls() const { return ReadFile(m_scratch / "calls"); }
    [[nodiscard]] std::string PkillCalls() const { return ReadFile(m_scratch / "calls.pkill"); }

    static std::vector<std::string> Reports() {
        std::vector<std::string> texts;
        for (const auto& entry : fs::directory_iterator(kFolder + "reports")) {
            texts.push_back(ReadFile(entry.path().string()));
        }
        return texts;
    }
    /// How the update ended, as the index of reports lists it.
    static std::string IndexedSubject() {
        const std::string index = ReadFile(kFolder + "updt.rpt");
        return index.size() == 12 + 542 ? std::string(index.c_str() + 12 + 30) : "none or several";
    }

    ScratchFolder m_scratch;
    std::string m_path = std::getenv("PATH");
};

TEST_F(Rapidupdate, ASuccessIsReportedAndTold) {
    {
        FakeUpdateService service(kSocket, [&](int peer) {
            SetVersion(0x0D);
            FakeUpdateService::Write(peer,
                                     "status 2000\nlog set-2%20is%20there\n"
                                     "log one%0Atwo\nresult 1\n");
        });
        EXPECT_EQ(Run({"--once", "--log-on-screen"}), 0);
        EXPECT_EQ(service.Heard(), "update\n");
    }
    EXPECT_EQ(Reports(),
              std::vector<std::string>{"\nCorvane is Successfully updated \n\n"
                                       "From Version :  5.12"
                                       "\nVirus database :  21 November 2026 [09:08:07]"
                                       "\nTo Version :  5.13"
                                       "\nVirus database :  21 November 2026 [09:08:07]"});
    EXPECT_EQ(IndexedSubject(), "UPDATED SUCCESSFULLY");
    EXPECT_EQ(PkillCalls(), "-SIGUSR2 websecd\n");
    EXPECT_EQ(Calls(), "told 0a000000" + std::string(120, '0') + "\nunloaded\n");
    EXPECT_TRUE(HasLogged(": set-2 is there\n")) << Log();
    EXPECT_TRUE(HasLogged(": one\\u{000a}two\n")) << Log();
    EXPECT_TRUE(HasLogged(": new virus definitions are installed\n")) << Log();
}

TEST_F(Rapidupdate, NothingNewIsReportedAndNobodyTold) {
    EXPECT_EQ(Once("result 2\n"), 0);
    EXPECT_EQ(IndexedSubject(), "UP-TO-DATE");
    EXPECT_EQ(Reports().size(), 1U);
    EXPECT_EQ(PkillCalls() + Calls(), "");
}

TEST_F(Rapidupdate, AFailureIsReported) {
    EXPECT_EQ(Once("result 0\n"), 1);
    EXPECT_EQ(Reports(), std::vector<std::string>{"Error retrieving updates."});
    EXPECT_EQ(IndexedSubject(), "UPDATE ERROR");
    EXPECT_EQ(PkillCalls() + Calls(), "");
}

TEST_F(Rapidupdate, WhatTheWindowWritesNoReportOfGetsNoneHere) {
    EXPECT_EQ(Once("result 3\n"), 1);
    EXPECT_EQ(Once("result 4\n"), 1);
    EXPECT_TRUE(Reports().empty());
    EXPECT_TRUE(HasLogged(": no valid definition files were found\n")) << Log();
}

TEST_F(Rapidupdate, AFolderWithoutDefinitionsIsSaidToBeOne) {
    SetOptions(0x1);
    EXPECT_EQ(Once("result 3\n"), 1);
    EXPECT_TRUE(HasLogged(": no valid definition files were found\n")) << Log();
}

TEST_F(Rapidupdate, WithoutTheServiceTheLogSaysHowToStartIt) {
    EXPECT_EQ(Run({"--once", "--log-on-screen"}), 1);
    EXPECT_EQ(IndexedSubject(), "UPDATE ERROR");
    EXPECT_TRUE(
        HasLogged("no update service at /run/corvane/update.sock (No such file or "
                  "directory); start it with \"service corvane-updated start\"\n"))
        << Log();
}

TEST_F(Rapidupdate, HoldsTheLockWhileItUpdatesAndNotAfterwards) {
    std::atomic<pid_t> holder = 0;
    FakeUpdateService service(kSocket, [&](int peer) {
        holder = LockHolder();
        FakeUpdateService::Write(peer, "result 2\n");
    });
    const pid_t program = Start({"--once"});
    EXPECT_EQ(JoinChild(program), 0);
    EXPECT_EQ(holder, program);
    EXPECT_EQ(LockHolder(), 0);
}

TEST_F(Rapidupdate, WaitsForAnUpdateOfTheWindowAndSaysWhoseItIs) {
    FakeUpdateService service(kSocket,
                              [&](int peer) { FakeUpdateService::Write(peer, "result 2\n"); });
    common::FileDescriptor lock(::open(kLock.c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_TRUE(TakeLock(lock));
    const pid_t program = Start({"--once", "--log-on-screen"});
    const std::string expected =
        ": process " + std::to_string(::getpid()) + " is updating already (it holds " + kLock;
    EXPECT_TRUE(WaitUntil([&] { return HasLogged(expected); })) << Log();
    EXPECT_TRUE(Reports().empty());
    lock.Reset();
    EXPECT_EQ(JoinChild(program), 0);
    EXPECT_EQ(IndexedSubject(), "UP-TO-DATE");
}

// Of a lock that belongs to an open file the system tells no process.
TEST_F(Rapidupdate, EachHolderIsLoggedOnceAlsoOneThatCannotBeTold) {
    common::FileDescriptor file(::open(kLock.c_str(), O_RDWR | O_CLOEXEC));
    struct flock whole {};
    whole.l_type = F_WRLCK;
    whole.l_whence = SEEK_SET;
    ASSERT_EQ(::fcntl(file.Get(), F_OFD_SETLK, &whole), 0);
    EXPECT_EQ(InChild([&] {
                  ::dup2(::open((m_scratch / "log").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600),
                         STDERR_FILENO);
                  ::openlog("test", LOG_PERROR, LOG_DAEMON);
                  rapidupdate::UpdateLock lock(kLock.c_str());
                  int got = lock.TryAcquire() ? 1 : 0;
                  got += lock.TryAcquire() ? 1 : 0;
                  whole.l_type = F_UNLCK;
                  ::fcntl(file.Get(), F_OFD_SETLK, &whole);
                  fs::remove(kLock);
                  fs::create_directory(kLock);
                  got += lock.TryAcquire() ? 1 : 0;
                  got += lock.TryAcquire() ? 1 : 0;
                  fs::remove(kLock);
                  return got + (lock.TryAcquire() ? 10 : 0);
              }),
              10);
    EXPECT_EQ(Log(), "test: another process is updating already (it holds " + kLock +
                         ", and which one it is cannot be told); waiting for it\n"
                         "test: " +
                         kLock + " cannot be opened: Operation not permitted\n");
}

TEST_F(Rapidupdate, EndsAtOnceWhileItWaitsForTheLock) {
    const common::FileDescriptor lock(::open(kLock.c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_TRUE(TakeLock(lock));
    const pid_t program = Start({"--after", "0", "--log-on-screen"});
    EXPECT_TRUE(WaitUntil([&] { return HasLogged("is updating already"); })) << Log();
    ::kill(program, SIGTERM);
    EXPECT_EQ(JoinChild(program), 0);
    EXPECT_TRUE(Reports().empty());
}

TEST_F(Rapidupdate, EndsAtOnceInTheMiddleOfAnUpdateWhichIsStopped) {
    std::atomic<bool> hasBegun = false;
    FakeUpdateService service(kSocket, [&](int peer) {
        FakeUpdateService::Write(peer, "status 2001\n");
        hasBegun = true;
        char heard = 0;
        EXPECT_EQ(::read(peer, &heard, 1), 1) << "it would go on for ever";
    });
    const pid_t program = Start({"--after", "0", "--log-on-screen"});
    EXPECT_TRUE(WaitUntil([&] { return hasBegun.load(); }));
    ::kill(program, SIGTERM);
    EXPECT_EQ(JoinChild(program), 0);
    EXPECT_TRUE(Reports().empty());
}

TEST_F(Rapidupdate, TheServiceUpdatesOnlyWhileItIsSwitchedOn) {
    FakeUpdateService service(kSocket,
                              [&](int peer) { FakeUpdateService::Write(peer, "result 2\n"); });
    for (const char flags : {'\x02', '\x08', '\x00'}) {
        SetOptions(flags);
        const pid_t program = Start({"--after", "0", "--log-on-screen"});
        EXPECT_TRUE(WaitUntil([&] { return HasLogged("automatic updates are switched off"); }));
        ::kill(program, SIGTERM);
        EXPECT_EQ(JoinChild(program), 0);
        fs::remove(m_scratch / "log");
    }
    EXPECT_TRUE(Reports().empty());
    SetOptions(0x9);
    const pid_t program = Start({"--after", "0", "--log-on-screen"});
    EXPECT_TRUE(WaitUntil([] { return !Reports().empty(); })) << Log();
    ::kill(program, SIGTERM);
    EXPECT_EQ(JoinChild(program), 0);
}

TEST_F(Rapidupdate, AsksForTheSourceThatTheOptionsName) {
    std::string wishes;
    for (const char flags : {'\x03', '\x09', '\x0B', '\x01', '\x05'}) {
        SetOptions(flags);
        FakeUpdateService service(kSocket,
                                  [&](int peer) { FakeUpdateService::Write(peer, "result 2\n"); });
        EXPECT_EQ(Run({"--once"}), 0);
        wishes += service.Heard();
        ::unlink(kSocket.c_str());
    }
    EXPECT_EQ(wishes, "update\nupdate\nupdate\nindex\nindex\n");
}

TEST_F(Rapidupdate, MissingOptionsSwitchNothingOn) {
    fs::remove(kOptions);
    const pid_t program = Start({"--after", "0", "--log-on-screen"});
    EXPECT_TRUE(WaitUntil([&] { return HasLogged("automatic updates are switched off"); }));
    ::kill(program, SIGTERM);
    EXPECT_EQ(JoinChild(program), 0);
}

TEST_F(Rapidupdate, AReportThatCannotBeWrittenIsLogged) {
    fs::remove_all(kFolder + "reports");
    EXPECT_EQ(Once("result 2\n"), 0);
    EXPECT_TRUE(HasLogged("the update report could not be written")) << Log();
}

TEST_F(Rapidupdate, SaysWhatItIsAndHowItIsCalled) {
    EXPECT_EQ(Run({"--version"}), 0);
    EXPECT_EQ(Log(), "corvane-rapidupdate " CORVANE_VERSION "\n");
    EXPECT_EQ(Run({"--help"}), 0);
    EXPECT_TRUE(HasLogged("Usage: corvane-rapidupdate")) << Log();
    EXPECT_EQ(Run({"start"}), 2);
}

TEST(RapidupdateManual, KnowsEveryOption) {
    const std::string manual = ReadFile(RAPIDUPDATE_MANUAL);
    for (const std::string option : {"after", "once", "log\\-on\\-screen", "help", "version"}) {
        EXPECT_NE(manual.find("\\-\\-" + option), std::string::npos) << option;
    }
}

}  // namespace
