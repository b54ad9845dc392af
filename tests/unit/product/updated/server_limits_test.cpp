#include <algorithm>
#include <grp.h>
#include <thread>
#include <vector>

#include "tests/unit/product/updated/updated_service.h"
#include "update/files/update_links.h"

// What one user may ask of the service, and what one run may take of the others' time.

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

}  // namespace
}  // namespace updated
