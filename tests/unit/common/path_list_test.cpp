#include "common/path_list.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>

namespace {

class PathList : public testing::Test {
protected:
    ~PathList() override { common::FreePathList(m_head, m_tail); }
    bool Append(const std::string& path) {
        return common::AppendPath(m_head, m_tail, path.c_str());
    }

    tagPathList* m_head = nullptr;
    tagPathList* m_tail = nullptr;
};

TEST_F(PathList, KeepsTheOrder) {
    ASSERT_TRUE(Append("/one"));
    EXPECT_EQ(m_head, m_tail);
    ASSERT_TRUE(Append("/two"));
    ASSERT_TRUE(Append("/three"));
    EXPECT_STREQ(m_head->path, "/one");
    EXPECT_STREQ(m_head->next->path, "/two");
    EXPECT_STREQ(m_head->next->next->path, "/three");
    EXPECT_EQ(m_head->next->next, m_tail);
    EXPECT_EQ(m_tail->next, nullptr);
}

TEST_F(PathList, TakesPathsByteForByte) {
    ASSERT_TRUE(Append("/\xFF\xFE\n<b>"));
    EXPECT_STREQ(m_head->path, "/\xFF\xFE\n<b>");
}

TEST_F(PathList, PassesOverWhatDoesNotFit) {
    const std::string longest(255, 'p');
    ASSERT_TRUE(Append(longest));
    EXPECT_FALSE(Append(longest + "p"));
    EXPECT_FALSE(common::AppendPath(m_head, m_tail, nullptr));
    EXPECT_EQ(m_head->path, longest);
    EXPECT_EQ(m_head->next, nullptr);
    EXPECT_EQ(m_tail, m_head);
}

TEST_F(PathList, CopiesAreTheirOwn) {
    EXPECT_EQ(common::CopyPathList(nullptr), nullptr);
    ASSERT_TRUE(Append("/one"));
    ASSERT_TRUE(Append("/two"));
    std::memset(m_tail->path, 'x', sizeof m_tail->path);  // all 256 bytes are copied
    tagPathList* copy = common::CopyPathList(m_head);
    tagPathList* const first = copy;
    EXPECT_NE(copy, m_head);
    EXPECT_STREQ(copy->path, "/one");
    EXPECT_NE(copy->next, m_head->next);
    EXPECT_EQ(std::memcmp(copy->next->path, m_tail->path, 256), 0);
    EXPECT_EQ(copy->next->next, nullptr);
    m_head->path[1] = 'X';
    EXPECT_STREQ(first->path, "/one");
    tagPathList* tail = nullptr;
    common::FreePathList(copy, tail);
}

TEST_F(PathList, FreeingLeavesAnEmptyList) {
    ASSERT_TRUE(Append("/one"));
    ASSERT_TRUE(Append("/two"));
    common::FreePathList(m_head, m_tail);
    EXPECT_EQ(m_head, nullptr);
    EXPECT_EQ(m_tail, nullptr);
    common::FreePathList(m_head, m_tail);
    ASSERT_TRUE(Append("/again"));
    EXPECT_STREQ(m_head->path, "/again");
}

TEST(PathListGlobals, StartEmpty) {
    EXPECT_EQ(g_pPLstHead, nullptr);
    EXPECT_EQ(g_pPLstCurr, nullptr);
}

}  // namespace
