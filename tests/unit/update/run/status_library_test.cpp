#include "update/run/status_library.h"

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>

#include "common/run_state.h"
#include "common/text_field.h"
#include "tests/support/scratch.h"

namespace {

constexpr char kProductFolder[] = "/usr/lib/Corvane/Corvane";

/// A product directory with the status library, or without.
class StatusLibrary : public testing::Test {
protected:
    void SetUp() override {
        if (!InSandbox()) {
            GTEST_SKIP() << "the product directory is only made inside the sandbox";
        }
        std::filesystem::create_directories(kProductFolder);
        ::setenv("FAKE_SCANSTS_LOG", (m_scratch / "calls").c_str(), 1);
        common::CopyToField(g_szLogFile, m_scratch / "log");
    }
    void TearDown() override {
        g_szLogFile[0] = '\0';
        ::unsetenv("FAKE_SCANSTS_LOG");
        ::unsetenv("FAKE_SCANSTS_THROWS");
        if (InSandbox()) {
            std::filesystem::remove_all("/usr/lib/Corvane");
            std::filesystem::remove("/zqcommon.log");
        }
    }

    static void Install(const std::string& variant) {
        std::filesystem::copy_file(FAKE_SCANSTS_DIR + variant + "/scansts.so",
                                   std::string(kProductFolder) + "/scansts.so");
    }

    [[nodiscard]] std::string Calls() const { return ReadFile(m_scratch / "calls"); }

    ScratchFolder m_scratch;
};

TEST_F(StatusLibrary, IsToldOnceOfTenAndUnloaded) {
    Install("good");
    EXPECT_TRUE(update::NotifyStatusChange(kStatusUpdateChanged));
    EXPECT_EQ(Calls(), "told 0a000000" + std::string(120, '0') + "\nunloaded\n");
}

TEST_F(StatusLibrary, MissingIsNoError) {
    EXPECT_FALSE(update::NotifyStatusChange(kStatusUpdateChanged));
    EXPECT_EQ(ReadFile(m_scratch / "log"), "");
}

TEST_F(StatusLibrary, WithoutItsEntryPointItIsUnloadedAgain) {
    Install("without_communicate");
    EXPECT_FALSE(update::NotifyStatusChange(kStatusUpdateChanged));
    EXPECT_EQ(Calls(), "unloaded\n");
}

TEST_F(StatusLibrary, WhatItThrowsIsLogged) {
    Install("good");
    ::setenv("FAKE_SCANSTS_THROWS", "no bus", 1);
    EXPECT_TRUE(update::NotifyStatusChange(kStatusUpdateChanged));
    EXPECT_EQ(ReadFile(m_scratch / "log"),
              "In NotifyStatusChange(): StsCommunicateChange: no bus\n");
}

}  // namespace
