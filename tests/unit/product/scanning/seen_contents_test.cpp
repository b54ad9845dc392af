#include "product/scanning/seen_contents.h"

#include <gtest/gtest.h>
#include <span>

namespace {

bool Add(scanning::SeenContents& seen, std::string_view containers, const std::string& text) {
    return seen.Add(containers, std::as_bytes(std::span(text)));
}

TEST(SeenContentsTest, TheSameContentsInTheSameContainersAreSeenOnce) {
    scanning::SeenContents seen;
    EXPECT_TRUE(Add(seen, "/zip", "one"));
    EXPECT_FALSE(Add(seen, "/zip", "one"));
    EXPECT_TRUE(Add(seen, "/zip", "two"));
    // A signature may ask for the container.
    EXPECT_TRUE(Add(seen, "/zip/tar", "one"));
    // The one does not run into the other.
    EXPECT_TRUE(Add(seen, "/zipo", "ne"));
    seen.Clear();
    EXPECT_TRUE(Add(seen, "/zip", "one"));
}

}  // namespace
