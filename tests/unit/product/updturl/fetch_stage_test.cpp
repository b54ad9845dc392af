#include "product/updturl/fetch_stage.h"

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <sys/socket.h>
#include <thread>

#include "common/io.h"
#include "common/percent_text.h"
#include "tests/support/patient_clock.h"
#include "tests/support/scratch.h"

namespace updturl {
namespace {

using namespace std::chrono_literals;

/// A stage that does what the shell commands say.
class FetchStageTest : public testing::Test {
protected:
    void SetUp() override {
        std::array<int, 2> ends{};
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
        m_other.Reset(ends[0]);
        m_own.Reset(ends[1]);
        m_asker.emplace(m_own.Get(), m_own.Get());
        std::filesystem::create_directories(m_download + "candidate");
        m_request.downloadDirectory = m_download;
        m_request.addresses.emplace();
    }

    Fetched Run(const std::string& commands) {
        const std::string path = m_folder / "stage";
        WriteFile(path, "#!/bin/bash\necho \"$*\" >" + m_folder.Path() + "arguments\n" +
                            "while read -r line; do [[ $line == go ]] && break; done\n" + commands +
                            "\n");
        ::chmod(path.c_str(), 0755);
        FetchStage stage;
        std::string why;
        EXPECT_TRUE(stage.Start(path, m_isAsCaller, why)) << why;
        return stage.Run(m_request, *m_asker);
    }

    std::string Heard() {
        (void)fcntl(m_other.Get(), F_SETFL, O_NONBLOCK);
        std::string heard;
        std::array<char, 65536> buffer{};
        ssize_t count = 0;
        while ((count = read(m_other.Get(), buffer.data(), buffer.size())) > 0) {
            heard.append(buffer.data(), static_cast<std::size_t>(count));
        }
        return heard;
    }

    bool m_isAsCaller = false;
    ScratchFolder m_folder;
    std::string m_download = m_folder / "download/";
    Request m_request;
    common::FileDescriptor m_other;
    common::FileDescriptor m_own;
    std::optional<Asker> m_asker;
};

TEST_F(FetchStageTest, WhatTheStageSaysIsPassedOnButForTheCandidate) {
    const Fetched fetched = Run("echo status 2005; echo log word; echo candidate " + m_download +
                                "candidate; echo result 1");
    EXPECT_EQ(fetched.result, 1);
    EXPECT_EQ(fetched.candidate, m_download + "candidate/");
    EXPECT_EQ(Heard(), "status 2005\nlog word\n");
    EXPECT_EQ(ReadFile(m_folder / "arguments"), "--fetch\n");
}

TEST_F(FetchStageTest, AStageThatStaysWhoWeAreIsToldSo) {
    m_isAsCaller = true;
    EXPECT_EQ(Run("echo result 2").result, 2);
    EXPECT_EQ(ReadFile(m_folder / "arguments"), "--fetch --as-caller\n");
}

TEST_F(FetchStageTest, ACandidateOutsideOfTheDownloadFolderIsRefused) {
    const Fetched fetched = Run("echo candidate /etc; echo result 1");
    EXPECT_EQ(fetched.result, 0);
    EXPECT_EQ(fetched.candidate, "");
    EXPECT_EQ(Heard(), "log the process that downloads names no folder of its own\n");
}

TEST_F(FetchStageTest, WithoutACandidateNothingWasUpdated) {
    EXPECT_EQ(Run("echo result 1").result, 0);
}

TEST_F(FetchStageTest, OtherResultsNeedNoCandidate) {
    EXPECT_EQ(Run("echo result 2").result, 2);
    EXPECT_EQ(Heard(), "");
}

TEST_F(FetchStageTest, AStageThatDiesHasNoResult) {
    EXPECT_EQ(Run("echo candidate " + m_download + "candidate; kill -9 $$").result, 0);
    EXPECT_EQ(Heard(), "log the process that downloads ended without a result\n");
}

TEST_F(FetchStageTest, AWishToStopIsPassedOnAndAnsweredAtOnce) {
    ASSERT_TRUE(common::WriteAll(m_other.Get(), "stop\n"));
    const auto begun = PatientClock::now();
    EXPECT_EQ(Run("trap '' TERM; sleep 100").result, 3);
    EXPECT_LT(PatientClock::now() - begun, 250ms);
}

TEST_F(FetchStageTest, AStageCannotSayThatItSwitches) {
    PatientClock::time_point askedAt;
    std::thread stops([&] {
        // Answered by what the stage says, so that it has said the other before.
        std::string heard;
        char byte = 0;
        while (!heard.ends_with('\n') && read(m_other.Get(), &byte, 1) == 1) {
            heard += byte;
        }
        askedAt = PatientClock::now();
        common::WriteAll(m_other.Get(), "stop\n");
    });
    EXPECT_EQ(Run("echo switching; echo status 2005; exec sleep 20").result, 3);
    stops.join();
    EXPECT_LT(PatientClock::now() - askedAt, 1s);
}

TEST_F(FetchStageTest, AStageThatLogsWithoutEndFillsNoDisk) {
    std::string heard;
    std::thread reader([&] {
        std::array<char, 65536> buffer{};
        for (ssize_t count = 1; count > 0;) {
            count = read(m_other.Get(), buffer.data(), buffer.size());
            heard.append(buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        }
    });
    EXPECT_EQ(Run("for ((i = 0; i < 700; i++)); do echo log x; done; echo result 2").result, 2);
    m_own.Reset();
    reader.join();
    EXPECT_EQ(std::count(heard.begin(), heard.end(), '\n'), 500);
}

TEST_F(FetchStageTest, AStageThatCannotBeStartedSaysWhy) {
    FetchStage stage;
    std::string why;
    EXPECT_FALSE(stage.Start(m_folder / "missing", false, why));
    EXPECT_EQ(why, "No such file or directory");
}

TEST_F(FetchStageTest, OnlyAFolderRightBelowTheDownloadFolderIsACandidate) {
    WriteFile(m_download + "file", "");
    std::filesystem::create_directories(m_download + "candidate/inner");
    std::filesystem::create_directory_symlink("/etc", m_download + "link");
    EXPECT_EQ(CheckedCandidate(m_download + "candidate", m_download), m_download + "candidate/");
    EXPECT_EQ(CheckedCandidate(m_download + "candidate/", m_download), m_download + "candidate/");
    for (const std::string name : {"", "/", ".", "..", "../download", "candidate/inner",
                                   "candidate/..", "file", "link", "link/", "missing"}) {
        EXPECT_EQ(CheckedCandidate(m_download + name, m_download), std::nullopt) << name;
    }
    EXPECT_EQ(CheckedCandidate("candidate", m_download), std::nullopt);
    EXPECT_EQ(CheckedCandidate("/etc", ""), std::nullopt);
    // "download" without its "/" is the beginning of other folders' names, too.
    std::filesystem::create_directories(m_folder / "downloads");
    EXPECT_EQ(CheckedCandidate(m_folder / "downloads", m_folder / "download"), std::nullopt);
}

}  // namespace
}  // namespace updturl
