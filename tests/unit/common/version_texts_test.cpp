#include "common/version_texts.h"

#include <gtest/gtest.h>

namespace {

TEST(VersionTexts, AreTheNumberTheDateAndTheTime) {
    const common::VersionTexts texts = common::TextsOf({17, 5, {2026, 11, 0, 2, 3, 4, 5, 999}});
    EXPECT_EQ(texts.version, "  17.05");
    EXPECT_EQ(texts.date, "  02 November 2026");
    EXPECT_EQ(texts.time, " [03:04:05]");
}

TEST(VersionTexts, OfTheLargestNumbers) {
    EXPECT_EQ(common::TextsOf({65535, 65535, {2026, 1, 0, 31, 23, 59, 59, 0}}).version,
              "  65535.65535");
    EXPECT_EQ(common::TextsOf({1, 100, {2026, 1, 0, 31, 23, 59, 59, 0}}).version, "  1.100");
}

TEST(VersionTexts, OfAnEngineThatIsNotThere) {
    EXPECT_EQ(common::TextsOf({}).version, "  0.00");
    EXPECT_EQ(common::TextsOf({}).time, " [00:00:00]");
}

}  // namespace
