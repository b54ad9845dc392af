// The engine's library over files that it has scanned before, in this program or an earlier one.

#include <fcntl.h>
#include <fstream>

#include "tests/unit/product/scanapi/archives.h"
#include "tests/unit/product/scanapi/kept_folder.h"
#include "tests/unit/product/scanapi/loaded_engine.h"

namespace {

namespace fs = std::filesystem;
using archives::Eicar;
using Numbers = std::vector<int>;

constexpr char kFile[] = "/var/cache/corvane/verdicts";
constexpr std::size_t kLarge = 500'000;

// Everything that the program is told of, as one text.
std::string TextOf(const std::vector<Message>& messages) {
    std::string text;
    for (const Message& each : messages) {
        text += std::to_string(each.code) + " " + each.file + " " + each.virus + " " +
                std::to_string(each.detectionClass) + " " + std::to_string(each.subClass) + "\n";
    }
    return text;
}

// How many bytes this program has read so far; those of files up to 1 MiB it reads itself.
std::size_t BytesRead() {
    std::ifstream io("/proc/self/io");
    std::string key;
    std::size_t bytes = 0;
    io >> key >> bytes;
    return key == "rchar:" ? bytes : 0;
}

class CacheTest : public EngineTest {
protected:
    void SetUp() override {
        EngineTest::SetUp();
        if (IsSkipped()) {
            return;
        }
        if (geteuid() != 0) {
            GTEST_SKIP() << "the settings are root's";
        }
        if (!m_disk.IsKept()) {
            GTEST_SKIP() << "verdicts are not remembered on the file system of the build folder";
        }
        setenv("XDG_CACHE_HOME", m_engine.Path("elsewhere").c_str(), 1);
        fs::remove_all("/var/cache/corvane");
        InstallSignatures();
    }
    void Make(const std::string& name, const std::string& content) const {
        WriteFile(m_disk / name, content);
    }
    void MakeTree() const {
        Make("a.txt", "only text\n");
        Make("archive.zip",
             archives::Zip({{"one.txt", "the first text"}, {"in/two", "more of it"}}));
        Make("bad.zip", archives::Zip({{"fine.txt", "text as well"}, {"bad.com", Eicar()}}));
        Make("empty", "");
        Make("eicar.com", Eicar());
        Make("large", std::string(kLarge, '\x81'));
        Make("locked.zip", archives::Zip({{.name = "secret", .content = "?", .encrypted = true}}));
        m_disk.Settle();
    }
    // A program of its own that scans these; what it was told.
    std::string Run(const std::vector<std::string>& names) { return Run(names, Options()); }
    std::string Run(const std::vector<std::string>& names, const tagSCANAPI_OPTIONS& options) {
        StartWith(options);
        // The databases are loaded with the first file, which is not on the disk.
        Scan(m_tree.Write("first", "first"));
        m_messages.clear();
        m_library.resetFlags();
        for (const std::string& name : names) {
            EXPECT_NE(Scan(m_disk / name), -1) << name;
        }
        std::string text = TextOf(m_messages);
        m_library.deinit();
        return text;
    }

    KeptFolder m_disk;
    const std::vector<std::string> m_names{"a.txt",     "archive.zip", "bad.zip",   "empty",
                                           "eicar.com", "large",       "locked.zip"};
};

TEST_F(CacheTest, EveryMessageIsTheSameTheSecondTime) {
    MakeTree();
    const std::string path = m_disk / "";
    const std::string first = Run(m_names);
    const std::string expected = "1002 " + path +
                                 "a.txt  0 0\n"
                                 "1003 " +
                                 path +
                                 "archive.zip/one.txt  0 0\n"
                                 "1003 " +
                                 path +
                                 "archive.zip/in/two  0 0\n"
                                 "1002 " +
                                 path +
                                 "archive.zip  0 0\n"
                                 "1003 " +
                                 path +
                                 "bad.zip/fine.txt  0 0\n"
                                 "1003 " +
                                 path +
                                 "bad.zip/bad.com  0 0\n"
                                 "1001 " +
                                 path + "bad.zip/bad.com Eicar-Test-Signature.UNOFFICIAL 5 ";
    EXPECT_EQ(first.substr(0, expected.size()), expected) << first;
    EXPECT_NE(first.find("\n1002 " + path + "empty  0 0\n1001 " + path + "eicar.com "),
              std::string::npos)
        << first;
    EXPECT_NE(first.find("\n1002 " + path + "large  0 0\n1005 " + path + "locked.zip "),
              std::string::npos)
        << first;
    EXPECT_EQ(Run(m_names), first);
    EXPECT_EQ(Run(m_names), first);
}

TEST_F(CacheTest, WhatIsUnchangedIsNotRead) {
    MakeTree();
    std::string first;
    for (const bool isFirst : {true, false}) {
        StartWith(Options());
        Scan(m_tree.Write("first", "first"));
        m_messages.clear();
        const std::size_t before = BytesRead();
        ASSERT_GT(before, 0U);
        EXPECT_EQ(Scan(m_disk / "large"), 1);
        const std::size_t read = BytesRead() - before;
        EXPECT_EQ(Codes(), (Numbers{1002}));
        if (isFirst) {
            EXPECT_GE(read, kLarge);
        } else {
            EXPECT_LT(read, kLarge / 2);
        }
        m_library.deinit();
    }
}

TEST_F(CacheTest, ItIsRootsWhateverTheEnvironmentSays) {
    MakeTree();
    Run({"a.txt"});
    EXPECT_EQ(ModeOf("/var/cache/corvane"), 0700U);
    EXPECT_EQ(ModeOf(kFile), 0600U);
    EXPECT_EQ(fs::file_size(kFile), 96U + 144U + 69U + 5U);
    EXPECT_FALSE(fs::exists(m_engine.Path("elsewhere")));
}

TEST_F(CacheTest, AnotherUserHasOneOfHisOwn) {
    constexpr uid_t kNobody = 65534;
    MakeTree();
    ASSERT_EQ(chown((m_disk / "a.txt").c_str(), kNobody, kNobody), 0);
    m_disk.Settle();
    const std::string ofRoot = Run({"a.txt"});
    const std::string cacheOfRoot = ReadFile(kFile);
    const std::string home = m_disk / "home";
    fs::create_directory(home);
    ASSERT_EQ(chown(home.c_str(), kNobody, kNobody), 0);
    for (const std::string& path : {m_disk / "", m_engine.Path()}) {
        ASSERT_EQ(chmod(path.c_str(), 0755), 0);
    }
    ASSERT_EQ(chmod(m_engine.Path("tmp").c_str(), 01777), 0);
    setenv("XDG_CACHE_HOME", home.c_str(), 1);
    std::string cache;
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(InChild([&] {
                      const bool isNobody = setgid(kNobody) == 0 && setuid(kNobody) == 0;
                      return isNobody && Run({"a.txt"}) == ofRoot ? 0 : 1;
                  }),
                  0);
        EXPECT_EQ(ModeOf(home + "/corvane"), 0700U);
        EXPECT_EQ(ModeOf(home + "/corvane/verdicts"), 0600U);
        const std::string now = ReadFile(home + "/corvane/verdicts");
        EXPECT_TRUE(i == 0 || now == cache) << "it was scanned again";
        cache = now;
    }
    EXPECT_EQ(cache.size(), 96U + 144U + 69U + 5U);
    EXPECT_EQ(ReadFile(kFile), cacheOfRoot);
}

TEST_F(CacheTest, AChangedFileIsScannedAnew) {
    MakeTree();
    Make("a.txt", std::string(68, 'a'));
    m_disk.Settle();
    const std::string clean = Run({"a.txt"});
    struct stat before {};
    ASSERT_EQ(stat((m_disk / "a.txt").c_str(), &before), 0);
    Make("a.txt", Eicar());
    const timespec times[2] = {before.st_atim, before.st_mtim};
    ASSERT_EQ(utimensat(AT_FDCWD, (m_disk / "a.txt").c_str(), times, 0), 0);
    ASSERT_EQ(fs::file_size(m_disk / "a.txt"), 68U);
    const std::string found = Run({"a.txt"});
    EXPECT_EQ(clean.substr(0, 5), "1002 ");
    EXPECT_EQ(found.substr(0, 5), "1001 ");
}

TEST_F(CacheTest, ANewDatabaseForgetsWhatWasClean) {
    MakeTree();
    EXPECT_EQ(Run({"a.txt"}).substr(0, 5), "1002 ");
    m_engine.Write("defs/new.ndb", "New.Text:0:*:6f6e6c792074657874\n");
    EXPECT_EQ(Run({"a.txt"}).substr(0, 5), "1001 ");
}

TEST_F(CacheTest, OptionsThatChangeVerdictsDoNotMix) {
    MakeTree();
    m_engine.Write("defs/unwanted.ndb", "PUA.Text:0:*:6f6e6c792074657874\n");
    auto options = Options();
    options.scanArchives = 0;
    options.adwareLevel = 0;
    const std::string path = m_disk / "";
    const std::vector<std::string> names{"a.txt", "bad.zip", "archive.zip"};
    const std::string little = "1002 " + path + "a.txt  0 0\n1002 " + path + "bad.zip  0 0\n1002 " +
                               path + "archive.zip  0 0\n";
    EXPECT_EQ(Run(names, options), little);
    const std::string much = Run(names);
    EXPECT_EQ(much.substr(0, 5), "1001 ");
    EXPECT_NE(much.find("1001 " + path + "bad.zip/bad.com "), std::string::npos) << much;
    EXPECT_NE(much.find("1003 " + path + "archive.zip/one.txt "), std::string::npos) << much;
    EXPECT_EQ(Run(names, options), little);
    EXPECT_EQ(Run(names), much);
    // 0 and 3 find the same.
    options.adwareLevel = 3;
    EXPECT_EQ(Run(names, options), little);
}

TEST_F(CacheTest, ADamagedOneIsBegunAnew) {
    MakeTree();
    const std::string first = Run(m_names);
    std::string cache = ReadFile(kFile);
    ASSERT_GT(cache.size(), 300U);
    cache[300] = static_cast<char>(cache[300] ^ 1);
    WriteFile(kFile, cache);
    EXPECT_EQ(Run(m_names), first);
    EXPECT_NE(ReadFile(kFile), cache);
    EXPECT_EQ(Run(m_names), first);
}

TEST_F(CacheTest, SwitchedOffItIsNeitherReadNorWritten) {
    MakeTree();
    WriteFile(m_engine.Path("scanapi.conf"), "[Cache]\nCache=off\n");
    EXPECT_EQ(Run({"a.txt"}).substr(0, 5), "1002 ");
    EXPECT_FALSE(fs::exists("/var/cache/corvane"));
}

}  // namespace
