#pragma once

#include "reports/virus_log/log_reader.h"
#include "tests/unit/reports/virus_log/virus_log_fixture.h"

/// Reads copies of a log that a test has put together.
class LogReader : public testing::Test {
protected:
    virus_log::ReadLogResult Read(const std::string& copy) {
        WriteFile(m_path, copy);
        return virus_log::ReadVirusLogCopy(m_path.c_str(), m_contents);
    }
    virus_log::ReadLogResult Read(std::uint32_t count, const std::string& records,
                                  const std::string& table) {
        const auto end = static_cast<std::uint32_t>(88 + records.size());
        return Read(HeadBytes(count, end) + records + table);
    }
    /// The paths of all entries, each with a blank behind it.
    [[nodiscard]] std::string Paths() const {
        std::string paths;
        for (const virus_log::VirusLogEntry& entry : m_contents.entries) {
            paths += entry.filePath + " ";
        }
        return paths;
    }
    /// What was read before is gone, too.
    void ExpectNothingRead() const {
        EXPECT_EQ(m_contents.majorVersion, 0);
        EXPECT_EQ(m_contents.minorVersion, 0);
        EXPECT_EQ(m_contents.computerName, "");
        EXPECT_TRUE(m_contents.entries.empty());
        EXPECT_EQ(m_contents.damagedBytes, 0U);
        EXPECT_EQ(m_contents.missing, 0U);
    }
    void ExpectRead(const std::string& paths, std::uint64_t damagedBytes,
                    std::uint32_t missing) const {
        EXPECT_EQ(Paths(), paths);
        EXPECT_EQ(m_contents.damagedBytes, damagedBytes);
        EXPECT_EQ(m_contents.missing, missing);
    }
    /// What an earlier call has left.
    void PutRemains() { m_contents = {1, 2, "c", {virus_log::VirusLogEntry{}}, 3, 4}; }

    ScratchFolder m_folder;
    std::string m_path = m_folder / "copy";
    virus_log::VirusLogContents m_contents;
};
