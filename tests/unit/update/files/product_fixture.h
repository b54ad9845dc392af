#pragma once

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <string_view>

#include "tests/support/scratch.h"
#include "tests/unit/update/files/link_bytes.h"
#include "tests/unit/update/files/watched_allocations.h"

inline constexpr char kProductFolder[] = "/usr/lib/Corvane/Corvane";
inline constexpr char kAdminLinks[] = "/usr/lib/Corvane/Corvane/admnlink.dat";
inline constexpr char kVersionFile[] = "/usr/lib/Corvane/Corvane/scanver.cnf";
inline constexpr char kLog[] = "/zqupdt.log";

/// An empty product directory of the test's own, its virus database at version 5.12, and no log. At
/// its end every list must have been freed, those of reads that failed by the reader.
class ProductFixture : public testing::Test {
protected:
    void SetUp() override {
        if (!InSandbox()) {
            GTEST_SKIP() << "the product directory is only made inside the sandbox";
        }
        CleanUp();
        std::filesystem::create_directories(kProductFolder);
        SetVersion("0500 0c00");
    }
    void TearDown() override {
        EXPECT_EQ(LiveAllocations(), 0U);
        if (InSandbox()) {
            CleanUp();
        }
    }

    /// The version record, its first four bytes given in hexadecimal.
    static void SetVersion(std::string_view digits) {
        WriteFile(kVersionFile, Padded(Hex(digits), 20));
    }

    /// What was logged.
    static std::string Log() { return ReadFile(kLog); }

    ScratchFolder m_scratch;

private:
    static void CleanUp() {
        std::filesystem::remove_all("/usr/lib/Corvane");
        std::filesystem::remove(kLog);
    }
};
