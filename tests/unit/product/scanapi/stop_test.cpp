#include <chrono>
#include <filesystem>

#include "tests/support/quickest.h"
#include "tests/unit/product/scanapi/archives.h"
#include "tests/unit/product/scanapi/loaded_engine.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

class StopTest : public EngineTest {
protected:
    // The program's stop flag goes up at the first message for which `when` holds.
    void StopWhen(std::function<bool(const Message&)> when) {
        m_answer = [this, when = std::move(when)](const Message& message) {
            if (!m_stop && when(message)) {
                m_stop = true;
                m_stoppedAt = Clock::now();
            }
            return static_cast<int>(m_stop ? kReplyStop : kReplyGoOn);
        };
    }
    void StartSlow() {
        InstallSignatures();
        // Patterns that begin as the content does make the matching slow.
        std::string patterns;
        for (int i = 0; i < 20000; ++i) {
            std::string hex = "6161616161616161";
            for (int bit = 0; bit < 16; ++bit) {
                hex += (i >> bit & 1) != 0 ? "62" : "61";
            }
            patterns += "Slow.Test." + std::to_string(i) + ":0:*:" + hex + "63\n";
        }
        m_engine.Write("defs/slow.ndb", patterns);
        StartWith(Options());
    }
    // How long it takes from the stop to the end of the scan of `path`, which gets no verdict.
    Clock::duration TimeToEnd(const std::string& path) {
        m_stop = false;
        m_messages.clear();
        EXPECT_EQ(Scan(path), 0);
        const auto time = Clock::now() - m_stoppedAt;
        EXPECT_TRUE(m_stop) << "the scan ended before it could be stopped";
        EXPECT_TRUE(Files(1002).empty());
        EXPECT_TRUE(Files(1001).empty());
        return time;
    }
    void ExpectEndedSoon(const std::string& path) {
        EXPECT_LT(QuickestOf(kRuns, kSoon, [&] { return TimeToEnd(path); }), kSoon);
    }
    static constexpr int kRuns = 8;
    static constexpr milliseconds kSoon{100};
    Clock::time_point m_stoppedAt;
};

TEST_F(StopTest, BetweenTheMembersOfALargeArchive) {
    Start();
    std::vector<archives::Member> members;
    members.reserve(11000);
    for (int i = 0; i < 3000; ++i) {
        members.push_back({"m" + std::to_string(i), std::to_string(i) + std::string(20000, 't')});
    }
    members.push_back({"last.com", archives::Eicar()});
    const auto path = m_tree.Write("large.zip", archives::Zip(members));
    StopWhen([this](const Message& message) {
        return message.code == kMsgScanningMember && Files(1003).size() == 10;
    });
    ExpectEndedSoon(path);
    EXPECT_LT(Files(1003).size(), 3000U);
    EXPECT_GE(Files(1003).size(), 10U);
}

// Nothing calls back while one large member is matched.
TEST_F(StopTest, WithinOneLargeMember) {
    StartSlow();
    const auto path = m_tree.Write("one.gz", archives::Gzip(std::string(60U << 20U, 'a')));
    StopWhen([](const Message& message) { return message.code == 0; });
    ExpectEndedSoon(path);

    // The user changed his mind: what was broken off is not read, and the next files are scanned.
    EXPECT_EQ(Files(1005), (std::vector<std::string>{path}));
    EXPECT_EQ(m_messages.back().virus, "the scan of it was stopped");
    m_stop = false;
    m_answer = nullptr;
    m_messages.clear();
    EXPECT_EQ(Scan(m_tree.Write("e.com", archives::Eicar())), 1);
    EXPECT_EQ(Scan(m_tree.Write("a.zip", archives::Zip({{"e.com", archives::Eicar()}}))), 1);
    EXPECT_EQ(Files(1001).size(), 2U);
}

// The program may end while a worker is still deep in a member.
TEST_F(StopTest, ClosingWithinOneLargeMemberEndsSoon) {
    StartSlow();
    const auto path = m_tree.Write("one.gz", archives::Gzip(std::string(60U << 20U, 'a')));
    StopWhen([](const Message& message) { return message.code == 0; });
    constexpr milliseconds kEnough(700);
    const auto quickest = QuickestOf(3, kEnough, [&] {
        (void)TimeToEnd(path);
        const auto before = Clock::now();
        m_library.deinit();
        const auto time = Clock::now() - before;
        EXPECT_TRUE(std::filesystem::is_empty(m_engine.Path("tmp")));
        StartWith(Options());
        return time;
    });
    EXPECT_LT(quickest, kEnough);
}

TEST_F(StopTest, InALargePlainFile) {
    Start();
    const auto path = m_tree.Write("plain", std::string(90U << 20U, 'x'));
    m_stop = true;
    constexpr milliseconds kEnough(1000);
    const auto quickest = QuickestOf(3, kEnough, [&] {
        const auto before = Clock::now();
        EXPECT_EQ(Scan(path), 0);
        return Clock::now() - before;
    });
    EXPECT_LT(quickest, kEnough);
    EXPECT_EQ(Files(1002).size(), 0U);
}

TEST_F(StopTest, WhileTheDatabasesAreLoading) {
    InstallSignatures();
    std::string hashes;
    for (int i = 0; i < 1000000; ++i) {
        char line[80];
        hashes.append(line, static_cast<std::size_t>(std::snprintf(
                                line, sizeof(line), "%08x%024x:%d:Load.Test.%d\n",
                                static_cast<unsigned int>(i) * 2654435761U, i, 100 + i % 1000, i)));
    }
    m_engine.Write("defs/large.hdb", hashes);
    m_stop = true;
    constexpr milliseconds kEnough(1000);
    const auto quickest = QuickestOf(3, kEnough, [&] {
        StartWith(Options());
        const auto before = Clock::now();
        Scan(m_tree.Write("e.com", archives::Eicar()));
        const auto time = Clock::now() - before;
        m_library.deinit();
        return time;
    });
    EXPECT_LT(quickest, kEnough);
}

}  // namespace
