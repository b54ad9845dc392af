#include "reports/virus_log/size_limit.h"
#include "tests/unit/reports/virus_log/virus_log_fixture.h"

namespace {

class LimitsOfTheLog : public VirusLogTest {
protected:
    void PutSettings(std::string_view text) const { WriteFile(m_app / "section.ini", text); }

    // The limits as "MAXLIMIT LIMIT"; "(none)" when they are not both there.
    static std::string Limits() {
        int maxLimit = -7;
        int limit = -7;
        return GetLogCount(&maxLimit, &limit)
                   ? std::to_string(maxLimit) + " " + std::to_string(limit)
                   : "(none)";
    }
};

TEST_F(LimitsOfTheLog, AreRead) {
    PutSettings("[OTHER]\nMAXLIMIT = 1\nLIMIT = 2\n[LOGLIMIT]\nMAXLIMIT = 1000\nLIMIT = 800\n");
    EXPECT_EQ(Limits(), "1000 800");
    PutSettings("[LOGLIMIT]\r\nLIMIT = 80\r\nMAXLIMIT = 100\r\n");
    EXPECT_EQ(Limits(), "100 80");
}

TEST_F(LimitsOfTheLog, AreBothNeeded) {
    EXPECT_EQ(Limits(), "(none)") << "no file";
    PutSettings("");
    EXPECT_EQ(Limits(), "(none)");
    PutSettings("[LOGLIMIT]\nMAXLIMIT = 10\n");
    EXPECT_EQ(Limits(), "(none)");
    PutSettings("[LOGLIMIT]\nLIMIT = 10\n");
    EXPECT_EQ(Limits(), "(none)");
    PutSettings("[LOGLIMIT]\nMAXLIMIT = 10\n[NEXT]\nLIMIT = 8\n");
    EXPECT_EQ(Limits(), "(none)");
    PutSettings("MAXLIMIT = 10\nLIMIT = 8\n");
    EXPECT_EQ(Limits(), "(none)") << "no section";
}

TEST_F(LimitsOfTheLog, NeedBlanksAroundTheSignAndTheirOwnCase) {
    PutSettings("[LOGLIMIT]\nMAXLIMIT=10\nLIMIT=8\n");
    EXPECT_EQ(Limits(), "(none)");
    PutSettings("[LOGLIMIT]\nMAXLIMIT = 10\nLIMIT=8\n");
    EXPECT_EQ(Limits(), "(none)");
    PutSettings("[LOGLIMIT]\nMaxLimit = 10\nLIMIT = 8\n");
    EXPECT_EQ(Limits(), "(none)");
    PutSettings("[loglimit]\nMAXLIMIT = 10\nLIMIT = 8\n");
    EXPECT_EQ(Limits(), "(none)");
}

TEST_F(LimitsOfTheLog, AreCutToWhatACountCanBe) {
    PutSettings("[LOGLIMIT]\nMAXLIMIT = 99999999999999999999999\nLIMIT = 4294967297\n");
    EXPECT_EQ(Limits(), "2147483647 2147483647");
    PutSettings("[LOGLIMIT]\nMAXLIMIT = -99999999999999999999999\nLIMIT = -5\n");
    EXPECT_EQ(Limits(), "-2147483648 -5");
    PutSettings("[LOGLIMIT]\nMAXLIMIT = many\nLIMIT = 8x\n");
    EXPECT_EQ(Limits(), "0 8");
}

TEST_F(LimitsOfTheLog, NeedRoom) {
    SetLimits(10, 8);
    int limit = 0;
    EXPECT_FALSE(GetLogCount(nullptr, &limit));
    EXPECT_FALSE(GetLogCount(&limit, nullptr));
    EXPECT_EQ(Limits(), "10 8");
}

}  // namespace
