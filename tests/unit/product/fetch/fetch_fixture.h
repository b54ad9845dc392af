#pragma once

#include <chrono>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

#include "product/fetch/fetch.h"
#include "tests/support/mirror.h"
#include "tests/support/patient_clock.h"
#include "tests/support/scratch.h"

/// Writes down what it is told.
class RecordingListener : public fetch::Listener {
public:
    using Clock = PatientClock;

    void Status(std::uint16_t status, std::string_view name) override;
    void Log(std::string_view text) override;
    bool IsStopping() override;

    /// The statuses without those that were told again, "2006 NAME" for one with a name.
    std::vector<std::string> statuses;
    std::vector<std::string> log;
    std::vector<Clock::time_point> times;  ///< of every status
    std::function<bool()> shouldStop;
    Clock::time_point stopTold;  ///< when IsStopping was first true

    [[nodiscard]] bool HasLogged(std::string_view part) const;
    [[nodiscard]] bool HasStatus(const std::string& status) const;
    [[nodiscard]] std::chrono::milliseconds LongestSilence() const;
};

/// A product with a trusted key, a download folder, and a mirror with one state of two files.
class FetchTest : public testing::Test {
protected:
    FetchTest();

    fetch::Outcome Fetch();
    /// The same over these addresses.
    fetch::Outcome FetchFrom(const std::vector<std::string>& addresses);

    /// Makes the current set what the mirror holds.
    void InstallContents() const { WriteInstalledSet(m_request.currentSet + "/", m_contents); }
    void Publish() const { WriteMirror(m_server.Root(), m_contents); }
    /// Changes one file and publishes the next serial.
    void PublishNext();
    [[nodiscard]] std::string InCandidate(const std::string& name) const {
        return m_folder / ("download/candidate/" + name);
    }
    [[nodiscard]] std::string PathOf(std::size_t file) const {
        return "/files/" + Sha256Text(m_contents.files[file].second);
    }

    ScratchFolder m_folder;
    MirrorServer m_server;
    MirrorContents m_contents;
    fetch::Request m_request;
    RecordingListener m_listener;
};
