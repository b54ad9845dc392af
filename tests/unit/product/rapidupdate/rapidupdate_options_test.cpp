#include <gtest/gtest.h>
#include <vector>

#include "product/rapidupdate/options.h"

namespace rapidupdate {
namespace {

using Words = std::vector<const char*>;

TEST(RapidupdateOptions, NoneAreTheServiceAsItIsInstalled) {
    const auto options = ParseOptions(Words{});
    ASSERT_TRUE(options);
    EXPECT_FALSE(options->isOnce || options->isLogOnScreen || options->isHelp ||
                 options->isVersion || options->firstRun);
}

TEST(RapidupdateOptions, EachIsUnderstood) {
    EXPECT_TRUE(ParseOptions(Words{"--once"})->isOnce);
    EXPECT_TRUE(ParseOptions(Words{"--log-on-screen"})->isLogOnScreen);
    EXPECT_TRUE(ParseOptions(Words{"--help"})->isHelp);
    EXPECT_TRUE(ParseOptions(Words{"--version"})->isVersion);
    EXPECT_EQ(ParseOptions(Words{"--after", "0"})->firstRun, Seconds(0));
    EXPECT_EQ(ParseOptions(Words{"--after", "604800"})->firstRun, Seconds(604800));
}

TEST(RapidupdateOptions, AnythingElseIsRefused) {
    for (const Words& words :
         {Words{"--after"}, Words{"--after", ""}, Words{"--after", "-1"}, Words{"--after", "5s"},
          Words{"--after", "604801"}, Words{"--after", "99999999999999999999"}, Words{"--twice"},
          Words{"start"}, Words{""}, Words{"--once", "--after", "5"}}) {
        EXPECT_FALSE(ParseOptions(words)) << testing::PrintToString(words);
    }
}

}  // namespace
}  // namespace rapidupdate
