#pragma once

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "abi/schdlscn.h"
#include "common/paths.h"
#include "common/text_field.h"
#include "tests/support/scratch.h"

/// A test's side of the fake scheduler, whose files fake_schdlscn.cpp explains. The library lies in
/// the product directory while one of these lives, which is to be in the sandbox. One at a time.
class FakeScheduler {
public:
    explicit FakeScheduler(const std::string& variant = "good") {
        ::setenv("FAKE_SCHDLSCN_DIR", m_scratch.Path().c_str(), 1);
        std::filesystem::create_directories(kProductDirectory);
        Install(variant);
    }
    ~FakeScheduler() {
        ::unsetenv("FAKE_SCHDLSCN_DIR");
        Remove();
    }
    FakeScheduler(const FakeScheduler&) = delete;
    FakeScheduler& operator=(const FakeScheduler&) = delete;

    static std::string Library() { return std::string(kProductDirectory) + "schdlscn.so"; }
    static void Remove() { std::filesystem::remove(Library()); }
    static void Install(const std::string& variant) {
        Remove();  // a new file, not new bytes in a library that may be loaded
        std::filesystem::copy_file(FAKE_SCHDLSCN_DIR + variant + "/schdlscn.so", Library());
    }

    /// Lines "ENTRY_POINT ERROR" and "FOLDER ERROR".
    void SetScript(const std::string& script) const { WriteFile(m_scratch / "script", script); }

    void SetState(const tagSCHEDULE_TASK_STATE& state) const {
        WriteFile(m_scratch / "state", {reinterpret_cast<const char*>(&state), sizeof state});
    }

    /// A task in the list. The bytes of `record` but its folders.
    void AddTask(tagSCHEDULE_SCAN_ENTRY record, const std::vector<std::string>& folders) const {
        std::ofstream file(m_scratch / "tasks", std::ios::binary | std::ios::app);
        record.folders = {};
        file.write(reinterpret_cast<const char*>(&record), sizeof record);
        const auto count = static_cast<std::uint32_t>(folders.size());
        file.write(reinterpret_cast<const char*>(&count), sizeof count);
        for (const std::string& folder : folders) {
            tagSCAN_ITEM item{};
            common::CopyToField(item.path, folder);
            file.write(item.path, sizeof item.path);
        }
    }
    /// A daily one at noon.
    void AddTask(const std::string& name, const std::vector<std::string>& folders) const {
        tagSCHEDULE_SCAN_ENTRY record{};
        common::CopyToField(record.name, name);
        record.hour = 12;
        record.interval = 1;
        AddTask(record, folders);
    }
    void DropTasks() const { std::filesystem::remove(m_scratch / "tasks"); }

    /// What was called so far, a line each, and forgets it.
    std::vector<std::string> TakeCalls() const {
        std::istringstream log(ReadFile(m_scratch / "log"));
        std::filesystem::remove(m_scratch / "log");
        std::vector<std::string> lines;
        for (std::string line; std::getline(log, line);) {
            lines.push_back(line);
        }
        return lines;
    }
    /// The same of one kind of call: the lines that begin with `word`, less that.
    [[nodiscard]] std::vector<std::string> TakeCalls(const std::string& word) const {
        std::vector<std::string> lines;
        for (const std::string& line : TakeCalls()) {
            if (line.starts_with(word + " ")) {
                lines.push_back(line.substr(word.size() + 1));
            }
        }
        return lines;
    }

private:
    ScratchFolder m_scratch;
};
