#include <array>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "common/paths.h"
#include "tests/support/scratch.h"

namespace {

using Name = std::array<char, 256>;

bool HasShape(const std::string& name, const std::string& prefix, const std::string& ending) {
    const std::size_t digits = prefix.size();
    if (name.size() != digits + 4 + ending.size() || !name.starts_with(prefix) ||
        !name.ends_with(ending)) {
        return false;
    }
    for (std::size_t at = digits; at < digits + 4; ++at) {
        if (std::isdigit(static_cast<unsigned char>(name[at])) == 0) {
            return false;
        }
    }
    return true;
}

class UniqueName : public testing::Test {
protected:
    void TakeAllNamesBut(const std::string& kept) {
        for (int number = 0; number < 10'000; ++number) {
            char name[16];
            (void)std::snprintf(name, sizeof name, "scn%04d.log", number);
            if (name != kept) {
                const int fd = ::creat((m_scratch / name).c_str(), 0600);
                ASSERT_GE(fd, 0);
                ::close(fd);
            }
        }
    }
    int Make(Name& name, const char* extension = "log") {
        return GetUniqueFileName(m_scratch.Path().c_str(), "scn", extension, name.data());
    }

    ScratchFolder m_scratch;
};

TEST_F(UniqueName, IsPrefixFourDigitsAndExtension) {
    Name name{};
    ASSERT_EQ(Make(name), 1);
    EXPECT_TRUE(HasShape(name.data(), "scn", ".log")) << name.data();
    EXPECT_FALSE(Exists(m_scratch / name.data()));
}

TEST_F(UniqueName, TakesExtensionsOfUpToTenCharacters) {
    Name name{};
    ASSERT_EQ(Make(name, "1234567890"), 1);
    EXPECT_TRUE(HasShape(name.data(), "scn", ".1234567890")) << name.data();
    ASSERT_EQ(Make(name, "12345678901"), 1);
    EXPECT_TRUE(HasShape(name.data(), "scn", ".tmp")) << name.data();
    ASSERT_EQ(Make(name, nullptr), 1);
    EXPECT_TRUE(HasShape(name.data(), "scn", ".tmp")) << name.data();
    ASSERT_EQ(Make(name, ""), 1);
    EXPECT_TRUE(HasShape(name.data(), "scn", ".")) << name.data();
}

TEST_F(UniqueName, DrawsFromTheCGeneratorWithoutSeedingIt) {
    std::srand(7);
    char expected[32];
    const int first = std::rand() % 100;
    const int second = std::rand() % 100;
    (void)std::snprintf(expected, sizeof expected, "scn%02d%02d.log", first, second);
    const int following = std::rand();
    std::srand(7);
    Name name{};
    ASSERT_EQ(Make(name), 1);
    EXPECT_STREQ(name.data(), expected);
    EXPECT_EQ(std::rand(), following);
}

TEST_F(UniqueName, PassesOverNamesThatAreTaken) {
    Name name{};
    std::srand(7);
    ASSERT_EQ(Make(name), 1);
    const std::string taken = name.data();
    WriteFile(m_scratch / taken, "");
    std::srand(7);
    ASSERT_EQ(Make(name), 1);
    EXPECT_NE(name.data(), taken);
    // Without the "/" the folder is the same.
    std::srand(7);
    std::string folder = m_scratch.Path();
    folder.pop_back();
    ASSERT_EQ(GetUniqueFileName(folder.c_str(), "scn", "log", name.data()), 1);
    EXPECT_NE(name.data(), taken);
}

TEST_F(UniqueName, ADanglingLinkIsTaken) {
    Name name{};
    std::srand(7);
    ASSERT_EQ(Make(name), 1);
    const std::string taken = name.data();
    ASSERT_EQ(::symlink("nowhere", (m_scratch / taken).c_str()), 0);
    std::srand(7);
    ASSERT_EQ(Make(name), 1);
    EXPECT_NE(name.data(), taken);
}

TEST_F(UniqueName, FindsTheLastFreeName) {
    ASSERT_NO_FATAL_FAILURE(TakeAllNamesBut("scn9999.log"));
    for (const char* last : {"scn9999.log", "scn0000.log", "scn4207.log"}) {
        Name name{};
        ASSERT_EQ(::rename((m_scratch / last).c_str(), (m_scratch / "scn9999.log").c_str()) == 0,
                  std::strcmp(last, "scn9999.log") != 0);
        ASSERT_EQ(Make(name), 1);
        EXPECT_STREQ(name.data(), last);
        WriteFile(m_scratch / last, "");
    }
}

TEST_F(UniqueName, FailsWhenAllNamesAreTaken) {
    ASSERT_NO_FATAL_FAILURE(TakeAllNamesBut(""));
    Name name{'#'};
    EXPECT_EQ(Make(name), 0);
    EXPECT_EQ(name[0], '#');
    // Another prefix and another extension have names of their own.
    EXPECT_EQ(GetUniqueFileName(m_scratch.Path().c_str(), "updt", "log", name.data()), 1);
    EXPECT_EQ(Make(name, "tmp"), 1);
}

TEST_F(UniqueName, FailsForANameThatDoesNotFit) {
    Name name{'#'};
    const std::string folder = m_scratch.Path();
    EXPECT_EQ(GetUniqueFileName(folder.c_str(), std::string(248, 'p').c_str(), "log", name.data()),
              0);
    EXPECT_EQ(
        GetUniqueFileName((folder + std::string(5000, 'd')).c_str(), "scn", "log", name.data()), 0);
    EXPECT_EQ(name[0], '#');
    EXPECT_EQ(GetUniqueFileName(folder.c_str(), std::string(247, 'p').c_str(), "log", name.data()),
              1);
    EXPECT_EQ(std::strlen(name.data()), 255U);
}

TEST_F(UniqueName, RefusesNullArguments) {
    Name name{};
    EXPECT_EQ(GetUniqueFileName(nullptr, "scn", "log", name.data()), 0);
    EXPECT_EQ(GetUniqueFileName("/tmp", nullptr, "log", name.data()), 0);
    EXPECT_EQ(GetUniqueFileName("/tmp", "scn", "log", nullptr), 0);
}

}  // namespace
