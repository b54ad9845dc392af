#include "reports/files/complete_scan.h"

#include <cstdint>
#include <ctime>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/unit/reports/files/report_fixture.h"

namespace {

class CompleteScan : public ReportTest {
protected:
    [[nodiscard]] unsigned int Field(std::size_t index) const {
        const std::string bytes = ReadFile(m_path);
        return static_cast<std::uint8_t>(bytes.at(index * 2)) +
               256U * static_cast<std::uint8_t>(bytes.at(index * 2 + 1));
    }
    // The minute the file tells, as local time.
    [[nodiscard]] std::time_t Written() const {
        std::tm parts{};
        parts.tm_year = static_cast<int>(Field(0)) - 1900;
        parts.tm_mon = static_cast<int>(Field(1)) - 1;
        parts.tm_mday = static_cast<int>(Field(3));
        parts.tm_hour = static_cast<int>(Field(4));
        parts.tm_min = static_cast<int>(Field(5));
        parts.tm_sec = static_cast<int>(Field(6));
        parts.tm_isdst = -1;
        return std::mktime(&parts);
    }

    std::string m_path = m_app / "reports/CmplScn.dat";
};

TEST_F(CompleteScan, NotesTheLocalTime) {
    const std::time_t before = std::time(nullptr);
    WriteCmpScnRptforAdmin();
    const std::time_t after = std::time(nullptr);
    ASSERT_EQ(ReadFile(m_path).size(), 16U);
    EXPECT_GE(Written(), before);
    EXPECT_LE(Written(), after);
    std::tm parts{};
    const std::time_t written = Written();
    ::localtime_r(&written, &parts);
    EXPECT_EQ(Field(2), static_cast<unsigned int>(parts.tm_wday));
    EXPECT_EQ(Field(7), 0U) << "milliseconds";
    EXPECT_EQ(ModeOf(m_path), 0666U);
}

TEST_F(CompleteScan, OverwritesTheFirstSixteenBytesOnly) {
    WriteFile(m_path, std::string(16, '\xFF') + "kept");
    ASSERT_EQ(::chmod(m_path.c_str(), 0600), 0);
    WriteCmpScnRptforAdmin();
    EXPECT_EQ(ReadFile(m_path).size(), 20U);
    EXPECT_EQ(ReadFile(m_path).substr(16), "kept");
    EXPECT_GE(Field(0), 2026U);
    EXPECT_LT(Field(0), 2100U);
    EXPECT_EQ(ReadFile(m_path).substr(14, 2), std::string("\0\0", 2)) << "milliseconds";
    EXPECT_EQ(ModeOf(m_path), 0666U);
}

TEST_F(CompleteScan, FailsSilently) {
    ASSERT_EQ(::rmdir((m_app / "reports").c_str()), 0);
    WriteCmpScnRptforAdmin();
    EXPECT_FALSE(Exists(m_app / "reports"));
}

TEST_F(CompleteScan, FollowsNoLink) {
    WriteFile(m_app / "victim", "precious bytes that stay");
    ASSERT_EQ(::symlink("../victim", m_path.c_str()), 0);
    WriteCmpScnRptforAdmin();
    EXPECT_EQ(ReadFile(m_app / "victim"), "precious bytes that stay");
}

}  // namespace
