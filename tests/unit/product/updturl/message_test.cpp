#include "product/updturl/message.h"

#include <gtest/gtest.h>
#include <string>

namespace updturl {
namespace {

Message Expected(MessageKind kind, std::uint16_t number, std::string text = {}) {
    return {kind, number, std::move(text)};
}

TEST(Message, AStatusIsANumber) {
    EXPECT_EQ(StatusLine(2000), "status 2000\n");
    EXPECT_EQ(StatusLine(2015), "status 2015\n");
    EXPECT_EQ(ReadMessage("status 2000"), Expected(MessageKind::kStatus, 2000));
    EXPECT_EQ(ReadMessage("status 2015"), Expected(MessageKind::kStatus, 2015));
}

TEST(Message, OnlyTheStatusOfANamedFileHasAName) {
    EXPECT_EQ(StatusLine(2006, "daily 1.cvd"), "status 2006 daily 1.cvd\n");
    EXPECT_EQ(StatusLine(2006, "a\nresult 1"), "status 2006 a%0Aresult 1\n");
    EXPECT_EQ(StatusLine(2005, "daily.cvd"), "status 2005\n");
    EXPECT_EQ(ReadMessage("status 2006 daily 1.cvd"),
              Expected(MessageKind::kStatus, 2006, "daily 1.cvd"));
    EXPECT_EQ(ReadMessage("status 2006 "), Expected(MessageKind::kStatus, 2006));
    EXPECT_EQ(ReadMessage("status 2006"), std::nullopt);
    EXPECT_EQ(ReadMessage("status 2005 daily.cvd"), std::nullopt);
}

TEST(Message, OtherStatusesAreNone) {
    EXPECT_EQ(ReadMessage("status 1999"), std::nullopt);
    EXPECT_EQ(ReadMessage("status 2016"), std::nullopt);
    EXPECT_EQ(ReadMessage("status 67536"), std::nullopt);  // 2000 in 16 bits
    EXPECT_EQ(ReadMessage("status "), std::nullopt);
    EXPECT_EQ(ReadMessage("status x"), std::nullopt);
    EXPECT_EQ(ReadMessage("status 2000x"), std::nullopt);
    EXPECT_EQ(ReadMessage("status -2000"), std::nullopt);
}

TEST(Message, TheLogGetsAnyText) {
    EXPECT_EQ(LogLine("50% of\n\"x\""), "log 50%25 of%0A\"x\"\n");
    EXPECT_EQ(ReadMessage("log 50%25 of%0A\"x\""), Expected(MessageKind::kLog, 0, "50% of\n\"x\""));
    EXPECT_EQ(ReadMessage("log "), Expected(MessageKind::kLog, 0));
    EXPECT_EQ(ReadMessage("log 5%"), std::nullopt);
}

TEST(Message, ALongTextIsCutToFitALine) {
    EXPECT_EQ(LogLine(std::string(5000, 'a')), "log " + std::string(4091, 'a') + "\n");
    EXPECT_EQ(StatusLine(2006, std::string(5000, 'a')),
              "status 2006 " + std::string(4083, 'a') + "\n");
}

TEST(Message, TheCandidateIsAFolderThatIsNeverCut) {
    EXPECT_EQ(CandidateLine("/d/new%1"), "candidate /d/new%251\n");
    EXPECT_EQ(ReadMessage("candidate /d/new%251"),
              Expected(MessageKind::kCandidate, 0, "/d/new%1"));
    EXPECT_EQ(CandidateLine(std::string(4085, 'a')), "candidate " + std::string(4085, 'a') + "\n");
    EXPECT_EQ(CandidateLine(std::string(4086, 'a')), std::nullopt);
}

TEST(Message, TheSwitchIsAWord) {
    EXPECT_EQ(SwitchingLine(), "switching\n");
    EXPECT_EQ(ReadMessage("switching"), Expected(MessageKind::kSwitching, 0));
    EXPECT_EQ(ReadMessage("switching "), std::nullopt);
}

TEST(Message, TheResultIsZeroToFour) {
    EXPECT_EQ(ResultLine(3), "result 3\n");
    EXPECT_EQ(ReadMessage("result 0"), Expected(MessageKind::kResult, 0));
    EXPECT_EQ(ReadMessage("result 4"), Expected(MessageKind::kResult, 4));
    EXPECT_EQ(ReadMessage("result 5"), std::nullopt);
    EXPECT_EQ(ReadMessage("result -1"), std::nullopt);
    EXPECT_EQ(ReadMessage("result "), std::nullopt);
    EXPECT_EQ(ReadMessage("result 1 "), std::nullopt);
}

TEST(Message, AnythingElseIsNone) {
    EXPECT_EQ(ReadMessage(""), std::nullopt);
    EXPECT_EQ(ReadMessage("result"), std::nullopt);
    EXPECT_EQ(ReadMessage("Result 1"), std::nullopt);
    EXPECT_EQ(ReadMessage(" result 1"), std::nullopt);
}

}  // namespace
}  // namespace updturl
