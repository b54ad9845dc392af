// Downloads from the official mirrors, and the library that makes them, killed at their calls.

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <optional>
#include <set>

#include "tests/support/disk_model.h"
#include "tests/support/traced_program.h"
#include "tests/unit/product/fetch/fetch_fixture.h"

namespace fs = std::filesystem;

namespace {

using testing::HasSubstr;

class OfficialKilled : public FetchTest {
protected:
    void SetUp() override {
        if (!Exists(Sample("test-6.cvd")) || !CanTrace()) {
            GTEST_SKIP() << "no signed databases in " << SIGNED_DATABASES << ", or no strace";
        }
        for (const char* name : {"test-4.cdiff", "test-5.cdiff", "test-6.cdiff"}) {
            fs::copy_file(Sample(name), m_server.Root() + name);
        }
        fs::copy_file(Sample("test-6.cvd"), m_server.Root() + "test.cvd");
        fs::copy_file(FETCH_OFFICIAL_ONCE, m_program);
    }

    static std::string Sample(const std::string& name) {
        return std::string(SIGNED_DATABASES "/") + name;
    }

    void Reset() const { WriteTree(m_download, {}); }

    [[nodiscard]] std::vector<std::string> Program() const {
        return {m_program, m_server.Address(), m_request.productDirectory, m_download,
                m_request.currentSet};
    }

    // What the differences are to.
    void InstallOlder() const {
        fs::create_directory(m_request.currentSet);
        fs::copy_file(Sample("test-3.cvd"), m_request.currentSet + "/test.cvd");
    }

    // Of the downloader and of the process in which the library works, each name and number once.
    std::vector<SystemCall> Calls() const {
        Reset();
        fs::create_directory(m_traces);
        EXPECT_EQ(RunTraced({"-ff", "-o", m_traces + "/trace"}, Program()), kUpdaterUpdated);
        std::set<std::pair<std::string, int>> calls;
        std::size_t processes = 0;
        for (const auto& entry : fs::directory_iterator(m_traces)) {
            ++processes;
            for (const SystemCall& call : CallsIn(entry.path().string(), ChangesFiles)) {
                calls.insert({call.name, call.number});
            }
        }
        EXPECT_GE(processes, 2U);
        std::vector<SystemCall> all;
        all.reserve(calls.size());
        for (const auto& [name, number] : calls) {
            all.push_back({name, number});
        }
        return all;
    }

    [[nodiscard]] bool IsAnythingRunning() const {
        const fs::directory_iterator processes("/proc");
        return std::any_of(begin(processes), end(processes), [this](const auto& entry) {
            std::error_code ignored;
            return fs::read_symlink(entry.path() / "exe", ignored) == m_program;
        });
    }

    // After each kill another run brings the database, and nothing is left over.
    void ExpectSurvivesKills(const std::string& candidate) {
        const std::vector<SystemCall> calls = Calls();
        ASSERT_GT(calls.size(), 20U);
        std::size_t unfinished = 0;
        for (const std::size_t i : Spread(calls.size(), 25, "calls killed at")) {
            const std::string kill = calls[i].Injecting("signal=KILL");
            SCOPED_TRACE(kill);
            Reset();
            const int status = RunTraced({"-f", "-o", "/dev/null", "-e", kill}, Program());
            unfinished += status != kUpdaterUpdated ? 1 : 0;
            EXPECT_TRUE(WaitUntil([this] { return !IsAnythingRunning(); })) << "left behind";
            if (status == kUpdaterUpdated) {
                ExpectCandidate(candidate);
            }
            ASSERT_EQ(RunTraced({"-o", "/dev/null"}, Program()), kUpdaterUpdated);
            ExpectCandidate(candidate);
            for (const auto& [path, entry] : ReadTree(m_download)) {
                EXPECT_TRUE(path == "candidate" || path == "parts" || path == "state.json" ||
                            path == "official" || path == "official.tmp" ||
                            path == "official/freshclam.dat" || path.ends_with("/" + candidate))
                    << path;
            }
        }
        std::cout << unfinished << " downloads were not finished\n";
        EXPECT_GT(unfinished, 10U);
    }

    void ExpectCandidate(const std::string& name) const {
        const std::string database = ReadFile(InCandidate(name));
        EXPECT_THAT(database.substr(0, 60), HasSubstr(":6:14:"));
        EXPECT_TRUE(name != "test.cvd" || database == ReadFile(Sample("test-6.cvd")));
        EXPECT_EQ(std::distance(fs::directory_iterator(InCandidate("")), {}), 1);
    }

    std::string m_download = m_request.downloadDirectory;
    std::string m_program = m_folder / "downloader";
    std::string m_traces = m_folder / "traces";
};

TEST_F(OfficialKilled, AFreshMachineGetsTheDatabaseTheNextTime) {
    ExpectSurvivesKills("test.cvd");
}

TEST_F(OfficialKilled, DifferencesAreAddedTheNextTime) {
    InstallOlder();
    ExpectSurvivesKills("test.cld");
}

TEST_F(OfficialKilled, NoPartOfTheInstalledDatabaseIsStartedFrom) {
    InstallOlder();
    Reset();
    const std::string trace = m_folder / "trace";
    ASSERT_EQ(RunTraced({"-y", "-o", trace}, Program()), kUpdaterUpdated);
    const auto copying = CallsIn(trace, [](std::string_view name, std::string_view line) {
        return name == "write" && line.find("/test.cvd>") != std::string_view::npos;
    });
    ASSERT_FALSE(copying.empty());
    for (const SystemCall& call : copying) {
        Reset();
        EXPECT_EQ(RunInjected(call, "signal=KILL", Program()), -1);
        EXPECT_EQ(RunTraced({"-o", "/dev/null"}, Program()), kUpdaterUpdated);
        ExpectCandidate("test.cld");
    }
}

// The library syncs nothing: after a power cut each of its files may be gone, empty, cut or full of
// zeros, also from the middle on and with the size it should have.
class OfficialPowerCut : public OfficialKilled {
protected:
    using Damage = std::optional<std::string> (*)(const std::string& content);
    static constexpr Damage kDamages[] = {
        [](const std::string& /*content*/) -> std::optional<std::string> { return std::nullopt; },
        [](const std::string& /*content*/) -> std::optional<std::string> { return ""; },
        [](const std::string& content) -> std::optional<std::string> {
            return content.substr(0, content.size() / 2);
        },
        [](const std::string& content) -> std::optional<std::string> {
            return std::string(content.size(), '\0');
        },
        [](const std::string& content) -> std::optional<std::string> {
            return content.substr(0, content.size() / 2) +
                   std::string(content.size() - content.size() / 2, '\0');
        },
    };

    static void Spoil(Tree& tree, const std::string& path, Damage damage) {
        if (const auto left = damage(tree.at(path).content)) {
            tree[path].content = *left;
        } else {
            tree.erase(path);
        }
    }

    void ExpectTheNextOneBringsIt() {
        Reset();
        ASSERT_EQ(RunTraced({"-o", "/dev/null"}, Program()), kUpdaterUpdated);
        const Tree whole = ReadTree(m_download);
        std::vector<std::string> files;
        for (const auto& [path, entry] : whole) {
            if (path.starts_with("official/") && entry.kind == 'f') {
                files.push_back(path);
            }
        }
        ASSERT_EQ(files.size(), 2U) << "a database, and who the library is";
        for (std::size_t damage = 0; damage < std::size(kDamages); ++damage) {
            Tree all = whole;
            for (const std::string& path : files) {
                Tree one = whole;
                Spoil(one, path, kDamages[damage]);
                Spoil(all, path, kDamages[damage]);
                SCOPED_TRACE(path + ", damage " + std::to_string(damage));
                ExpectTheNextOneMends(one);
            }
            SCOPED_TRACE("all, damage " + std::to_string(damage));
            ExpectTheNextOneMends(all);
        }
    }

    void ExpectTheNextOneMends(const Tree& tree) {
        WriteTree(m_download, tree);
        EXPECT_EQ(RunTraced({"-o", "/dev/null"}, Program()), kUpdaterUpdated);
        // What was damaged comes whole instead of by differences.
        ExpectCandidate(Exists(InCandidate("test.cld")) ? "test.cld" : "test.cvd");
    }
};

TEST_F(OfficialPowerCut, OfAFreshDownloadLeavesWhatTheNextOneMendsOrLoadsAnew) {
    ExpectTheNextOneBringsIt();
}

TEST_F(OfficialPowerCut, OfDifferencesLeavesWhatTheNextOneMendsOrLoadsAnew) {
    InstallOlder();
    ExpectTheNextOneBringsIt();
}

}  // namespace
