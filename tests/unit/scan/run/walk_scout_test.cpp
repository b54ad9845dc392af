#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>
#include <regex>
#include <sstream>
#include <string>
#include <sys/resource.h>
#include <utility>
#include <vector>

#include "tests/unit/scan/run/shell_scan.h"

// What the engine is told of the files that come next.

namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

using Paths = std::vector<std::string>;

/// The engine's calls, read back.
struct Seen {
    Paths opened;
    Paths told;                     ///< in their order, of all calls
    std::vector<Paths> toldAtOnce;  ///< call by call
    std::size_t mostAhead = 0;      ///< told and still to be opened
    std::size_t ahead = 0;          ///< in the end
    std::size_t forgotten = 0;      ///< calls without names
};

Seen Read(const Paths& calls) {
    Seen seen;
    Paths ahead;
    for (const std::string& call : calls) {
        std::istringstream words(call);
        std::string name;
        words >> name;
        if (name == "ZqOpenFile") {
            words >> name;
            seen.opened.push_back(name);
            const auto found = std::find(ahead.begin(), ahead.end(), name);
            if (found != ahead.end()) {
                EXPECT_EQ(found, ahead.begin()) << name << " is opened out of its turn";
                ahead.erase(ahead.begin(), found + 1);
            }
        } else if (name == "ZqFilesAhead") {
            std::size_t count = 0;
            std::string at;
            std::string place;
            std::string as;
            std::string path;
            words >> count >> at >> place >> as >> path;
            if (count == 0) {
                ++seen.forgotten;
                ahead.clear();
                continue;
            }
            if (!path.ends_with('/')) {
                path += '/';
            }
            Paths files;
            for (std::string file; words >> file;) {
                files.push_back(path + file);
            }
            EXPECT_EQ(files.size(), count) << call;
            seen.told.insert(seen.told.end(), files.begin(), files.end());
            ahead.insert(ahead.end(), files.begin(), files.end());
            seen.mostAhead = std::max(seen.mostAhead, ahead.size());
            seen.toldAtOnce.push_back(std::move(files));
        }
    }
    seen.ahead = ahead.size();
    return seen;
}

/// The nine calls, without where the run happens to lie in memory.
Paths WithoutHints(Paths calls) {
    std::erase_if(calls, [](const std::string& call) { return call.starts_with("ZqFilesAhead"); });
    for (std::string& call : calls) {
        call = std::regex_replace(call, std::regex("ZqInitScan [0-9A-F]+"), "ZqInitScan");
    }
    return calls;
}

class WalkScoutTest : public ShellScan {
protected:
    void WriteFiles(const std::string& folder, int count) const {
        std::filesystem::create_directories(folder);
        for (int i = 0; i < count; ++i) {
            WriteFile(folder + "/f" + std::to_string(i), "x");
        }
    }

    /// Folders in folders, with all that is not scanned among them.
    void MakeTree() const {
        for (const std::string folder : {"/a", "/a/b", "/a/b/c", "/d", "/d/e", "/.h"}) {
            WriteFiles(m_top + folder, 45);
            MakeFifo(m_top + folder + "/fifo");
            MakeSocket(m_top + folder + "/socket");
            MakeLink("f1", m_top + folder + "/link");
            MakeLink("..", m_top + folder + "/up");
            MakeFolder(m_top + folder + "/empty");
        }
        WriteFiles(m_top, 7);
        WriteFile(m_top + "/<img src=x>\n%\xFF", "x");
    }

    ScratchFolder m_other;
};

TEST_F(WalkScoutTest, TellsOfEveryFileButTheFirstInTheOrderOfTheScan) {
    MakeTree();
    AddPath(m_top);
    ASSERT_TRUE(StartEngine(""));
    Scan();
    const Seen seen = Read(m_engine.Calls());
    ASSERT_THAT(seen.opened, SizeIs(6 * 45 + 8));
    EXPECT_THAT(seen.told, ElementsAreArray(seen.opened.begin() + 1, seen.opened.end()));
    EXPECT_EQ(seen.forgotten, 1U);
    EXPECT_THAT(m_engine.Calls().back(), "ZqFilesAhead 0") << "the end of the run";
}

TEST_F(WalkScoutTest, SaysFolderPathAndNames) {
    const std::string second = m_other / "second";
    const std::string third = m_other / "third";
    WriteFile(m_top + "/a", "x");
    WriteFiles(second, 0);
    WriteFile(second + "/b b", "x");
    WriteFiles(third, 0);
    WriteFile(third + "/c", "x");
    MakeLink("third", m_other / "link");
    for (const std::string& path : {m_top, m_other / "missing", second + "/", m_other / "link"}) {
        AddPath(path);
    }
    ASSERT_TRUE(StartEngine(""));
    Scan();
    const std::string real = std::filesystem::canonical(m_other.Path());
    Paths calls;
    for (const std::string& call : m_engine.Calls()) {
        if (call.starts_with("ZqFilesAhead") || call.starts_with("ZqOpenFile")) {
            calls.push_back(call.substr(0, call.find(" -> ")));
        }
    }
    EXPECT_THAT(calls, ElementsAre("ZqFilesAhead 1 at " + real + "/second as " + second + "/ b%20b",
                                   "ZqFilesAhead 1 at " + real + "/third as " + m_other / "link c",
                                   "ZqOpenFile " + m_top + "/a", "ZqOpenFile " + second + "/b%20b",
                                   "ZqOpenFile " + m_other / "link/c", "ZqFilesAhead 0"));
}

TEST_F(WalkScoutTest, StaysSomeHundredsAheadInAFolderOfAnySize) {
    WriteFiles(m_top, 1500);
    AddPath(m_top);
    ASSERT_TRUE(StartEngine(""));
    Scan();
    const Seen seen = Read(m_engine.Calls());
    EXPECT_THAT(seen.told, ElementsAreArray(seen.opened.begin() + 1, seen.opened.end()));
    EXPECT_EQ(seen.mostAhead, 384U + 1) << "with the one that is opened at once";
    for (const Paths& files : seen.toldAtOnce) {
        EXPECT_LE(files.size(), 32U);
    }
    EXPECT_LT(seen.toldAtOnce.size(), 1500U / 16) << "some at a time, not one by one";
}

// A list of files, and of folders among them.
TEST_F(WalkScoutTest, TellsOfTheFilesOfAList) {
    WriteFiles(m_top, 3);
    WriteFiles(m_top + "/a", 50);
    WriteFiles(m_top + "/b", 500);
    WriteFiles(m_top + "/folder", 40);
    Paths list;
    for (int i = 0; i < 50; ++i) {
        list.push_back(m_top + "/a/f" + std::to_string(i));
    }
    list.push_back(m_top + "/folder");
    for (int i = 0; i < 500; ++i) {
        list.push_back(m_top + "/b/f" + std::to_string(i));
        if (i % 100 == 0) {
            list.push_back(m_top + "/f" + std::to_string(i / 200));
        }
    }
    m_run.SetMixedPaths(list);
    ASSERT_TRUE(StartEngine(""));
    Scan();
    const Seen seen = Read(m_engine.Calls());
    ASSERT_THAT(seen.opened, SizeIs(50 + 40 + 500 + 5));
    EXPECT_THAT(seen.told, ElementsAreArray(seen.opened.begin() + 1, seen.opened.end()));
    EXPECT_EQ(seen.mostAhead, 384U + 1);
    EXPECT_LT(seen.toldAtOnce.size(), 60U) << "some at a time, not one by one";
    for (const Paths& files : seen.toldAtOnce) {
        EXPECT_LE(files.size(), 32U);
    }
    EXPECT_EQ(m_engine.Calls().back(), "ZqFilesAhead 0");
}

// The engine puts a path together from the folder's and the file's name.
TEST_F(WalkScoutTest, OfAListIsToldOnlyWhatTheEngineWillFindAgain) {
    WriteFiles(m_top, 4);
    MakeFifo(m_top + "/fifo");
    MakeLink("f1", m_top + "/link");
    m_run.SetMixedPaths({m_top + "/f0", m_top + "//f1", m_top + "/./f2", m_top + "/fifo",
                         m_top + "/link", m_top + "/missing", m_top + "/f3"});
    ASSERT_TRUE(StartEngine(""));
    Scan();
    EXPECT_THAT(Read(m_engine.Calls()).told, ElementsAre(m_top + "/./f2", m_top + "/f3"));
}

TEST_F(WalkScoutTest, AStopOfAListForgetsAndARefusedOneTellsAgain) {
    WriteFiles(m_top, 100);
    Paths list;
    for (int i = 0; i < 100; ++i) {
        list.push_back(m_top + "/f" + std::to_string(i));
    }
    m_run.SetMixedPaths(list);
    int scanned = 0;
    m_onStep = [&](const scan::ScanStep& step) {
        if (step.type == kEvtScanningFile && ++scanned == 10) {
            m_run.Stop().Set();
        }
    };
    m_onQuestion = [&](const scan::ScanStep& /*question*/) { m_run.Stop().Clear(); };
    ASSERT_TRUE(StartEngine(""));
    Scan();
    const Seen seen = Read(m_engine.Calls());
    ASSERT_THAT(seen.opened, SizeIs(100));
    EXPECT_EQ(seen.forgotten, 2U);
    ASSERT_THAT(seen.told, SizeIs(99 + 89));
    EXPECT_TRUE(std::equal(seen.told.begin() + 99, seen.told.end(), seen.opened.begin() + 11));
}

TEST_F(WalkScoutTest, FindsTheFilesAmongManyEmptyFolders) {
    // No folder's files are within the reach of one look, so every one is where it begins anew.
    for (int i = 0; i < 1400; ++i) {
        MakeFolder(m_top + "/d" + std::to_string(i));
    }
    for (const char* name : {"/d0/f", "/d700/f", "/d1399/f", "/f"}) {
        WriteFile(m_top + name, "x");
    }
    AddPath(m_top);
    ASSERT_TRUE(StartEngine(""));
    Scan();
    const Seen seen = Read(m_engine.Calls());
    EXPECT_THAT(seen.opened, SizeIs(4));
    EXPECT_EQ(seen.ahead, 0U);
    for (const std::string& file : seen.told) {
        EXPECT_EQ(std::count(seen.told.begin(), seen.told.end(), file), 1) << file;
    }
}

TEST_F(WalkScoutTest, TheScanIsTheSameWithoutTheTenthEntryPoint) {
    MakeTree();
    WriteFiles(m_other / "next", 500);
    AddPath(m_top);
    AddPath(m_other / "next");
    // Finds, a member, an unreadable file, one that is not opened.
    const std::string script =
        "say 1001 1 1 V *b/f7\nafter 1001 2003 3004\nmember 1003 0 0 - inside *f8\n"
        "say 1005 0 0 - *f9\nopen 0 0 *f10\n";
    std::vector<std::vector<std::string>> events;
    std::vector<Paths> calls;
    Paths reports;
    for (const char* variant : {"good", "without_ZqFilesAhead"}) {
        std::filesystem::remove(m_engine.Directory() / "log");
        happened.clear();
        m_run.Stop().Clear();
        scan::ScanRun::ForgetDetections();
        ASSERT_TRUE(StartEngine(script, variant));
        Scan();
        EXPECT_EQ(std::erase(happened, "1114"), 1U) << "told by the thread that counts";
        events.push_back(happened);
        EXPECT_EQ(Read(m_engine.Calls()).told.empty(), variant != std::string("good"));
        calls.push_back(WithoutHints(m_engine.Calls()));
        reports.push_back(std::regex_replace(ReadFile(g_szRptPath),
                                             std::regex("(Time ?: +|Date: )[^\r\n]*"), "$1"));
        EXPECT_EQ(g_uiInfCnt, 1U);
        EXPECT_EQ(g_uiIOErrCnt, 7U);
        EXPECT_EQ(g_uiTotCnt, 6U * 45 + 8 + 500 + 7) << "files and members";
    }
    EXPECT_EQ(events[0], events[1]);
    EXPECT_EQ(calls[0], calls[1]);
    EXPECT_EQ(reports[0], reports[1]);
    EXPECT_THAT(reports[0], Not(IsEmpty()));
    EXPECT_EQ(LogText(), "");
}

TEST_F(WalkScoutTest, AStopForgetsAndARefusedOneTellsAgain) {
    WriteFiles(m_top, 1000);
    AddPath(m_top);
    int scanned = 0;
    m_onStep = [&](const scan::ScanStep& step) {
        if (step.type == kEvtScanningFile && (++scanned == 100 || scanned == 300)) {
            m_run.Stop().Set();
        }
    };
    std::vector<std::string> lastCalls;
    m_onQuestion = [&](const scan::ScanStep& /*question*/) {
        lastCalls.push_back(m_engine.Calls().back());
        if (scanned == 100) {
            m_run.Stop().Clear();
        }
    };
    ASSERT_TRUE(StartEngine(""));
    Scan();
    EXPECT_THAT(lastCalls, ElementsAre("ZqFilesAhead 0", "ZqFilesAhead 0"))
        << "before the question is asked";
    const Seen seen = Read(m_engine.Calls());
    ASSERT_THAT(seen.opened, SizeIs(300));
    EXPECT_EQ(seen.forgotten, 2U);
    EXPECT_EQ(m_engine.Calls().back(), "ZqFilesAhead 0");
    // From the 102nd on all were told once more.
    const auto again =
        std::find(std::find(seen.told.begin(), seen.told.end(), seen.opened[101]) + 1,
                  seen.told.end(), seen.opened[101]);
    ASSERT_NE(again, seen.told.end());
    EXPECT_TRUE(std::equal(seen.opened.begin() + 101, seen.opened.end(), again));
}

TEST_F(WalkScoutTest, BeginsAnewWhenWhatWasToldIsGone) {
    WriteFile(m_top + "/first", "x");
    WriteFiles(m_other / "gone", 600);
    WriteFiles(m_other / "last", 900);
    AddPath(m_top);
    AddPath(m_other / "gone");
    AddPath(m_other / "last");
    m_onStep = [this](const scan::ScanStep& step) {
        if (step.type == kEvtPathDone && step.text == m_top) {
            std::filesystem::remove_all(m_other / "gone");
            MakeFolder(m_other / "gone");
        }
    };
    ASSERT_TRUE(StartEngine(""));
    Scan();
    const Seen seen = Read(m_engine.Calls());
    ASSERT_THAT(seen.opened, SizeIs(901));
    EXPECT_EQ(seen.forgotten, 2U);
    // 384 files were told in vain, and it took as many of the walk's to see that.
    ASSERT_THAT(seen.told, SizeIs(384 + 900 - 384));
    EXPECT_TRUE(std::equal(seen.told.begin() + 384, seen.told.end(), seen.opened.begin() + 385));
}

TEST_F(WalkScoutTest, FilesThatComeAndGoAreNotTakenForOthers) {
    WriteFiles(m_top, 500);
    AddPath(m_top);
    bool isFirst = true;
    m_onStep = [&](const scan::ScanStep& step) {
        if (step.type == kEvtScanningFile && std::exchange(isFirst, false)) {
            for (int i = 0; i < 500; i += 2) {
                std::filesystem::remove(m_top + "/f" + std::to_string(i));
            }
        }
    };
    ASSERT_TRUE(StartEngine(""));
    Scan();
    const Seen seen = Read(m_engine.Calls());
    for (const std::string& file : seen.told) {
        EXPECT_EQ(std::count(seen.told.begin(), seen.told.end(), file), 1) << file;
    }
}

TEST_F(WalkScoutTest, PathsThatDoNotFitAreNotTold) {
    MakeDeepTree(m_top, 1100);
    AddPath(m_top);
    ASSERT_TRUE(StartEngine(""));
    Scan();
    const Seen seen = Read(m_engine.Calls());
    EXPECT_EQ(seen.opened.size(), g_uiTotCnt);
    EXPECT_THAT(seen.told, Not(IsEmpty()));
    for (const std::string& file : seen.told) {
        EXPECT_LE(file.size(), 1023U);
        EXPECT_NE(std::find(seen.opened.begin(), seen.opened.end(), file), seen.opened.end());
        EXPECT_EQ(std::count(seen.told.begin(), seen.told.end(), file), 1) << file;
    }
}

TEST_F(WalkScoutTest, PassesOverWhatMayNotBeRead) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root, to become another user";
    }
    WriteFiles(m_top + "/locked", 3);
    WriteFiles(m_top + "/listed/below", 3);
    WriteFiles(m_top + "/open", 5);
    ::chmod((m_top + "/locked").c_str(), 0);
    ::chmod((m_top + "/listed").c_str(), 0744);
    for (const std::string& path :
         {m_scratch.Path(), m_application.Path(), m_engine.Directory().native()}) {
        ::chmod(path.c_str(), 0777);
    }
    AddPath(m_top);
    EXPECT_EQ(
        InChild([this] {
            constexpr uid_t kNobody = 65534;
            if (::setuid(kNobody) != 0 || !StartEngine("")) {
                return 99;
            }
            Scan();
            const Seen seen = Read(m_engine.Calls());
            if (seen.opened.size() != 5 || seen.told.size() != 4) {
                return 98;
            }
            return std::equal(seen.told.begin(), seen.told.end(), seen.opened.begin() + 1) ? 0 : 97;
        }),
        0);
}

TEST_F(WalkScoutTest, LeavesFewDescriptorsToTheWalk) {
    WriteFiles(m_top, 10);
    AddPath(m_top);
    EXPECT_EQ(InChild([this] {
                  const rlimit few{1023, 1023};
                  if (::setrlimit(RLIMIT_NOFILE, &few) != 0 || !StartEngine("")) {
                      return 99;
                  }
                  Scan();
                  const Seen seen = Read(m_engine.Calls());
                  return seen.opened.size() == 10 && seen.told.empty() && seen.forgotten == 0 ? 0
                                                                                              : 98;
              }),
              0);
}

TEST_F(WalkScoutTest, ASingleFileHasNothingAhead) {
    WriteFile(m_top + "/a", "x");
    WriteFiles(m_other / "never", 2);
    AddPath(m_top + "/a");
    AddPath(m_other / "never");
    ASSERT_TRUE(StartEngine(""));
    Scan();
    EXPECT_THAT(m_engine.Calls("ZqFilesAhead"), IsEmpty());
}

TEST_F(WalkScoutTest, OneDirectoryIsToldOfByItself) {
    WriteFiles(m_top, 20);
    WriteFiles(m_other / "not", 2);
    AddPath(m_top);
    AddPath(m_other / "not");
    m_run.SetPaths(m_head);
    ASSERT_TRUE(StartEngine(""));
    EXPECT_EQ(m_run.ScanDirectory(m_top.c_str()), 1U);
    const Seen seen = Read(m_engine.Calls());
    EXPECT_THAT(seen.told, ElementsAreArray(seen.opened.begin() + 1, seen.opened.end()));
    EXPECT_EQ(m_engine.Calls().back(), "ZqFilesAhead 0");
}

TEST_F(WalkScoutTest, AnEngineThatThrowsAtAHintEndsNoScan) {
    WriteFiles(m_top, 2);
    AddPath(m_top);
    ASSERT_TRUE(StartEngine("throw ZqFilesAhead\n"));
    Scan();
    EXPECT_EQ(g_uiTotCnt, 2U);
    EXPECT_EQ(LogText(),
              "In EngineLibrary::FilesAhead(): ZqFilesAhead: told to throw\n"
              "In EngineLibrary::FilesAhead(): ZqFilesAhead: told to throw\n");
}

}  // namespace
