#include "reports/files/update_report.h"

#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <regex>
#include <string>

#include "common/file_descriptor.h"
#include "common/locks.h"
#include "common/run_state.h"
#include "common/text_field.h"
#include "tests/support/scratch.h"

namespace fs = std::filesystem;

namespace {

void FakeVersion(tagZQVERINFO* version) {
    *version = {17, 5, {2026, 11, 6, 21, 9, 8, 7, 0}};
}

class UpdateReport : public ::testing::Test {
protected:
    void SetUp() override {
        common::CopyToField(g_szAppPath, m_folder.Path());
        fs::create_directory(m_folder / "reports");
        WriteFile(m_folder / "updt.rpt", std::string("ZQRF\0\0\0\0\0\0\0\0", 12));
        pfnGetVer = FakeVersion;
        common::CopyToField(g_szOldVersion, "  16.04");
        common::CopyToField(g_szOldDbDate, "  01 January 2026");
        common::CopyToField(g_szOldDbTime, " [01:02:03]");
    }
    void TearDown() override { pfnGetVer = nullptr; }

    std::string OnlyReport() {
        const fs::directory_iterator reports(m_folder / "reports");
        EXPECT_EQ(std::distance(reports, {}), 1);
        return fs::directory_iterator(m_folder / "reports")->path().string();
    }

    ScratchFolder m_folder;
};

TEST_F(UpdateReport, ASuccessTellsTheOldAndTheNewVersion) {
    ASSERT_TRUE(WriteUpdtFile("UPDATED SUCCESSFULLY"));
    EXPECT_EQ(ReadFile(OnlyReport()),
              "\nCorvane is Successfully updated \n\n"
              "From Version :  16.04"
              "\nVirus database :  01 January 2026 [01:02:03]"
              "\nTo Version :  17.05"
              "\nVirus database :  21 November 2026 [09:08:07]");
}

TEST_F(UpdateReport, TheOldVersionIsWhatTheEngineSaidBefore) {
    reports::CaptureOldVersion();
    EXPECT_STREQ(g_szOldVersion, "  17.05");
    EXPECT_STREQ(g_szOldDbDate, "  21 November 2026");
    EXPECT_STREQ(g_szOldDbTime, " [09:08:07]");
}

TEST_F(UpdateReport, NothingNewIsSaid) {
    ASSERT_TRUE(WriteUpdtFile("UP-TO-DATE"));
    EXPECT_EQ(ReadFile(OnlyReport()),
              "The Version of Corvane you have is up-to-date.\n "
              "Use Rapid Update regularly to keep your copy updated.\n");
}

TEST_F(UpdateReport, AnyOtherStatusIsAnError) {
    ASSERT_TRUE(WriteUpdtFile("UPDATE ERROR"));
    EXPECT_EQ(ReadFile(OnlyReport()), "Error retrieving updates.");
    fs::remove(OnlyReport());
    ASSERT_TRUE(WriteUpdtFile("UP-TO-DATE "));
    EXPECT_EQ(ReadFile(OnlyReport()), "Error retrieving updates.") << "compared exactly";
}

TEST_F(UpdateReport, IsListedWithItsStatusAndReadableByAll) {
    ASSERT_TRUE(WriteUpdtFile("UPDATE ERROR"));
    const fs::path report = OnlyReport();
    EXPECT_EQ(report.filename().string().substr(0, 4), "updt");
    EXPECT_EQ(report.extension(), ".log");
    EXPECT_EQ(fs::status(report).permissions(), fs::perms(0666));
    const std::string index = ReadFile(m_folder / "updt.rpt");
    ASSERT_EQ(index.size(), 12U + 542U);
    EXPECT_EQ(index.substr(0, 12), std::string("ZQRF\0\0\0\0\x01\0\0\0", 12));
    const std::string finished = index.substr(12, 30);
    EXPECT_TRUE(std::regex_match(
        finished.c_str(),
        std::regex("[0-3][0-9] [A-Z][a-z]{2}, [0-9]{4}, [01][0-9]:[0-5][0-9]:[0-6][0-9] [AP]M")))
        << finished;
    EXPECT_EQ(finished.substr(25), std::string(5, '\0'));
    EXPECT_EQ(index.substr(12 + 30, 256), "UPDATE ERROR" + std::string(244, '\0'));
    EXPECT_EQ(index.substr(12 + 286, 256),
              report.filename().string() + std::string(256 - 12, '\0'));
    EXPECT_EQ(fs::status(m_folder / "updt.rpt").permissions(), fs::perms(0666));
}

TEST_F(UpdateReport, WaitsForNobodysLock) {
    const common::FileDescriptor index(open((m_folder / "updt.rpt").c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_EQ(LockFileHandle(index.Get()), 0);
    EXPECT_EQ(InChild([] {
                  alarm(10);
                  return WriteUpdtFile("UP-TO-DATE") ? 0 : 1;
              }),
              0);
    EXPECT_EQ(ReadFile(m_folder / "updt.rpt").size(), 12U + 542U);
}

TEST_F(UpdateReport, AMissingIndexLeavesTheReportUnlisted) {
    fs::remove(m_folder / "updt.rpt");
    EXPECT_FALSE(WriteUpdtFile("UP-TO-DATE"));
    EXPECT_NE(OnlyReport(), "");
    EXPECT_FALSE(fs::exists(m_folder / "updt.rpt"));
}

TEST_F(UpdateReport, WithoutTheFolderOrAStatusNothingIsWritten) {
    EXPECT_FALSE(WriteUpdtFile(nullptr));
    fs::remove_all(m_folder / "reports");
    EXPECT_FALSE(WriteUpdtFile("UP-TO-DATE"));
    EXPECT_EQ(ReadFile(m_folder / "updt.rpt").size(), 12U);
}

}  // namespace
