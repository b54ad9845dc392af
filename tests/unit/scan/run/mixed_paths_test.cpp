#include <cerrno>
#include <gmock/gmock.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "scan/run/path_filter.h"
#include "tests/unit/scan/run/shell_scan.h"

// Scans of folders and files alike, of parts of a tree, and of what cannot be read.

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

class LeavingOut : public scan::PathFilter {
public:
    explicit LeavingOut(std::string end) : m_end(std::move(end)) {}
    [[nodiscard]] bool LeavesOut(const char* path) const override {
        return std::string(path).ends_with(m_end);
    }

private:
    std::string m_end;
};

class MixedPaths : public ShellScan {
protected:
    void SetUp() override {
        ASSERT_TRUE(StartEngine(""));
        MakeFolder(m_top + "/d");
        WriteFile(m_top + "/d/in", "x");
        WriteFile(m_top + "/file", "x");
        WriteFile(m_top + "/other", "x");
    }

    [[nodiscard]] std::vector<std::string> Opened() const {
        std::vector<std::string> names;
        for (const std::string& call : m_engine.Calls("ZqOpenFile ")) {
            names.push_back(call.substr(11, call.find(" -> ") - 11));
        }
        return names;
    }

    void PassedOver(const char* path, int error) override {
        passedOver.push_back(std::string(path) + ": " + std::to_string(error));
    }

    std::vector<std::string> passedOver;
};

TEST_F(MixedPaths, AllAreScannedInTheirOrder) {
    m_run.SetMixedPaths({m_top + "/file", m_top + "/d", m_top + "/other"});
    Scan();
    EXPECT_THAT(Opened(), ElementsAre(m_top + "/file", m_top + "/d/in", m_top + "/other"));
    EXPECT_EQ(g_uiTotCnt, 3U);
    EXPECT_EQ(g_totalfilestoscan, 3U);
    EXPECT_EQ(std::erase(happened, "1114"), 1U);
    std::erase_if(happened, [](const std::string& each) { return each.starts_with("1100"); });
    EXPECT_THAT(happened, ElementsAre("1108 " + m_top + "/file", "1113", "1109 " + m_top + "/file",
                                      "1108 " + m_top + "/d", "1113", "1109 " + m_top + "/d",
                                      "1108 " + m_top + "/other", "1113",
                                      "1109 " + m_top + "/other", "1115", "1101 abc"));
}

TEST_F(MixedPaths, TheListOfTheWindowHasOneFileAtMost) {
    AddPath(m_top + "/file");
    AddPath(m_top + "/d");
    Scan();
    EXPECT_THAT(Opened(), ElementsAre(m_top + "/file"));
}

TEST_F(MixedPaths, APathOf1023BytesIsScanned) {
    std::string path = m_top;
    while (path.size() + 101 < 1023) {
        path += "/" + std::string(100, 'd');
        MakeFolder(path);
    }
    path += "/" + std::string(1023 - path.size() - 1, 'f');
    ASSERT_EQ(path.size(), 1023U);
    WriteFile(path, "x");
    m_run.SetMixedPaths({path});
    Scan();
    EXPECT_THAT(Opened(), ElementsAre(path));
}

TEST_F(MixedPaths, AStopEndsBetweenTwoFiles) {
    m_run.SetMixedPaths({m_top + "/file", m_top + "/other"});
    m_onStep = [this](const scan::ScanStep& step) {
        if (step.type == kEvtScanningFile) {
            m_run.Abandon();
        }
    };
    Scan();
    EXPECT_THAT(Opened(), ElementsAre(m_top + "/file"));
    EXPECT_TRUE(StopCount);
}

TEST_F(MixedPaths, AQuestionIsAskedBetweenTwoFilesToo) {
    m_run.SetMixedPaths({m_top + "/file", m_top + "/other"});
    int asked = 0;
    m_onStep = [this, &asked](const scan::ScanStep& step) {
        if (step.type == kEvtScanningFile && asked == 0) {
            m_run.Stop().Set();
        }
    };
    m_onQuestion = [this, &asked](const scan::ScanStep& question) {
        EXPECT_EQ(question.type, kEvtConfirmStop);
        ++asked;
        m_run.Stop().Clear();
    };
    Scan();
    EXPECT_EQ(asked, 1);
    EXPECT_THAT(Opened(), ElementsAre(m_top + "/file", m_top + "/other"));
}

TEST_F(MixedPaths, WhatIsLeftOutIsNeitherScannedNorCountedNorTold) {
    MakeFolder(m_top + "/d/skip");
    WriteFile(m_top + "/d/skip/below", "x");
    const LeavingOut filter("skip");
    m_run.SetFilter(&filter);
    m_run.SetMixedPaths({m_top + "/d"});
    Scan();
    EXPECT_THAT(Opened(), ElementsAre(m_top + "/d/in"));
    EXPECT_EQ(g_totalfilestoscan, 1U);
    for (const std::string& call : m_engine.Calls("ZqFilesAhead")) {
        EXPECT_EQ(call.find("below"), std::string::npos) << call;
    }
    const LeavingOut file("/in");
    m_run.SetFilter(&file);
    m_run.SetMixedPaths({m_top + "/d"});
    m_run.Stop().Clear();
    Scan();
    EXPECT_THAT(Opened(), ElementsAre(m_top + "/d/in", m_top + "/d/skip/below"));
}

TEST_F(MixedPaths, WhatCannotBeReadIsTold) {
    const std::string closed = m_top + "/d/closed";
    const std::string listed = m_top + "/d/listed";
    MakeFolder(closed);
    MakeFolder(listed);
    WriteFile(listed + "/a", "x");
    WriteFile(listed + "/b", "x");
    ASSERT_EQ(::symlink("/nowhere", (m_top + "/d/link").c_str()), 0);
    ASSERT_EQ(::mkfifo((m_top + "/d/fifo").c_str(), 0600), 0);
    ASSERT_EQ(::chmod(closed.c_str(), 0), 0);
    ASSERT_EQ(::chmod(listed.c_str(), 0444), 0);
    m_run.SetMixedPaths({m_top + "/d", closed});
    // Root reads everything.
    const uid_t user = ::geteuid();
    if (user == 0) {
        for (const std::string& folder : {m_scratch.Path(), m_top, m_top + "/d"}) {
            ASSERT_EQ(::chmod(folder.c_str(), 0755), 0);
        }
        for (const std::string& folder : {closed, listed}) {
            ASSERT_EQ(::chown(folder.c_str(), 65534, 65534), 0);
        }
        ASSERT_EQ(::seteuid(65534), 0);
    }
    Scan();
    ASSERT_EQ(::seteuid(user), 0);
    const std::string denied = ": " + std::to_string(EACCES);
    EXPECT_THAT(passedOver,
                UnorderedElementsAre(closed + denied, listed + denied, closed + denied));
    EXPECT_THAT(Opened(), ElementsAre(m_top + "/d/in"));
    ::chmod(closed.c_str(), 0700);
    ::chmod(listed.c_str(), 0700);
}

TEST_F(MixedPaths, APathThatIsTooLongIsToldByItsFolder) {
    std::string path = m_top;
    while (path.size() + 101 < 1023) {
        path += "/" + std::string(100, 'd');
        MakeFolder(path);
    }
    const std::string name(1023 - path.size(), 'f');  // one too many
    WriteFile(path + "/" + name, "x");
    m_run.SetMixedPaths({m_top + "/" + std::string(100, 'd')});
    Scan();
    EXPECT_THAT(Opened(), IsEmpty());
    EXPECT_THAT(passedOver, ElementsAre(path + ": " + std::to_string(ENAMETOOLONG)));
}

TEST_F(MixedPaths, WhatHasGoneIsNotTold) {
    m_run.SetMixedPaths({m_top + "/d"});
    ASSERT_EQ(::mkdir((m_top + "/d/gone").c_str(), 0700), 0);
    m_onStep = [this](const scan::ScanStep& /*step*/) { ::rmdir((m_top + "/d/gone").c_str()); };
    Scan();
    EXPECT_THAT(passedOver, IsEmpty());
}

}  // namespace
