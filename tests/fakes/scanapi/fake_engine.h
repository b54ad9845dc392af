#pragma once

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>
#include <vector>

/// A test's side of the fake engine: a script that the next ZqInitScan reads, and the calls it
/// wrote down. script.h explains the script. One at a time; everything is removed at the end.
class FakeEngine {
public:
    FakeEngine() {
        std::string pattern = std::filesystem::temp_directory_path() / "corvane-engine-XXXXXX";
        m_directory = ::mkdtemp(pattern.data());
        ::setenv("FAKE_SCANAPI_LOG", LogPath().c_str(), 1);
    }
    ~FakeEngine() {
        ::unsetenv("FAKE_SCANAPI_SCRIPT");
        ::unsetenv("FAKE_SCANAPI_LOG");
        std::error_code ignored;
        std::filesystem::remove_all(m_directory, ignored);
    }
    FakeEngine(const FakeEngine&) = delete;
    FakeEngine& operator=(const FakeEngine&) = delete;

    /// The application directory, with its "/", in which a variant lies as "scanapi.so".
    static std::string Variant(const std::string& name) {
        return std::string(FAKE_SCANAPI_DIR) + name + "/";
    }

    /// Without a script the variant's own one counts.
    void SetScript(const std::string& script) const {
        const std::filesystem::path path = m_directory / "script";
        std::ofstream(path) << script;
        ::setenv("FAKE_SCANAPI_SCRIPT", path.c_str(), 1);
    }

    /// The calls so far, one a line.
    [[nodiscard]] std::vector<std::string> Calls() const {
        std::vector<std::string> lines;
        std::ifstream log(LogPath());
        for (std::string line; std::getline(log, line);) {
            lines.push_back(line);
        }
        return lines;
    }

    /// The calls whose line begins with `start`.
    [[nodiscard]] std::vector<std::string> Calls(const std::string& start) const {
        std::vector<std::string> lines = Calls();
        std::erase_if(lines,
                      [&start](const std::string& line) { return !line.starts_with(start); });
        return lines;
    }

    /// Removed with the engine; for scripts that hold until a file is there, and for samples.
    [[nodiscard]] const std::filesystem::path& Directory() const { return m_directory; }

private:
    [[nodiscard]] std::filesystem::path LogPath() const { return m_directory / "log"; }

    std::filesystem::path m_directory;
};
