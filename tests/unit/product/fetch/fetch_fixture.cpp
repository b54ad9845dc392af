#include "tests/unit/product/fetch/fetch_fixture.h"

#include <algorithm>
#include <filesystem>
#include <sys/stat.h>

void RecordingListener::Status(std::uint16_t status, std::string_view name) {
    times.push_back(Clock::now());
    std::string text = std::to_string(status);
    if (!name.empty()) {
        text.append(" ").append(name);
    }
    if (statuses.empty() || statuses.back() != text) {
        statuses.push_back(text);
    }
}

void RecordingListener::Log(std::string_view text) {
    log.emplace_back(text);
}

bool RecordingListener::IsStopping() {
    const bool isStopping = shouldStop && shouldStop();
    if (isStopping && stopTold == Clock::time_point()) {
        stopTold = Clock::now();
    }
    return isStopping;
}

bool RecordingListener::HasLogged(std::string_view part) const {
    return std::any_of(log.begin(), log.end(), [part](const std::string& line) {
        return line.find(part) != std::string::npos;
    });
}

bool RecordingListener::HasStatus(const std::string& status) const {
    return std::find(statuses.begin(), statuses.end(), status) != statuses.end();
}

std::chrono::milliseconds RecordingListener::LongestSilence() const {
    Clock::duration longest{};
    for (std::size_t i = 1; i < times.size(); ++i) {
        longest = std::max(longest, times[i] - times[i - 1]);
    }
    return std::chrono::duration_cast<std::chrono::milliseconds>(longest);
}

FetchTest::FetchTest() {
    for (const char* name : {"product", "product/updturl.keys", "download"}) {
        std::filesystem::create_directory(m_folder / name);
        ::chmod((m_folder / name).c_str(), 0755);
    }
    WriteFile(m_folder / "product/updturl.keys/test.pub", kMirrorPublicKey);
    ::chmod((m_folder / "product/updturl.keys/test.pub").c_str(), 0644);
    m_contents.serial = 7;
    m_contents.files = {{"daily.ndb", "daily signatures\n"}, {"own.hdb", std::string(3000, 'o')}};
    Publish();
    m_request.addresses = {m_server.Address()};
    m_request.productDirectory = m_folder / "product/";
    m_request.downloadDirectory = m_folder / "download/";
    m_request.currentSet = m_folder / "current";
    m_request.limits.connect = std::chrono::seconds(5);
    m_request.limits.whole = std::chrono::seconds(20);
    m_request.limits.slow = std::chrono::seconds(2);
    m_request.limits.firstPause = std::chrono::milliseconds(20);
}

fetch::Outcome FetchTest::Fetch() {
    return fetch::Fetch(m_request, m_listener);
}

fetch::Outcome FetchTest::FetchFrom(const std::vector<std::string>& addresses) {
    m_request.addresses = addresses;
    return Fetch();
}

void FetchTest::PublishNext() {
    ++m_contents.serial;
    m_contents.files[0].second += "one more\n";
    Publish();
}
