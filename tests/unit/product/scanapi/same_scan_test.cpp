#include <algorithm>
#include <chrono>
#include <filesystem>
#include <gmock/gmock.h>
#include <regex>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "product/vault/place.h"
#include "tests/unit/product/scanapi/archives.h"
#include "tests/unit/scan/run/shell_scan.h"

// A whole scan, from the walk to the report: with several workers and files scanned ahead it is,
// byte for byte, the scan by one worker with nothing ahead.

namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using ::testing::IsEmpty;
using ::testing::Not;

enum class HostKind { kFake, kReal };

struct Told {
    std::vector<std::string> happened;  ///< events, questions and records for the virus log
    std::string report;
    std::vector<std::uint32_t> counters;
    std::uint64_t total = 0;
    std::vector<std::string> left;  ///< of the tree
    std::chrono::duration<double> seconds{};
};

class SameScan : public ShellScan, public testing::WithParamInterface<HostKind> {
protected:
    void SetUp() override {
        if (!InSandbox()) {
            GTEST_SKIP() << "has files deleted, which a vault in a fixed place keeps";
        }
        const fs::path library = SCANAPI_LIBRARY;
        const fs::path host = GetParam() == HostKind::kFake
                                  ? fs::path(FAKE_SCANHOST)
                                  : library.parent_path() / "corvane-scanhost";
        if (!fs::exists(host)) {
            GTEST_SKIP() << host << " was not built";
        }
        fs::copy(library, m_program / "scanapi.so");
        fs::copy(host, m_program / "corvane-scanhost");
        fs::copy(SCANAPI_DEFS, m_program / "defs", fs::copy_options::recursive);
        MakeFolder(m_program / "tmp");
        m_onQuestion = [this](const scan::ScanStep& /*question*/) {
            const std::string file = g_zqFileInfo->fileName;
            // Some are deleted, some are left.
            m_run.State().answer = {static_cast<std::uint16_t>(file.size() % 2 == 0 ? 2 : 3), 0};
        };
    }

    void FilesAhead(int folder, const char* path, std::span<const char* const> names) override {
        if (m_tellsAhead) {
            ShellScan::FilesAhead(folder, path, names);
        }
    }

    void MakeTreeForFakeHost() const {
        const std::vector<std::string> folders = {"", "/a", "/a/b", "/c", "/c/d/e", "/.f"};
        for (std::size_t i = 0; i < folders.size(); ++i) {
            const std::string folder = m_top + folders[i];
            fs::create_directories(folder);
            for (int file = 0; file < 40; ++file) {
                WriteFile(folder + "/clean-" + std::to_string(file), "x");
                WriteFile(folder + "/echo-" + std::to_string(file),
                          std::to_string(i) + "/" + std::to_string(file));
            }
            for (const char* name : {"virus-1", "virus-22", "passed-1", "unread-1", "members-1",
                                     "members-2", "crash-1", "killed-1"}) {
                WriteFile(folder + "/" + name, "x");
            }
            // Large enough for a worker of its own.
            WriteFile(folder + "/slow-1", std::string(300'000, 's'));
            MakeFifo(folder + "/clean-fifo");
            MakeLink("virus-1", folder + "/link");
        }
    }

    void MakeTreeForRealHost() const {
        const std::string eicar = archives::Eicar();
        const std::string nested = archives::Zip(
            {{"a.txt", "text"}, {"b.zip", archives::Zip({{"c.com", eicar}})}, {"d.txt", "text"}});
        for (const std::string folder : {"", "/a", "/a/b", "/c", "/c/d/e"}) {
            const std::string base = m_top + folder;
            fs::create_directories(base);
            for (int file = 0; file < 30; ++file) {
                WriteFile(base + "/text" + std::to_string(file),
                          "some text " + std::to_string(file) + "\n");
                WriteFile(base + "/data" + std::to_string(file),
                          std::string(2000, static_cast<char>(file)));
            }
            WriteFile(base + "/eicar.com", eicar);
            WriteFile(base + "/eicar22.com", eicar);
            WriteFile(base + "/nested.zip", nested);
            WriteFile(base + "/clean.zip", archives::Zip({{"one", "text"}, {"two", "text"}}));
            WriteFile(base + "/cut.zip", nested.substr(0, nested.size() / 2));
            WriteFile(base + "/secret.zip", archives::Zip({{"s", "text", true}}));
            WriteFile(base + "/eicar.tar.gz",
                      archives::Gzip(archives::Tar({{"t/e.com", eicar}, {"t/x", "text"}})));
            WriteFile(base + "/empty", "");
            WriteFile(base + "/large", "");
            fs::resize_file(base + "/large", 200U << 20U);
            MakeFifo(base + "/fifo");
        }
    }

    Told Run(int workers, bool tellsAhead, int action) {
        fs::remove_all(m_top);
        fs::remove_all(vault::PathOfVault());
        if (GetParam() == HostKind::kFake) {
            MakeTreeForFakeHost();
        } else {
            MakeTreeForRealHost();
        }
        // Until what was just made may be scanned ahead at all.
        std::this_thread::sleep_for(milliseconds(200));
        WriteFile(m_program / "scanapi.conf",
                  "[Scanning]\nWorkers=" + std::to_string(workers) + "\n");
        happened.clear();
        m_tellsAhead = tellsAhead;
        m_run.Stop().Clear();
        g_scnopts = {static_cast<std::uint16_t>(action), 15};
        scan::ScanRun::ForgetDetections();
        common::FreePathList(m_head, m_tail);
        AddPath(m_top);
        EXPECT_TRUE(StartEngineIn(m_program.Path(), ""));
        m_library.ForgetDetections();
        const auto start = std::chrono::steady_clock::now();
        Scan();
        Told told;
        told.seconds = std::chrono::steady_clock::now() - start;
        EXPECT_EQ(std::erase(happened, "1114"), 1U) << "told by the thread that counts";
        told.happened = happened;
        told.report = std::regex_replace(ReadFile(g_szRptPath),
                                         std::regex("(Time ?: +|Time: )[^\r\n]*"), "$1");
        told.counters = {g_uiTotCnt,  g_uiInfCnt,  g_uiDeleCnt,
                         g_uiReprCnt, g_uiSkipCnt, g_uiIOErrCnt};
        told.total = g_totalfilestoscan;
        for (const auto& each : fs::recursive_directory_iterator(m_top)) {
            told.left.push_back(each.path());
        }
        std::sort(told.left.begin(), told.left.end());
        m_library.Unload();
        return told;
    }

    void ExpectSame(const Told& one, const Told& other) {
        EXPECT_EQ(one.happened, other.happened);
        EXPECT_EQ(one.report, other.report);
        EXPECT_EQ(one.counters, other.counters);
        EXPECT_EQ(one.total, other.total);
        EXPECT_EQ(one.left, other.left);
    }

    ScratchFolder m_program;
    bool m_tellsAhead = false;
};

TEST_P(SameScan, ReportOnly) {
    const Told alone = Run(1, false, kActionReportOnly);
    EXPECT_THAT(alone.report, Not(IsEmpty()));
    EXPECT_GT(alone.counters[1], 10U) << "finds";
    EXPECT_GT(alone.counters[5], 5U) << "errors";
    const Told ahead = Run(4, true, kActionReportOnly);
    ExpectSame(alone, ahead);
    if (GetParam() == HostKind::kFake) {
        // Six files take 0.7 seconds each, whatever the processor does.
        EXPECT_GT(alone.seconds.count(), 4.2);
        EXPECT_LT(ahead.seconds.count(), 0.75 * alone.seconds.count());
    }
    ExpectSame(alone, Run(1, true, kActionReportOnly));
    ExpectSame(alone, Run(4, false, kActionReportOnly));
}

TEST_P(SameScan, WithPrompts) {
    const Told alone = Run(1, false, kActionPrompt);
    EXPECT_GT(alone.counters[2], 0U) << "deleted";
    EXPECT_GT(alone.counters[4], 0U) << "skipped";
    ExpectSame(alone, Run(3, true, kActionPrompt));
}

TEST_P(SameScan, Deleting) {
    const Told alone = Run(1, false, kActionDelete);
    EXPECT_GT(alone.counters[2], 10U) << "deleted";
    ExpectSame(alone, Run(3, true, kActionDelete));
}

INSTANTIATE_TEST_SUITE_P(Host, SameScan, testing::Values(HostKind::kFake, HostKind::kReal),
                         [](const auto& each) {
                             return each.param == HostKind::kFake ? "Fake" : "Real";
                         });

}  // namespace
