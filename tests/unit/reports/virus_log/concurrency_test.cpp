// Several processes at one log.

#include <algorithm>
#include <chrono>
#include <cstring>
#include <fstream>
#include <optional>
#include <vector>

#include "reports/virus_log/log_reader.h"
#include "reports/virus_log/virus_log.h"
#include "tests/unit/reports/virus_log/virus_log_fixture.h"

namespace {

constexpr int kWriters = 4;
constexpr int kRecordsEach = 500;
constexpr std::uint32_t kBefore = 20;
constexpr std::uint32_t kRemoved = 15;
// Who finds the mutex taken looks again a second later, which adds up on a busy machine.
constexpr std::chrono::seconds kLimit(40);

std::string Name(int writer, int record) {
    return "/" + std::to_string(writer) + "/" + std::to_string(record);
}

std::uint32_t U32At(const std::string& bytes, std::size_t at) {
    std::uint32_t value = 0;
    std::memcpy(&value, bytes.data() + at, sizeof value);
    return value;
}

class ManyWriters : public VirusLogTest {
protected:
    // Adds the records of one writer, half of them before the reset begins; those that were refused
    // are written down.
    int Write(int writer) {
        std::ofstream refused(m_app / ("refused" + std::to_string(writer)));
        for (int record = 0; record < kRecordsEach; ++record) {
            if (record == kRecordsEach / 2) {
                WriteFile(m_app / ("half" + std::to_string(writer)), "");
                if (!WaitUntil([this] { return Exists(m_app / "go"); }, kLimit)) {
                    return 1;
                }
            }
            if (!ZQVRAddRecVirusReport(8000, Name(writer, record).c_str(), "Virus", "Action")) {
                refused << Name(writer, record) << std::endl;
            }
        }
        return 0;
    }

    std::vector<std::string> Refused() const {
        std::vector<std::string> names;
        for (int writer = 0; writer < kWriters; ++writer) {
            std::ifstream file(m_app / ("refused" + std::to_string(writer)));
            for (std::string name; std::getline(file, name);) {
                names.push_back(name);
            }
        }
        return names;
    }

    std::vector<std::string> LoggedPaths() {
        std::array<unsigned short, virus_log::kVirusReportPathSize> wide{};
        EXPECT_TRUE(ZQVRGetVirusReportFile(wide.data()));
        const std::string path(wide.begin(), std::find(wide.begin(), wide.end(), 0));
        virus_log::VirusLogContents contents;
        EXPECT_EQ(virus_log::ReadVirusLogCopy(path.c_str(), contents),
                  virus_log::ReadLogResult::kOk);
        EXPECT_EQ(contents.damagedBytes, 0U);
        EXPECT_EQ(contents.missing, 0U);
        std::vector<std::string> paths;
        for (const virus_log::VirusLogEntry& entry : contents.entries) {
            paths.push_back(entry.filePath);
        }
        return paths;
    }

    // The table names exactly the places at which records begin.
    void ExpectTableAgrees() {
        const std::string log = Content("VirRcONE.dat");
        const std::string table = Content("RecOffset.dat");
        const std::uint32_t count = U32At(log, 4);
        ASSERT_GE(table.size(), std::size_t{count} * 4);
        std::size_t at = 88;
        for (std::uint32_t i = 0; i < count; ++i) {
            ASSERT_EQ(U32At(table, std::size_t{i} * 4), at) << "record " << i;
            ASSERT_LE(at + 210, log.size());
            at += 210 + U32At(log, at) + U32At(log, at + 4);
        }
        EXPECT_EQ(at, log.size());
    }
};

TEST_F(ManyWriters, AndOneThatResetsLoseNoRecord) {
    Put("VirMain.dat", MainBytes(0, "VirRcONE.dat"));
    std::vector<std::string> expected;
    for (std::uint32_t i = 0; i < kBefore; ++i) {
        const std::string path = "/before/" + std::to_string(i);
        ASSERT_TRUE(ZQVRAddRecVirusReport(8000, path.c_str(), "V", "A"));
        if (i >= kRemoved) {
            expected.push_back(path);
        }
    }
    std::vector<pid_t> writers;
    writers.reserve(kWriters);
    for (int writer = 0; writer < kWriters; ++writer) {
        writers.push_back(StartChild([&] { return Write(writer); }));
    }
    for (int writer = 0; writer < kWriters; ++writer) {
        const std::string half = m_app / ("half" + std::to_string(writer));
        ASSERT_TRUE(WaitUntil([&] { return Exists(half); }, kLimit));
    }
    // The reset waits for this mutex while it is held and finds it a second later at the earliest,
    // so that records surely reach the second file. It has looked at the count by then, which is
    // wrong so that this shows.
    const std::string log = Content("VirRcONE.dat");
    Put("VirRcONE.dat", log.substr(0, 4) + U32(U32At(log, 4) + 1) + log.substr(8));
    std::optional<HeldMutex> main(10022);
    ASSERT_TRUE(main->IsHeld());
    const pid_t resetter = StartChild([] {
        unsigned int remaining = 0;
        return ZQVRResetLog(kRemoved, &remaining) && remaining >= kBefore - kRemoved ? 0 : 1;
    });
    ASSERT_TRUE(WaitUntil([&] { return Content("VirRcONE.dat") == log; }));
    ASSERT_TRUE(WaitUntil([] { return !IsMutexHeld(10011); }));
    HeldMutex held(10011);
    ASSERT_TRUE(held.IsHeld());
    main.reset();
    ASSERT_TRUE(WaitUntil([this] { return Content("VirMain.dat").starts_with(U32(1)); }));
    held.Release();
    WriteFile(m_app / "go", "");
    const bool wasInSecondFile = WaitUntil([this] { return Exists(Log("VirRcTWO.dat")); });
    for (const pid_t writer : writers) {
        EXPECT_EQ(JoinChild(writer), 0);
    }
    EXPECT_EQ(JoinChild(resetter), 0);

    // What was added while the reset ran was in the second file, and is in the main one now.
    EXPECT_TRUE(wasInSecondFile);
    EXPECT_EQ(Content("VirMain.dat"), MainBytes(0, "VirRcONE.dat"));
    EXPECT_EQ(Content("VirRcTWO.dat"), "(missing)");
    ExpectTableAgrees();

    const std::vector<std::string> refused = Refused();
    for (int writer = 0; writer < kWriters; ++writer) {
        for (int record = 0; record < kRecordsEach; ++record) {
            const std::string name = Name(writer, record);
            if (std::find(refused.begin(), refused.end(), name) == refused.end()) {
                expected.push_back(name);
            }
        }
    }
    std::vector<std::string> logged = LoggedPaths();
    std::sort(expected.begin(), expected.end());
    std::sort(logged.begin(), logged.end());
    EXPECT_EQ(logged, expected);
    // Each refusal costs its writer five seconds, so few fit beside a reset.
    EXPECT_LE(refused.size(), 4U * kWriters);
}

}  // namespace
