#include <algorithm>
#include <thread>
#include <vector>

#include "tests/unit/product/updated/updated_service.h"

// What one user may ask of the service, and what one run may take of the others' time.

namespace updated {
namespace {

constexpr char kTooLong[] = "log the update takes too long and is ended\n";
constexpr char kUntilStopped[] = "read -r -t 20 line; echo 'result 3'";

TEST_F(UpdatedService, ARunFromTheFolderHasALimit) {
    StartWithin(400, 60'000, 60'000, kUntilStopped);
    EXPECT_EQ(Client("index\n").HearAll(), std::string(kTooLong) + "result 0\n")
        << "3 would say that the folder holds nothing valid";
}

TEST_F(UpdatedService, ARunFromASiteHasALimitOfItsOwn) {
    StartWithin(60'000, 400, 60'000, kUntilStopped);
    EXPECT_EQ(Client("update\n").HearAll(), std::string(kTooLong) + "result 0\n");
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
    EXPECT_EQ(Note("first"), std::string(kTooLong) + "result 0\n");
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

}  // namespace
}  // namespace updated
