#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <optional>
#include <string>

#include "common/paths.h"
#include "tests/support/scratch.h"

namespace {

class ProductDirectory : public testing::Test {
protected:
    void SetUp() override {
        if (!InSandbox()) {
            GTEST_SKIP() << "the product directory is only made inside the sandbox";
        }
        std::filesystem::remove_all("/usr/lib/Corvane");
    }
    void TearDown() override {
        if (InSandbox()) {
            std::filesystem::remove_all("/usr/lib/Corvane");
        }
    }
};

TEST_F(ProductDirectory, IsGivenWhenItIsThere) {
    std::filesystem::create_directories("/usr/lib/Corvane/Corvane");
    char buffer[256];
    ASSERT_EQ(GetZqPath(buffer, sizeof buffer), 1);
    EXPECT_STREQ(buffer, "/usr/lib/Corvane/Corvane/");
    EXPECT_EQ(common::InFoundProductDirectory("a.so"), "/usr/lib/Corvane/Corvane/a.so");
}

TEST_F(ProductDirectory, FailsWhenItIsMissing) {
    EXPECT_EQ(common::InFoundProductDirectory("a.so"), std::nullopt);
    char buffer[256] = "#";
    EXPECT_EQ(GetZqPath(buffer, sizeof buffer), 0);
    EXPECT_STREQ(buffer, "#");
}

TEST_F(ProductDirectory, FailsWhenItIsNoFolder) {
    std::filesystem::create_directories("/usr/lib/Corvane");
    WriteFile("/usr/lib/Corvane/Corvane", "");
    char buffer[256];
    EXPECT_EQ(GetZqPath(buffer, sizeof buffer), 0);
}

TEST_F(ProductDirectory, FailsRatherThanCut) {
    std::filesystem::create_directories("/usr/lib/Corvane/Corvane");
    char buffer[26] = "#";
    EXPECT_EQ(GetZqPath(buffer, 25), 0);
    EXPECT_STREQ(buffer, "#");
    EXPECT_EQ(GetZqPath(buffer, 0), 0);
    EXPECT_EQ(GetZqPath(nullptr, 256), 0);
    EXPECT_EQ(GetZqPath(buffer, 26), 1);
    EXPECT_STREQ(buffer, "/usr/lib/Corvane/Corvane/");
}

}  // namespace
