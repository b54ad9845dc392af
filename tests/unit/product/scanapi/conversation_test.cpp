#include <atomic>
#include <stdexcept>
#include <thread>

#include "tests/unit/product/scanapi/archives.h"
#include "tests/unit/product/scanapi/loaded_engine.h"

namespace {

using archives::Eicar;
using Numbers = std::vector<int>;

class ConversationTest : public EngineTest {
protected:
    // Answers a detection with `reply` and a failed repair with `afterRepair`.
    void AnswerWith(int reply, int afterRepair = kReplyGoOn) {
        m_answer = [reply, afterRepair](const Message& message) {
            switch (message.code) {
                case kMsgVirusFound:
                    return reply;
                case kMsgRepairFailed:
                    return afterRepair;
                default:
                    return static_cast<int>(kReplyGoOn);
            }
        };
    }
};

TEST_F(ConversationTest, RepairThenDelete) {
    Start();
    const auto path = m_tree.Write("e.com", Eicar());
    AnswerWith(kReplyRepair, kReplyDelete);
    EXPECT_EQ(Scan(path), 1);
    EXPECT_EQ(Codes(), (Numbers{1001, 3002, 3003}));
    EXPECT_FALSE(std::filesystem::exists(path));
    for (const Message& message : m_messages) {
        EXPECT_EQ(message.file, path);
        EXPECT_EQ(message.virus, "Eicar-Test-Signature.UNOFFICIAL");
    }
}

TEST_F(ConversationTest, RepairOnlyLeavesTheFileAndCountsItOnce) {
    Start();
    const auto path = m_tree.Write("e.com", Eicar());
    AnswerWith(kReplyRepair);
    EXPECT_EQ(Scan(path), 1);
    EXPECT_EQ(Codes(), (Numbers{1001, 3002}));
    EXPECT_EQ(ReadAll(path), Eicar());
}

TEST_F(ConversationTest, RepairThenStop) {
    Start();
    const auto path = m_tree.Write("e.com", Eicar());
    AnswerWith(kReplyRepair, kReplyStop);
    Scan(path);
    EXPECT_EQ(Codes(), (Numbers{1001, 3002}));
    EXPECT_EQ(ReadAll(path), Eicar());
}

TEST_F(ConversationTest, Delete) {
    Start();
    const auto path = m_tree.Write("e.com", Eicar());
    const auto sibling = m_tree.Write("f.com", Eicar());
    AnswerWith(kReplyDelete);
    EXPECT_EQ(Scan(path), 1);
    EXPECT_EQ(Codes(), (Numbers{1001, 3003}));
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_EQ(ReadAll(sibling), Eicar());
}

TEST_F(ConversationTest, Leave) {
    Start();
    const auto path = m_tree.Write("e.com", Eicar());
    AnswerWith(kReplyLeave);
    EXPECT_EQ(Scan(path), 1);
    EXPECT_EQ(Codes(), (Numbers{1001, 3004}));
    EXPECT_EQ(ReadAll(path), Eicar());
}

TEST_F(ConversationTest, StoppedDismissedAndUnansweredLeaveTheFileWithoutAWord) {
    Start();
    const auto path = m_tree.Write("e.com", Eicar());
    for (const int reply : {2004, 2000, 2005}) {
        m_messages.clear();
        AnswerWith(reply);
        EXPECT_EQ(Scan(path), 1);
        EXPECT_EQ(Codes(), (Numbers{1001})) << reply;
        EXPECT_EQ(ReadAll(path), Eicar());
    }
}

TEST_F(ConversationTest, AVirusInAnArchiveDeletesTheArchive) {
    Start();
    const auto path = m_tree.Write("box/a.zip", archives::Zip({{"e.com", Eicar()}}));
    const auto sameName = m_tree.Write("box/e.com", "a file of the member's name");
    AnswerWith(kReplyDelete);
    EXPECT_EQ(Scan(path), 1);
    EXPECT_EQ(Files(1001), (std::vector<std::string>{path + "/e.com"}));
    EXPECT_EQ(Files(3003), (std::vector<std::string>{path}));
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_EQ(ReadAll(sameName), "a file of the member's name");
}

TEST_F(ConversationTest, ANameTooLongForItsFieldIsCutVisibly) {
    Start();
    std::string folder;
    for (int i = 0; i < 3; ++i) {
        folder += std::string(240, 'd') + '/';
    }
    const std::string member = std::string(100, 'm') + "/" + std::string(100, 'n');
    const auto inner = archives::Zip({{member, Eicar()}});
    const auto path = m_tree.Write(folder + "a.zip", archives::Zip({{member, inner}}));
    EXPECT_EQ(Scan(path), 1);
    ASSERT_NE(Find(1001), nullptr);
    EXPECT_EQ(Find(1001)->file.size(), 1023U);
    EXPECT_TRUE(Find(1001)->file.starts_with(path + "/mmm"));
    EXPECT_TRUE(Find(1001)->file.ends_with("mm..."));
    EXPECT_EQ(Files(3004), (std::vector<std::string>{path}));
}

TEST_F(ConversationTest, NamesAreBytesFromEndToEnd) {
    Start();
    const auto path = m_tree.Write("caf\xe9\n<b>.zip", archives::Zip({{"m\xff\x01.com", Eicar()}}));
    EXPECT_EQ(Scan(path), 1);
    EXPECT_EQ(Files(1001), (std::vector<std::string>{path + "/m\xff\x01.com"}));
    EXPECT_EQ(Files(3004), (std::vector<std::string>{path}));
}

TEST_F(ConversationTest, WithoutACallbackNothingIsScanned) {
    InstallSignatures();
    auto options = Options();
    ASSERT_NE(m_library.init(&options), 0);
    EXPECT_EQ(m_library.setCallback(nullptr), 0);
    const auto path = m_tree.Write("e.com", Eicar());
    EXPECT_EQ(Scan(path), 0);
    EXPECT_TRUE(m_messages.empty());
}

TEST_F(ConversationTest, NullsAndUnknownHandlesAreRefused) {
    Start();
    std::uint64_t handle = 77;
    EXPECT_EQ(m_library.openFile(nullptr, &handle), 0);
    EXPECT_EQ(handle, 0U);
    EXPECT_EQ(m_library.openFile("/etc/passwd", nullptr), 0);
    EXPECT_EQ(m_library.closeFile(nullptr), 0);
    handle = 12345;
    EXPECT_EQ(m_library.scanFile(handle, this), 0);
    EXPECT_EQ(m_library.closeFile(&handle), 0);
    m_library.getVersion(nullptr);
    m_library.setOptions(nullptr);
    m_library.resetFlags();
    EXPECT_EQ(m_library.init(nullptr), 0);
    EXPECT_TRUE(m_messages.empty());
}

TEST_F(ConversationTest, BeforeTheStartAndAfterTheEndEverythingFails) {
    std::uint64_t handle = 0;
    EXPECT_EQ(m_library.openFile("/etc/passwd", &handle), 0);
    EXPECT_EQ(m_library.scanFile(1, this), 0);
    EXPECT_EQ(m_library.setCallback([](const tagZQFILEINFO*, void*) { return 2005; }), 0);
    m_library.deinit();
    Start();
    ASSERT_NE(m_library.openFile("/etc/passwd", &handle), 0);
    m_library.deinit();
    EXPECT_EQ(m_library.scanFile(handle, this), 0);
    EXPECT_EQ(m_library.closeFile(&handle), 0);
}

TEST_F(ConversationTest, StartsAndEndsAgainAndAgain) {
    const auto path = m_tree.Write("e.com", Eicar());
    for (int round = 1; round <= 4; ++round) {
        Start();
        EXPECT_EQ(Scan(path), 1);
        EXPECT_EQ(Files(1001).size(), static_cast<std::size_t>(round));
        m_library.deinit();
    }
}

TEST_F(ConversationTest, OptionsOfAnotherSizeAreRefused) {
    InstallSignatures();
    auto options = Options();
    options.size = 545;
    EXPECT_EQ(m_library.init(&options), 0);
}

TEST_F(ConversationTest, RepliesWithoutMeaningChangeNothing) {
    Start();
    const auto path = m_tree.Write("e.com", Eicar());
    const auto zip = m_tree.Write("a.zip", archives::Zip({{"t", "some text"}, {"e.com", Eicar()}}));
    for (const int reply : {-1, 0, 1, 1001, 1999, 2006, 1 << 30}) {
        m_messages.clear();
        m_answer = [reply](const Message&) { return reply; };
        EXPECT_EQ(Scan(path), 1);
        EXPECT_EQ(Scan(zip), 1);
        EXPECT_EQ(Codes(), (Numbers{1001, 1003, 1003, 1001})) << reply;
        EXPECT_EQ(ReadAll(path), Eicar());
        EXPECT_TRUE(std::filesystem::exists(zip));
    }
}

TEST_F(ConversationTest, AHandleIsGoodForOneClose) {
    Start();
    const auto path = m_tree.Write("t", "some text");
    std::uint64_t handle = 0;
    ASSERT_NE(m_library.openFile(path.c_str(), &handle), 0);
    std::uint64_t copy = handle;
    EXPECT_EQ(m_library.scanFile(handle, this), 1);
    EXPECT_EQ(m_library.scanFile(handle, this), 1);
    EXPECT_NE(m_library.closeFile(&handle), 0);
    EXPECT_EQ(m_library.closeFile(&copy), 0);
    std::uint64_t next = 0;
    ASSERT_NE(m_library.openFile(path.c_str(), &next), 0);
    EXPECT_EQ(m_library.scanFile(next - 1, this), 0);
    EXPECT_NE(m_library.closeFile(&next), 0);
}

// Options and handles change under a scan: it goes on with what it began with.
TEST_F(ConversationTest, ACallbackMayCallTheEngine) {
    Start();
    const auto path = m_tree.Write(
        "a.zip", archives::Zip({{"t", "some text"}, {"in.zip", archives::Zip({{"e", Eicar()}})}}));
    std::uint64_t handle = 0;
    m_answer = [&](const Message& message) {
        auto options = Options();
        options.scanArchives = 0;
        m_library.setOptions(&options);
        tagZQVERINFO version{};
        m_library.getVersion(&version);
        EXPECT_NE(version.major, 0);
        m_library.resetFlags();
        if (std::uint64_t closing = handle; message.code == kMsgScanningMember && handle != 0) {
            EXPECT_NE(m_library.closeFile(&closing), 0);
            handle = 0;
        }
        return message.code == kMsgVirusFound ? kReplyLeave : kReplyGoOn;
    };
    ASSERT_NE(m_library.openFile(path.c_str(), &handle), 0);
    EXPECT_EQ(m_library.scanFile(handle, this), 1);
    EXPECT_EQ(Files(1001), (std::vector<std::string>{path + "/in.zip/e"}));
    // The next file is scanned by the new options.
    m_messages.clear();
    EXPECT_EQ(Scan(m_tree.Write("b.tar.gz", archives::Gzip(archives::Tar({{"e", Eicar()}})))), 1);
    EXPECT_EQ(Codes(), (Numbers{1002}));
}

TEST_F(ConversationTest, ACallbackThatThrowsCostsOneFileOnly) {
    Start();
    std::vector<archives::Member> members;
    members.reserve(5000);
    for (int i = 0; i < 5000; ++i) {
        members.push_back({"m" + std::to_string(i), "member " + std::to_string(i)});
    }
    const auto path = m_tree.Write("many.zip", archives::Zip(members));
    const auto bad = m_tree.Write("bad.zip", archives::Zip({{"e.com", Eicar()}}));
    // More often than there are threads that could be left waiting.
    for (int round = 0; round < 5; ++round) {
        m_answer = [](const Message& message) -> int {
            if (message.code == kMsgScanningMember) {
                throw std::runtime_error("out of something");
            }
            return kReplyGoOn;
        };
        EXPECT_EQ(Scan(path), 0);
    }
    m_answer = nullptr;
    m_messages.clear();
    EXPECT_EQ(Scan(bad), 1);
    EXPECT_EQ(Codes(), (Numbers{1003, 1001, 3004}));
}

TEST_F(ConversationTest, StartsAndScansOnManyThreadsDoNoHarm) {
    InstallSignatures();
    const auto path = m_tree.Write("e.com", Eicar());
    std::atomic<int> starters = 3;
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 20; ++round) {
                auto options = Options();
                m_library.init(&options);
                m_library.setCallback([](const tagZQFILEINFO*, void*) -> int { return 2003; });
                if (round % 4 == 0) {
                    m_library.deinit();
                }
            }
            --starters;
        });
        threads.emplace_back([&] {
            while (starters > 0) {
                std::uint64_t handle = 0;
                m_library.openFile(path.c_str(), &handle);
                m_library.scanFile(handle, nullptr);
                m_library.closeFile(&handle);
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(ReadAll(path), Eicar());
    m_library.deinit();
    EXPECT_TRUE(std::filesystem::is_empty(m_engine.Path("tmp")));
    Start();
    EXPECT_EQ(Scan(path), 1);
    EXPECT_EQ(Codes(), (Numbers{1001, 3004}));
}

}  // namespace
