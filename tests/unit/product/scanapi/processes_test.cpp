#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sys/wait.h>
#include <thread>

#include "tests/support/scratch.h"
#include "tests/unit/product/scanapi/archives.h"
#include "tests/unit/product/scanapi/loaded_engine.h"

// The processes that scan: what becomes of files when they are killed, and of them when the program
// ends in whatever way.

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using Numbers = std::vector<int>;
using std::chrono::milliseconds;

struct Process {
    pid_t pid;
    pid_t parent;
};

class ProcessesTest : public EngineTest {
protected:
    // Of this test's namespace or not: no other engine is ours, so only those that were not there
    // at the beginning count.
    static std::vector<Process> All() {
        std::vector<Process> all;
        for (const auto& entry : fs::directory_iterator("/proc")) {
            const std::string pid = entry.path().filename();
            if (pid.find_first_not_of("0123456789") != std::string::npos) {
                continue;
            }
            std::ifstream status(entry.path() / "stat");
            std::string number;
            std::string name;
            std::string state;
            pid_t parent = 0;
            status >> number >> name >> state >> parent;
            std::error_code error;
            const fs::path program = fs::read_symlink(entry.path() / "exe", error);
            if (name == "(corvane-scanhos)" && state != "Z" && state != "X" &&
                program == fs::path(SCANAPI_LIBRARY).parent_path() / "corvane-scanhost") {
                all.push_back({std::stoi(pid), parent});
            }
        }
        return all;
    }
    void SetUp() override {
        EngineTest::SetUp();
        if (!IsSkipped()) {
            for (const Process& each : All()) {
                m_before.push_back(each.pid);
            }
        }
    }
    [[nodiscard]] std::vector<Process> Ours() const {
        std::vector<Process> ours = All();
        std::erase_if(ours, [this](const Process& each) {
            return std::find(m_before.begin(), m_before.end(), each.pid) != m_before.end();
        });
        return ours;
    }
    [[nodiscard]] std::vector<Process> Workers() const {
        std::vector<Process> workers;
        const std::vector<Process> ours = Ours();
        for (const Process& each : ours) {
            if (std::any_of(ours.begin(), ours.end(),
                            [&](const Process& other) { return other.pid == each.parent; })) {
                workers.push_back(each);
            }
        }
        return workers;
    }
    void ExpectNothingLeft() {
        EXPECT_TRUE(WaitUntil([this] { return Ours().empty(); }));
        EXPECT_TRUE(fs::is_empty(m_engine.Path("tmp")));
    }
    void StartWithTwoWorkers() {
        m_engine.Write("scanapi.conf", "[Scanning]\nWorkers=2\n");
        fs::permissions(m_engine.Path("scanapi.conf"), fs::perms(0644));
        Start();
        EXPECT_EQ(Scan(m_tree.Write("first", "waits for the databases")), 1);
        m_messages.clear();
    }
    [[nodiscard]] std::string ALargeArchive() const {
        std::vector<archives::Member> members;
        members.reserve(3001);
        for (int i = 0; i < 3000; ++i) {
            members.push_back(
                {"m" + std::to_string(i), std::to_string(i) + std::string(20000, 't')});
        }
        return m_tree.Write("large.zip", archives::Zip(members));
    }
    static void KillAll(const std::vector<Process>& processes) {
        for (const Process& each : processes) {
            (void)kill(each.pid, SIGKILL);
        }
    }
    std::vector<pid_t> m_before;
};

TEST_F(ProcessesTest, ThereAreAsManyWorkersAsAskedFor) {
    StartWithTwoWorkers();
    EXPECT_TRUE(WaitUntil([this] { return Workers().size() == 2 && Ours().size() == 3; }));
    m_library.deinit();
    ExpectNothingLeft();
}

TEST_F(ProcessesTest, AKilledWorkerCostsTheFileItWasAt) {
    StartWithTwoWorkers();
    const std::string path = ALargeArchive();
    bool isKilled = false;
    m_answer = [&](const Message& message) {
        if (message.code == kMsgScanningMember && !isKilled) {
            isKilled = true;
            KillAll(Workers());
        }
        return static_cast<int>(kReplyGoOn);
    };
    EXPECT_EQ(Scan(path), 0);
    ASSERT_TRUE(isKilled);
    EXPECT_EQ(Files(1005), (std::vector<std::string>{path}));
    EXPECT_EQ(m_messages.back().virus, "the scan of it was killed, for want of memory ...");
    EXPECT_TRUE(Files(1002).empty());
    EXPECT_NE(ReadAll("/zqcommon.log")
                  .find("scanapi: (" + path +
                        ") was not read: the scan of it was killed, for want of memory perhaps\n"),
              std::string::npos);
    m_messages.clear();
    m_answer = nullptr;
    EXPECT_EQ(Scan(m_tree.Write("e.com", archives::Eicar())), 1);
    EXPECT_EQ(Codes(), (Numbers{1001, 3004}));
}

TEST_F(ProcessesTest, AKilledHostCostsNoFile) {
    StartWithTwoWorkers();
    const std::string path = ALargeArchive();
    bool isKilled = false;
    m_answer = [&](const Message& message) {
        if (message.code == kMsgScanningMember && !isKilled) {
            isKilled = true;
            KillAll(Ours());
        }
        return static_cast<int>(kReplyGoOn);
    };
    EXPECT_EQ(Scan(path), 1);
    ASSERT_TRUE(isKilled);
    EXPECT_EQ(Files(1003).size(), 3000U) << "each member once";
    EXPECT_EQ(Codes().back(), 1002);
    m_library.deinit();
    ExpectNothingLeft();
}

TEST_F(ProcessesTest, WhyAFileIsUnreadIsLogged) {
    StartWithTwoWorkers();
    const auto path = m_tree.Write("a\nb.zip", archives::Zip({{"locked", "no one knows", true}}));
    EXPECT_EQ(Scan(path), 0);
    const std::string log = ReadAll("/zqcommon.log");
    EXPECT_NE(log.find("scanapi: (" + m_tree.Path("a\\u{000a}b.zip") + ") was not read: "),
              std::string::npos)
        << log;
    EXPECT_EQ(log.find("it could not be read whole"), std::string::npos) << "no reason";
}

TEST_F(ProcessesTest, NothingIsLeftOfAProgramThatEndsInWhateverWay) {
    for (const std::string way : {"killed", "exit", "unload"}) {
        SCOPED_TRACE(way);
        const pid_t program = fork();
        if (program == 0) {
            // In a process of its own the library is loaded already and has no threads yet.
            Start();
            const bool isScanned = Scan(m_tree.Write("first", "waits for the databases")) == 1;
            if (way == "killed") {
                m_tree.Write("ready", "");
                std::this_thread::sleep_for(std::chrono::seconds(60));
            } else if (way == "unload") {
                m_library.deinit();
            }
            std::exit(isScanned ? 0 : 1);
        }
        if (way == "killed") {
            ASSERT_TRUE(WaitUntil([this] { return fs::exists(m_tree.Path("ready")); },
                                  std::chrono::seconds(60)));
            EXPECT_FALSE(Ours().empty());
            (void)kill(program, SIGKILL);
        }
        int status = 0;
        ASSERT_EQ(waitpid(program, &status, 0), program);
        EXPECT_EQ(status, way == "killed" ? SIGKILL : 0);
        ExpectNothingLeft();
    }
}

}  // namespace
