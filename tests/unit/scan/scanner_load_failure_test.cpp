// A library that cannot be loaded is written to the log in the root folder, so these run in the
// sandbox.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>
#include <string>

#include "common/run_state.h"
#include "common/text_field.h"
#include "scan/scanner.h"

namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr char kLog[] = "/zqcommon.log";

std::string LogText() {
    std::ostringstream text;
    text << std::ifstream(kLog).rdbuf();
    return text.str();
}

class ScannerLoadFailure : public ::testing::Test {
protected:
    void SetUp() override {
        if (std::getenv("CORVANE_SANDBOX") == nullptr) {
            GTEST_SKIP() << "writes " << kLog << ", only done in the sandbox";
        }
        std::filesystem::remove(kLog);
        std::filesystem::create_directory("/tmp/corvane-app");
        ASSERT_TRUE(common::CopyToField(g_szAppPath, "/tmp/corvane-app/"));
    }
    void TearDown() override {
        if (std::getenv("CORVANE_SANDBOX") != nullptr) {
            std::filesystem::remove_all("/tmp/corvane-app");
        }
    }
    tagSCNOPTS m_settings{1, 11};
};

TEST_F(ScannerLoadFailure, AMissingLibrary) {
    EXPECT_EQ(Scanner::InitScan(&m_settings), 0);
    EXPECT_EQ(g_hModScanAPI, nullptr);
    EXPECT_EQ(Scanner::DestroyScan(), 0);
    EXPECT_THAT(LogText(), StartsWith("In ZQLoadLibrary(): dlopen Error!!!"));
    EXPECT_THAT(LogText(), HasSubstr("/tmp/corvane-app/scanapi.so"));
}

TEST_F(ScannerLoadFailure, AFileThatIsNoLibrary) {
    std::ofstream("/tmp/corvane-app/scanapi.so") << "not a library";
    EXPECT_EQ(Scanner::InitScan(&m_settings), 0);
    EXPECT_EQ(g_hModScanAPI, nullptr);
    EXPECT_THAT(LogText(), StartsWith("In ZQLoadLibrary(): dlopen Error!!!"));
}

TEST_F(ScannerLoadFailure, TheOptionsStayAsTheyWere) {
    Scanner::m_ScanOptns.extraFlags = 0x8000;
    Scanner::m_shAction = 3;
    EXPECT_EQ(Scanner::InitScan(&m_settings), 0);
    EXPECT_EQ(Scanner::m_ScanOptns.extraFlags, 0x8000);
    EXPECT_EQ(Scanner::m_shAction, 3);
}

}  // namespace
