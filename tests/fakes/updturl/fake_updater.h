#pragma once

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/scratch.h"

/// A test's side of the fake updater: its script, which fake_updturl.cpp explains, and the calls it
/// wrote down. One at a time; everything is removed at the end.
class FakeUpdater {
public:
    FakeUpdater() {
        ::setenv("FAKE_UPDTURL_SCRIPT", (m_scratch / "script").c_str(), 1);
        ::setenv("FAKE_UPDTURL_LOG", (m_scratch / "log").c_str(), 1);
    }
    ~FakeUpdater() {
        ::unsetenv("FAKE_UPDTURL_SCRIPT");
        ::unsetenv("FAKE_UPDTURL_LOG");
    }
    FakeUpdater(const FakeUpdater&) = delete;
    FakeUpdater& operator=(const FakeUpdater&) = delete;

    /// Lays a variant into an application directory.
    static void Install(const std::string& directory, const std::string& variant = "good") {
        std::filesystem::copy_file(FAKE_UPDTURL_DIR + variant + "/updturl.so",
                                   directory + "updturl.so");
    }

    void SetScript(const std::string& script) const { WriteFile(m_scratch / "script", script); }

    /// For scripts that wait until a file is there.
    [[nodiscard]] std::string Path(const std::string& name) const { return m_scratch / name; }

    /// What was written down so far, a line each.
    [[nodiscard]] std::vector<std::string> Calls() const {
        std::istringstream log(ReadFile(m_scratch / "log"));
        std::vector<std::string> lines;
        for (std::string line; std::getline(log, line);) {
            lines.push_back(line);
        }
        return lines;
    }

    /// The one line that begins with `start`, less that; "none" or "several" if it is not one.
    [[nodiscard]] std::string Call(const std::string& start) const {
        std::vector<std::string> lines = Calls();
        std::erase_if(lines,
                      [&start](const std::string& line) { return !line.starts_with(start); });
        if (lines.size() != 1) {
            return lines.empty() ? "none" : "several";
        }
        return lines.front().substr(start.size());
    }

private:
    ScratchFolder m_scratch;
};
