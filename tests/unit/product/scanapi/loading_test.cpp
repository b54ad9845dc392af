#include <chrono>
#include <cstdio>
#include <dlfcn.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sys/file.h>
#include <thread>

#include "common/file_descriptor.h"
#include "tests/support/quickest.h"
#include "tests/unit/product/scanapi/archives.h"
#include "tests/unit/product/scanapi/loaded_engine.h"

namespace {

using archives::Eicar;
using Numbers = std::vector<int>;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;
namespace fs = std::filesystem;

// What this process has computed, in milliseconds: unlike the clock it is the same on a busy
// machine.
long ComputedMilliseconds() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return time.tv_sec * 1000 + time.tv_nsec / 1000000;
}

class LoadingTest : public EngineTest {
protected:
    // libclamav stays: tools/leaks.supp goes by the names of its functions, which are lost with it.
    // Our own library goes after each test, as it does when a program unloads it.
    static void SetUpTestSuite() {
        const std::unique_ptr<void, int (*)(void*)> library(dlopen(SCANAPI_LIBRARY, RTLD_NOW),
                                                            dlclose);
        ASSERT_NE(library, nullptr);
        Dl_info libclamav{};
        ASSERT_NE(dladdr(dlsym(library.get(), "cl_init"), &libclamav), 0);
        EXPECT_NE(dlopen(libclamav.dli_fname, RTLD_NOW | RTLD_NODELETE), nullptr);
    }

    static std::string Log() { return ReadAll("/zqcommon.log"); }

    static std::size_t LogLinesWith(const std::string& text) {
        std::ifstream log("/zqcommon.log");
        std::size_t count = 0;
        for (std::string line; std::getline(log, line);) {
            count += line.find(text) != std::string::npos ? 1U : 0U;
        }
        return count;
    }

    void WriteMillionHashes() const {
        std::string hashes;
        for (int i = 0; i < 1000000; ++i) {
            char line[80];
            hashes.append(line,
                          static_cast<std::size_t>(std::snprintf(
                              line, sizeof(line), "%08x%024x:%d:Load.Test.%d\n",
                              static_cast<unsigned int>(i) * 2654435761U, i, 100 + i % 1000, i)));
        }
        m_engine.Write("defs/large.hdb", hashes);
    }
};

TEST_F(LoadingTest, WithoutAnyDatabaseItDoesNotStart) {
    auto options = Options();
    EXPECT_EQ(m_library.init(&options), 0);
    EXPECT_EQ(Log(), "scanapi: no usable database found\n");
    fs::create_directory(m_engine.Path("defs"));
    EXPECT_EQ(m_library.init(&options), 0);
    m_engine.Write("defs/readme.txt", "not a database");
    EXPECT_EQ(m_library.init(&options), 0);
}

TEST_F(LoadingTest, WithNothingButBrokenOnesItDoesNotStart) {
    m_engine.Write("defs/main.cvd", "ClamAV-VDB:partly");
    m_engine.Write("defs/empty.ndb", "");
    m_engine.Write("defs/zeros.hdb", std::string(100, '\0'));
    fs::create_directory(m_engine.Path("defs/folder.ndb"));
    auto options = Options();
    EXPECT_EQ(m_library.init(&options), 0);
    for (const char* name : {"main.cvd", "empty.ndb", "zeros.hdb", "folder.ndb"}) {
        EXPECT_EQ(LogLinesWith(m_engine.Path("defs/") + name), 1U) << name;
    }
}

TEST_F(LoadingTest, BrokenOnesAmongGoodOnesAreLeftOutWithALineEach) {
    InstallSignatures();
    m_engine.Write("defs/aaa.ndb",
                   "Good.Test.One:0:*:6162636465666768696a6b6c\n"
                   "this line is no signature\n");
    m_engine.Write("defs/main.cvd", "ClamAV-VDB:partly");
    m_engine.Write("defs/zzz.hdb", "0123456789abcdef0123456789abcdef:44:Good.Hash\nbroken:::\n");
    StartWith(Options());
    EXPECT_EQ(Scan(m_tree.Write("e.com", Eicar())), 1);
    EXPECT_EQ(Codes(), (Numbers{1001, 3004}));
    // Nothing of a broken database is used, not even what came before the fault.
    m_messages.clear();
    EXPECT_EQ(Scan(m_tree.Write("half", "abcdefghijkl")), 1);
    EXPECT_EQ(Codes(), (Numbers{1002}));
    for (const char* name : {"aaa.ndb", "main.cvd", "zzz.hdb"}) {
        EXPECT_EQ(LogLinesWith(m_engine.Path("defs/") + name), 1U) << name << "\n" << Log();
    }
    EXPECT_EQ(LogLinesWith("corvane.ldb"), 0U);
}

TEST_F(LoadingTest, WhenLoadingFailsAfterTheStartEveryFileIsUnreadable) {
    m_engine.Write("defs/broken.ndb", "this passes for text\n");
    StartWith(Options());
    EXPECT_EQ(Scan(m_tree.Write("e.com", Eicar())), 0);
    EXPECT_EQ(Scan(m_tree.Write("plain", "some plain text")), 0);
    EXPECT_EQ(Codes(), (Numbers{1005, 1005}));
    EXPECT_EQ(LogLinesWith("broken.ndb"), 1U);
    EXPECT_EQ(LogLinesWith("no database could be loaded"), 1U);
}

TEST_F(LoadingTest, TheSystemsOwnDatabasesAreUsedToo) {
    fs::create_directories("/var/lib/clamav");
    std::ofstream("/var/lib/clamav/own.ndb") << "System.Test.One:0:*:73797374656d2d74657374\n";
    StartWith(Options());
    EXPECT_EQ(Scan(m_tree.Write("a", "a system-test of it")), 1);
    ASSERT_NE(Find(1001), nullptr);
    EXPECT_EQ(Find(1001)->virus, "System.Test.One.UNOFFICIAL");
    fs::remove_all("/var/lib/clamav");
}

TEST_F(LoadingTest, StartsAtOnceAndTheFirstFileWaits) {
    InstallSignatures();
    WriteMillionHashes();
    const auto before = Clock::now();
    StartWith(Options());
    const auto starting = Clock::now() - before;
    EXPECT_EQ(Scan(m_tree.Write("e.com", Eicar())), 1);
    // Whatever the machine: the start is a small part of what the loading takes.
    EXPECT_LT(starting * 4, Clock::now() - before);
    EXPECT_EQ(Codes(), (Numbers{1001, 3004}));
    const auto computed = ComputedMilliseconds();
    m_library.deinit();
    EXPECT_LT(ComputedMilliseconds() - computed, 700);
}

TEST_F(LoadingTest, ClosingWhileLoadingEndsSoon) {
    InstallSignatures();
    WriteMillionHashes();
    for (int round = 0; round < 5; ++round) {
        constexpr milliseconds kEnough(700);
        const auto quickest = QuickestOf(3, kEnough, [&] {
            StartWith(Options());
            // At another point of the loading.
            std::this_thread::sleep_for(milliseconds(40 * round));
            const auto before = Clock::now();
            m_library.deinit();
            return Clock::now() - before;
        });
        EXPECT_LT(quickest, kEnough) << round;
    }
}

TEST_F(LoadingTest, TheTemporaryFolderIsLeftEmpty) {
    Start();
    Scan(m_tree.Write("a.zip", archives::Zip({{"a", "text text"}, {"e.com", Eicar()}})));
    Scan(m_tree.Write("bomb.zip", archives::ZipOfZeros("zeros", 120U << 20U)));
    m_library.deinit();
    EXPECT_TRUE(fs::is_empty(m_engine.Path("tmp")));
}

TEST_F(LoadingTest, WithoutATemporaryFolderAnotherPlaceServes) {
    fs::remove(m_engine.Path("tmp"));
    Start();
    EXPECT_EQ(Scan(m_tree.Write("a.zip", archives::Zip({{"e.com", Eicar()}}))), 1);
    EXPECT_EQ(Files(1001).size(), 1U);
    EXPECT_FALSE(fs::exists(m_engine.Path("tmp")));
    m_library.deinit();
    for (const char* place : {"/dev/shm", "/tmp"}) {
        for (const auto& entry : fs::directory_iterator(place)) {
            EXPECT_FALSE(entry.path().filename().string().starts_with("corvane-scan-")) << entry;
        }
    }
}

TEST_F(LoadingTest, LeftoversOfACrashGoAndThoseInUseStay) {
    m_engine.Write("tmp/corvane-scan-dead01/rest/file", "left over");
    m_engine.Write("tmp/corvane-scan-live01/file", "in use");
    m_engine.Write("tmp/somebody-elses/file", "not ours");
    const common::FileDescriptor live(
        open(m_engine.Path("tmp/corvane-scan-live01").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ASSERT_EQ(flock(live.Get(), LOCK_EX), 0);
    Start();
    EXPECT_EQ(Scan(m_tree.Write("a", "waits for the databases")), 1);
    EXPECT_FALSE(fs::exists(m_engine.Path("tmp/corvane-scan-dead01")));
    EXPECT_TRUE(fs::exists(m_engine.Path("tmp/corvane-scan-live01/file")));
    EXPECT_TRUE(fs::exists(m_engine.Path("tmp/somebody-elses/file")));
}

TEST_F(LoadingTest, VersionComesFromTheVersionFile) {
    Start();
    const tagZQVERINFO written{12, 7, {2026, 11, 6, 20, 10, 20, 30, 40}};
    std::string bytes(reinterpret_cast<const char*>(&written), sizeof(written));
    m_engine.Write("scanver.cnf", bytes + "what follows is not ours");
    tagZQVERINFO read{};
    m_library.getVersion(&read);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(&read), sizeof(read)), bytes);
}

// 2026-11-21 03:55:53 UTC against the version file's date to the second.
TEST_F(LoadingTest, ANumberedDatabaseThatIsNewerThanTheVersionFileCounts) {
    InstallSignatures();
    WriteNumberedDatabase("defs/daily.cud", 27512, 1795233353);
    StartWith(Options());
    EXPECT_EQ(Scan(m_tree.Write("a", "waits for the databases")), 1);
    const auto versionWith = [this](const tagZQSYSTEMTIME& date) {
        const tagZQVERINFO written{12, 7, date};
        m_engine.Write("scanver.cnf", {reinterpret_cast<const char*>(&written), sizeof(written)});
        tagZQVERINFO read{};
        m_library.getVersion(&read);
        return read;
    };
    const tagZQVERINFO older = versionWith({2026, 11, 6, 21, 3, 55, 52, 999});
    EXPECT_EQ(older.major, 275);
    EXPECT_EQ(older.minor, 12);
    EXPECT_EQ(older.databaseDate.hour, 3);
    EXPECT_EQ(older.databaseDate.second, 53);
    const tagZQVERINFO same = versionWith({2026, 11, 6, 21, 3, 55, 53, 0});
    EXPECT_EQ(same.major, 12);
    EXPECT_EQ(same.minor, 7);
    EXPECT_EQ(versionWith({2027, 1, 5, 1, 0, 0, 0, 0}).major, 12);
    EXPECT_EQ(versionWith({}).major, 275);
}

TEST_F(LoadingTest, TheDateOfALooseFileCountsForNothingAgainstTheVersionFile) {
    Start();
    const tagZQVERINFO written{12, 7, {2001, 2, 6, 3, 0, 0, 0, 0}};
    m_engine.Write("scanver.cnf", {reinterpret_cast<const char*>(&written), sizeof(written)});
    tagZQVERINFO read{};
    m_library.getVersion(&read);
    EXPECT_EQ(read.major, 12);
    EXPECT_EQ(read.databaseDate.year, 2001);
}

TEST_F(LoadingTest, WithoutAVersionFileItComesFromTheNewestDatabase) {
    InstallSignatures();
    StartWith(Options());
    // 2031-05-08 07:08:09 UTC, later than anything else here.
    m_library.deinit();
    fs::last_write_time(m_engine.Path("defs/corvane.ldb"),
                        fs::file_time_type(std::chrono::file_clock::from_sys(
                            std::chrono::sys_seconds(std::chrono::seconds(1935990489)))));
    StartWith(Options());
    m_engine.Write("scanver.cnf", "too short");
    tagZQVERINFO version{};
    m_library.getVersion(&version);
    EXPECT_EQ(version.major, 2031);
    EXPECT_EQ(version.minor, 5);
    EXPECT_EQ(version.databaseDate.year, 2031);
    EXPECT_EQ(version.databaseDate.month, 5);
    EXPECT_EQ(version.databaseDate.day, 8);
}

TEST_F(LoadingTest, ANumberedDatabaseGivesItsNumberAndDate) {
    InstallSignatures();
    WriteNumberedDatabase("defs/daily.cud", 27512, 1795233353);  // 2026-11-21 03:55:53 UTC
    WriteNumberedDatabase("defs/older.cud", 62, 1631797200);
    StartWith(Options());
    EXPECT_EQ(Scan(m_tree.Write("a", "a numbered-test of it")), 1);
    ASSERT_NE(Find(1001), nullptr) << Log();
    EXPECT_EQ(Find(1001)->virus, "Numbered.Test.One.UNOFFICIAL");
    tagZQVERINFO version{};
    m_library.getVersion(&version);
    EXPECT_EQ(version.major, 275);
    EXPECT_EQ(version.minor, 12);
    EXPECT_EQ(version.databaseDate.year, 2026);
    EXPECT_EQ(version.databaseDate.month, 11);
    EXPECT_EQ(version.databaseDate.day, 21);
    EXPECT_EQ(version.databaseDate.hour, 3);
    EXPECT_EQ(version.databaseDate.minute, 55);
    EXPECT_EQ(version.databaseDate.second, 53);
}

TEST_F(LoadingTest, ADatabaseThatIsLeftOutLendsNoVersion) {
    InstallSignatures();
    WriteNumberedDatabase("defs/good.cud", 6207, 1631797200);
    // Its head is sound; the signature over the rest is not.
    WriteNumberedDatabase("defs/daily.cvd", 27512, 1795233353);
    StartWith(Options());
    EXPECT_EQ(Scan(m_tree.Write("a", "waits for the databases")), 1);
    EXPECT_EQ(LogLinesWith("daily.cvd"), 1U);
    tagZQVERINFO version{};
    m_library.getVersion(&version);
    EXPECT_EQ(version.major, 62);
    EXPECT_EQ(version.minor, 7);
}

TEST_F(LoadingTest, ExceptionsAloneAreNoDatabase) {
    m_engine.Write("defs/local.ign2", "Some.Virus-1\n");
    m_engine.Write("defs/local.fp", "0123456789abcdef0123456789abcdef:44:Good.File\n");
    auto options = Options();
    EXPECT_EQ(m_library.init(&options), 0);
    InstallSignatures();
    EXPECT_NE(m_library.init(&options), 0);
}

TEST_F(LoadingTest, WithoutAnEngineTheVersionIsZero) {
    tagZQVERINFO version{1, 2, {3, 4, 5, 6, 7, 8, 9, 10}};
    m_library.getVersion(&version);
    EXPECT_EQ(version.major, 0);
    EXPECT_EQ(version.databaseDate.year, 0);
}

}  // namespace
