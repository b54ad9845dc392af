#pragma once

#include <cstring>
#include <ctime>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>

#include "common/path_list.h"
#include "common/run_state.h"
#include "common/text_field.h"
#include "tests/support/scratch.h"

/// An application directory of the test's own, with a "reports/" folder and an empty scan index.
class ReportTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(::mkdir((m_app / "reports").c_str(), 0777), 0);
        WriteFile(m_index, std::string("ZQRF\0\0\0\0\0\0\0\0", 12));
        ASSERT_TRUE(common::CopyToField(g_szAppPath, m_app.Path()));
        std::memset(g_szRptName, 0, sizeof g_szRptName);
        std::memset(g_szRptPath, 0, sizeof g_szRptPath);
        std::memset(g_szStrTime, 0, sizeof g_szStrTime);
        std::memset(g_szEndTime, 0, sizeof g_szEndTime);
        g_dDiffTime = 0;
        common::ResetRunCounters();
        g_scnopts = common::kDefaultScanSettings;
        pfnGetVer = nullptr;
    }
    ~ReportTest() override { common::FreePathList(m_paths, m_tail); }

    void AddPath(const char* path) { ASSERT_TRUE(common::AppendPath(m_paths, m_tail, path)); }

    /// The report that the two globals name.
    static std::string Report() { return ReadFile(g_szRptPath); }

    ScratchFolder m_app;
    std::string m_index = m_app / "main.rpt";
    tagPathList* m_paths = nullptr;
    tagPathList* m_tail = nullptr;
};

/// Today's date as a report writes it: read before and after, for a test that runs at midnight.
inline std::string Today() {
    const char* const months[] = {"January",   "February", "March",    "April",
                                  "May",       "June",     "July",     "August",
                                  "September", "October",  "November", "December"};
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    ::localtime_r(&now, &parts);
    const std::string day = std::to_string(parts.tm_mday);
    return (day.size() < 2 ? "0" + day : day) + " " + months[parts.tm_mon] + ", " +
           std::to_string(parts.tm_year + 1900);
}
