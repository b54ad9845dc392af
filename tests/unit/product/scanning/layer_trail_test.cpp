#include "product/scanning/layer_trail.h"

#include <gtest/gtest.h>

namespace {

using scanning::LayerTrail;

class LayerTrailTest : public testing::Test {
protected:
    void SetUp() override { m_trail.Entered(0, {}, -1, 0); }
    LayerTrail m_trail;
};

TEST_F(LayerTrailTest, AShortNameBecomesTheListedPath) {
    m_trail.Listed("a/");
    m_trail.Listed("a/n.txt");
    m_trail.Listed("a/n.txt");
    m_trail.Listed("b/n.txt");
    m_trail.Listed("b/n.txt");
    m_trail.Entered(1, "n.txt", 4, 0);
    EXPECT_EQ(m_trail.Path(), "a/n.txt");
    m_trail.Entered(1, "n.txt", 4, 0);
    EXPECT_EQ(m_trail.Path(), "b/n.txt");
}

TEST_F(LayerTrailTest, ANameThatWasNotListedIsTakenAsItIs) {
    m_trail.Entered(1, "etc/passwd", 4, 0);
    EXPECT_EQ(m_trail.Path(), "etc/passwd");
}

TEST_F(LayerTrailTest, UnnamedLayersLeaveNoMark) {
    m_trail.Entered(1, {}, 4, 0);
    m_trail.Entered(2, "a", 5, 0);
    EXPECT_EQ(m_trail.Path(), "a");
}

// That of an archive within other data, say.
TEST_F(LayerTrailTest, ALevelMayBeLeftOut) {
    m_trail.ExpectMembers(2, 30);
    m_trail.Entered(2, "a", 4, 10);
    m_trail.Entered(3, "inner", 5, 7);
    EXPECT_EQ(m_trail.Path(), "a/inner");
    m_trail.Entered(2, "b", 6, 20);
    EXPECT_EQ(m_trail.Path(), "b");
    EXPECT_TRUE(m_trail.AllEntered());
    m_trail.Entered(1, "c", 7, 1);
    EXPECT_EQ(m_trail.Path(), "c");
    m_trail.ExpectMembers(1, 1);
    EXPECT_FALSE(m_trail.AllEntered());
}

TEST_F(LayerTrailTest, TheListOfAnOuterArchiveOutlivesAnInnerOne) {
    m_trail.Listed("one/in.zip");
    m_trail.Listed("two/last.txt");
    m_trail.Entered(1, "in.zip", 4, 0);
    m_trail.Listed("deep/x");
    m_trail.Entered(2, "x", 5, 0);
    EXPECT_EQ(m_trail.Path(), "one/in.zip/deep/x");
    m_trail.Entered(1, "last.txt", 4, 0);
    EXPECT_EQ(m_trail.Path(), "two/last.txt");
}

TEST_F(LayerTrailTest, BackToTheLayerThatADescriptorBelongsTo) {
    m_trail.Entered(1, "a.zip", 4, 0);
    m_trail.Entered(2, "b", 5, 0);
    m_trail.BackTo(4);
    EXPECT_EQ(m_trail.Path(), "a.zip");
    m_trail.BackTo(99);
    EXPECT_EQ(m_trail.Path(), "a.zip");
    m_trail.BackTo(-1);
    EXPECT_EQ(m_trail.Path(), "");
}

TEST_F(LayerTrailTest, AHugeListCostsNoMemoryWithoutBound) {
    for (int i = 0; i < 200000; ++i) {
        m_trail.Listed("folder/" + std::to_string(i));
    }
    m_trail.Entered(1, "150000", 4, 0);
    EXPECT_EQ(m_trail.Path(), "150000");
}

TEST(LayerTrailAloneTest, ALevelWithoutItsParentsIsStillNamed) {
    LayerTrail trail;
    trail.Listed("nowhere");
    trail.Entered(3, "orphan", 7, 0);
    EXPECT_EQ(trail.Path(), "");
}

TEST_F(LayerTrailTest, EveryListedMemberMustBeEntered) {
    EXPECT_TRUE(m_trail.AllEntered());
    for (const std::uint32_t position : {1U, 1U, 2U, 2U, 1U, 2U}) {
        m_trail.Expect(position);
    }
    EXPECT_FALSE(m_trail.AllEntered());
    m_trail.Entered(1, "a", 4, 0);
    EXPECT_FALSE(m_trail.AllEntered());
    m_trail.Entered(1, "b", 4, 0);
    EXPECT_TRUE(m_trail.AllEntered());
}

TEST_F(LayerTrailTest, AMissedMemberStaysMissed) {
    m_trail.Expect(1);
    m_trail.Entered(1, "inner.zip", 4, 0);
    m_trail.Expect(1);
    m_trail.Entered(1, "next", 4, 0);
    EXPECT_FALSE(m_trail.AllEntered());
}

TEST_F(LayerTrailTest, AMemberMetWithoutAListingIsNotWaitedFor) {
    m_trail.Entered(1, "a", 4, 0);
    m_trail.Expect(0);
    m_trail.Entered(1, "b", 4, 0);
    EXPECT_TRUE(m_trail.AllEntered());
}

TEST_F(LayerTrailTest, WhatAnArchiveSaysIsInItMustHaveBeenEntered) {
    m_trail.ExpectMembers(2, 30);
    EXPECT_FALSE(m_trail.AllEntered());
    m_trail.Entered(1, "a", 4, 20);
    m_trail.Entered(1, "b", 4, 9);
    EXPECT_FALSE(m_trail.AllEntered()) << "one byte is missing";
    m_trail.Entered(1, "c", 4, 1);
    EXPECT_TRUE(m_trail.AllEntered());
    m_trail.ExpectMembers(2, 0);
    EXPECT_FALSE(m_trail.AllEntered()) << "a member is missing";
}

TEST_F(LayerTrailTest, WhatWasReadByOtherMeansNeedsNotBeEntered) {
    m_trail.Entered(1, "inner", 4, 20);
    m_trail.ExpectMembers(2, 30);
    m_trail.ExpectNothing();
    EXPECT_TRUE(m_trail.ExpectsNothing());
    EXPECT_TRUE(m_trail.AllEntered());
    m_trail.Entered(2, "in the inner one", 5, 20);
    EXPECT_TRUE(m_trail.ExpectsNothing());
    m_trail.ExpectMembers(1, 1);
    EXPECT_TRUE(m_trail.AllEntered());
    // Of the one archive only.
    m_trail.Entered(1, "other", 4, 20);
    EXPECT_FALSE(m_trail.ExpectsNothing());
    m_trail.ExpectMembers(1, 1);
    m_trail.Entered(1, "next", 4, 20);
    EXPECT_FALSE(m_trail.AllEntered());
}

}  // namespace
