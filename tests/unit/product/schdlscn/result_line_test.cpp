#include "product/schdlscn/result_line.h"

#include <gtest/gtest.h>

// What a scanner says at its end, believed no further than it is well-formed.

namespace {

using schdlscn::ReadResult;

TEST(ResultLineTest, TheScannersLineIsRead) {
    const auto result =
        ReadResult("scanned=3 infected=1 unread=2 deleted=1 repaired=0 stopped=0 seconds=12\n");
    ASSERT_TRUE(result);
    EXPECT_EQ(result->infected, 1);
    EXPECT_EQ(result->unread, 2);
    EXPECT_FALSE(result->isStopped);
    EXPECT_TRUE(ReadResult("stopped=1 unread=0 infected=4294967295\n")->isStopped);
}

TEST(ResultLineTest, AnythingElseIsNone) {
    for (const char* text :
         {"", "\n", "infected=1 unread=2 stopped=0", "infected=1 unread=2\n",
          "unread=2 stopped=0\n", "infected=1 stopped=0\n", "infected=1 unread=2 stopped=0\n\n",
          "infected=1 unread=2 stopped=0\nx", "infected=-1 unread=2 stopped=0\n",
          "infected=4294967296 unread=2 stopped=0\n", "infected= unread=2 stopped=0\n",
          "infected=1x unread=2 stopped=0\n", "infected=1  unread=2 stopped=0\n",
          "infected=1 infected=1 unread=2 stopped=0\n", "infected=1 unread=2 stopped=0 x\n"}) {
        EXPECT_FALSE(ReadResult(text)) << text;
    }
}

}  // namespace
