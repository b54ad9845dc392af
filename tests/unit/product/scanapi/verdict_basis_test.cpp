// When verdicts of earlier scans still stand.

#include "product/scanapi/verdict_basis.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/support/scratch.h"

namespace {

class VerdictBasisTest : public testing::Test {
protected:
    void SetUp() override {
        WriteFile(m_first, "one");
        WriteFile(m_second, "two");
    }
    [[nodiscard]] std::string Basis() const {
        return scanapi::VerdictBasis({m_first, m_second}).value_or("(none)");
    }
    ScratchFolder m_folder;
    std::string m_first = m_folder / "a.ldb";
    std::string m_second = m_folder / "b.ldb";
};

TEST_F(VerdictBasisTest, IsADigestThatStaysTheSame) {
    const std::string basis = Basis();
    EXPECT_EQ(basis.size(), 64U);
    EXPECT_EQ(basis.find_first_not_of("0123456789abcdef"), std::string::npos);
    EXPECT_EQ(Basis(), basis);
}

TEST_F(VerdictBasisTest, ChangesWithEveryDatabase) {
    const std::string basis = Basis();
    EXPECT_NE(scanapi::VerdictBasis({m_first}), basis);
    EXPECT_NE(scanapi::VerdictBasis({m_second, m_first}), basis);
    WriteFile(m_second, "two, and longer");
    EXPECT_NE(Basis(), basis);
}

TEST_F(VerdictBasisTest, IsNotTheOldOneForADatabaseThatWasPutThereAnew) {
    const std::string basis = Basis();
    struct stat before {};
    ASSERT_EQ(stat(m_second.c_str(), &before), 0);
    WriteFile(m_second + ".new", "six");
    const timespec times[2] = {before.st_atim, before.st_mtim};
    ASSERT_EQ(utimensat(AT_FDCWD, (m_second + ".new").c_str(), times, 0), 0);
    std::filesystem::rename(m_second + ".new", m_second);
    EXPECT_NE(Basis(), basis);
}

TEST_F(VerdictBasisTest, ThereIsNoneWithoutOneOfThem) {
    std::filesystem::remove(m_second);
    EXPECT_EQ(Basis(), "(none)");
    EXPECT_TRUE(scanapi::VerdictBasis({}));
}

}  // namespace
