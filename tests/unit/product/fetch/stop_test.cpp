#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/file.h>
#include <sys/socket.h>

#include "tests/unit/product/fetch/fetch_fixture.h"

namespace {

using std::chrono::milliseconds;

// Stops as soon as `condition` holds and sees to it that the run ends soon after.
class StopTest : public FetchTest {
protected:
    void ExpectStopped(const std::function<bool()>& condition) {
        m_listener.shouldStop = condition;
        EXPECT_EQ(Fetch().result, kUpdaterInterrupted);
        const auto took = RecordingListener::Clock::now() - m_listener.stopTold;
        EXPECT_LT(took, milliseconds(300));
        EXPECT_FALSE(Exists(m_folder / "download/candidate"));
        // Four times a second, whatever was waited for.
        EXPECT_LT(m_listener.LongestSilence(), milliseconds(250));
    }

    // Half a second after `begun` first holds, so that there is something to be silent in.
    std::function<bool()> AfterAWhile(std::function<bool()> begun) {
        return
            [begun = std::move(begun), since = RecordingListener::Clock::time_point()]() mutable {
                const auto now = RecordingListener::Clock::now();
                if (since == RecordingListener::Clock::time_point() && begun()) {
                    since = now;
                }
                return since != RecordingListener::Clock::time_point() &&
                       now - since > milliseconds(600);
            };
    }
    std::function<bool()> AfterTheFirstStatus() {
        return AfterAWhile([this] { return !m_listener.times.empty(); });
    }
    std::function<bool()> AfterTheRequestFor(const std::string& path) {
        return AfterAWhile([this, path] { return m_server.CountOf(path) > 0; });
    }
};

TEST_F(StopTest, BeforeAnythingIsAskedFor) {
    ExpectStopped([] { return true; });
    EXPECT_TRUE(m_server.Requests().empty());
}

TEST_F(StopTest, WhileAnotherRunIsWaitedFor) {
    const common::FileDescriptor folder(
        ::open(m_request.downloadDirectory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ASSERT_EQ(::flock(folder.Get(), LOCK_EX), 0);
    m_request.limits.otherRun = std::chrono::seconds(60);
    ExpectStopped(AfterTheFirstStatus());
    EXPECT_TRUE(m_server.Requests().empty());
}

TEST_F(StopTest, WhileAServerDoesNotAnswer) {
    m_server.Script({{"/index.json", R"({"do": "hang"})"}});
    ExpectStopped(AfterTheRequestFor("/index.json"));
}

TEST_F(StopTest, WhileAnIndexComesSlowly) {
    m_server.Script({{"/index.json", R"({"do": "slow", "piece": 2, "pause": 0.05})"}});
    ExpectStopped(AfterTheRequestFor("/index.json"));
}

TEST_F(StopTest, WhileAFileComesSlowly) {
    m_server.Script({{PathOf(1), R"({"do": "slow", "piece": 100, "pause": 0.1})"}});
    ExpectStopped(AfterTheRequestFor(PathOf(1)));
    EXPECT_EQ(m_listener.statuses.back(), "2006 own.hdb");
}

TEST_F(StopTest, InThePauseBetweenTwoTries) {
    m_request.limits.firstPause = milliseconds(20'000);
    m_server.Script({{"/index.json", R"({"do": "status", "status": 500})"}});
    ExpectStopped(AfterTheRequestFor("/index.json"));
    EXPECT_EQ(m_server.CountOf("/index.json"), 1U);
}

TEST_F(StopTest, InThePauseBetweenTwoTriesOfAFile) {
    m_request.limits.firstPause = milliseconds(20'000);
    m_server.Script({{PathOf(0), R"({"do": "status", "status": 500})"}});
    ExpectStopped(AfterTheRequestFor(PathOf(0)));
}

TEST_F(StopTest, WhileTheMirrorSeemsToChange) {
    m_request.limits.firstPause = milliseconds(20'000);
    WriteFile(m_server.Root() + "index.json.minisig", MirrorSignature("another one"));
    ExpectStopped(AfterTheRequestFor("/index.json.minisig"));
}

TEST_F(StopTest, WhileALargeFileIsLoaded) {
    m_contents.files[1].second.assign(50'000'000, 'o');
    Publish();
    ExpectStopped([this] { return m_listener.HasStatus("2006 own.hdb"); });
}

TEST_F(StopTest, WhileANameIsLookedUp) {
    if (!HasPrivateRoot() || ::geteuid() != 0) {
        GTEST_SKIP() << "only root in a private root may say who is asked for names";
    }
    // A server of names that takes every question and answers none.
    const common::FileDescriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(53);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(::bind(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    const std::string before = ReadFile("/etc/resolv.conf");
    WriteFile("/etc/resolv.conf", "nameserver 127.0.0.1\noptions timeout:20 attempts:1\n");
    m_request.addresses = {"http://mirror.example"};
    ExpectStopped(AfterTheFirstStatus());
    WriteFile("/etc/resolv.conf", before);
}

TEST_F(StopTest, WhileTheAddressDoesNotConnect) {
    // Nobody takes connections from a queue that is full: the next one waits.
    const common::FileDescriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    ASSERT_EQ(::bind(socket.Get(), generic, length), 0);
    ASSERT_EQ(::getsockname(socket.Get(), generic, &length), 0);
    ASSERT_EQ(::listen(socket.Get(), 0), 0);
    std::vector<common::FileDescriptor> waiting;
    for (int i = 0; i < 4; ++i) {
        waiting.emplace_back(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
        (void)::connect(waiting.back().Get(), generic, length);
    }
    m_request.addresses = {"http://127.0.0.1:" + std::to_string(ntohs(address.sin_port))};
    ExpectStopped(AfterTheFirstStatus());
}

}  // namespace
