#pragma once

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "common/log.h"
#include "product/scanapi/scan_pool.h"
#include "tests/support/scratch.h"

/// A pool whose host does what tests want (fake_scanhost.cpp): the name of a file says what its
/// scan does.
class PoolTest : public testing::Test {
protected:
    void SetUp() override {
        if (!InSandbox()) {
            GTEST_SKIP() << "writes /zqcommon.log: runs in tests/support/sandbox only";
        }
        std::filesystem::remove(common::kCommonLog);
        std::filesystem::create_symlink(FAKE_SCANHOST, m_settings.host);
    }
    void TearDown() override {
        m_pool.reset();
        EXPECT_TRUE(WaitUntil([this] { return Living() == 0; })) << "processes are left";
    }

    void Script(const std::string& text) const { WriteFile(m_folder / "script", text); }

    static std::vector<definitions::Database> Databases(const std::vector<std::string>& paths) {
        std::vector<definitions::Database> databases;
        for (const std::string& path : paths) {
            databases.emplace_back().path = path;
        }
        return databases;
    }

    /// A pool that takes files and has no host yet.
    void Create(std::uint32_t workers = 1) {
        m_settings.workers = workers;
        m_pool = std::make_unique<scanapi::ScanPool>(Databases({"/first.ndb", "/second.ndb"}),
                                                     m_settings);
    }
    void Start(std::uint32_t workers = 1) {
        Create(workers);
        m_pool->Start();
    }

    /// Waits until the scan of a file of this name has begun.
    [[nodiscard]] bool HasBegun(const std::string& name) const {
        return WaitUntil([&] {
            const auto begun = Noted("scans");
            return std::find(begun.begin(), begun.end(), name) != begun.end();
        });
    }
    /// What is "held" goes on.
    void LetGo() const { WriteFile(m_folder / "go-on", ""); }

    /// A file of this name, to scan once others wait already or at once.
    std::shared_ptr<scanapi::PendingScan> Submit(const std::string& name,
                                                 const std::string& content = "text",
                                                 scanapi::Urgency urgency = scanapi::Urgency::kNow,
                                                 const scanning::ScanProfile& profile = {}) {
        const std::string path = m_folder / name;
        WriteFile(path, content);
        EngineOpenStatus status = kOpenFailed;
        auto file = scanapi::TargetFile::Open(path.c_str(), status);
        EXPECT_NE(file, nullptr);
        return m_pool->Submit(std::move(file), profile, urgency);
    }

    struct Result {
        scanning::ScanOutcome outcome;
        std::vector<std::string> members;
    };
    static Result Await(scanapi::PendingScan& scan) {
        Result result;
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (std::chrono::steady_clock::now() < end) {
            auto news = scan.WaitForNews(std::chrono::milliseconds(100));
            for (std::string& member : news.members) {
                result.members.push_back(std::move(member));
            }
            if (news.finished) {
                result.outcome = scan.TakeOutcome();
                return result;
            }
        }
        ADD_FAILURE() << "not finished";
        return result;
    }

    /// The outcome as one text, "clean" or "unread: encrypted".
    static std::string Text(const scanning::ScanOutcome& outcome) {
        switch (outcome.verdict) {
            case scanning::Verdict::Clean:
                return "clean";
            case scanning::Verdict::Infected:
                return "virus: " + outcome.virusName;
            case scanning::Verdict::Unreadable:
                return "unread: " + outcome.reason;
            case scanning::Verdict::Stopped:
                return "stopped";
            case scanning::Verdict::PassedOver:
                return "passed over";
            default:
                return "none of these";
        }
    }
    std::string Scan(const std::string& name, const std::string& content = "text") {
        return Text(Await(*Submit(name, content)).outcome);
    }

    [[nodiscard]] std::vector<std::string> Noted(const char* name) const {
        std::ifstream notes(m_folder / name);
        std::vector<std::string> lines;
        for (std::string line; std::getline(notes, line);) {
            lines.push_back(line);
        }
        return lines;
    }
    [[nodiscard]] std::size_t Starts() const { return Noted("starts").size(); }

    /// How many of the hosts and workers there are. What only waits to be collected is none.
    [[nodiscard]] std::size_t Living() const {
        std::size_t count = 0;
        for (const std::string& pid : Noted("pids")) {
            const std::string status = ReadFile("/proc/" + pid + "/status");
            const bool isThere = status.find("\nState:") != std::string::npos &&
                                 status.find("\nState:\tZ") == std::string::npos &&
                                 status.find("\nState:\tX") == std::string::npos;
            count += isThere ? 1U : 0U;
        }
        return count;
    }
    static std::string Log() { return ReadFile(common::kCommonLog); }

    ScratchFolder m_folder;
    scanapi::PoolSettings m_settings = [this] {
        scanapi::PoolSettings settings;
        settings.host = m_folder / "corvane-scanhost";
        return settings;
    }();
    std::unique_ptr<scanapi::ScanPool> m_pool;
};
