#include "common/text_field.h"

#include <array>
#include <gtest/gtest.h>
#include <string>

namespace {

using Field = std::array<char, 5>;

Field Dirty() {
    return {'#', '#', '#', '#', '#'};
}

TEST(CopyToField, ZeroesTheRest) {
    Field field = Dirty();
    EXPECT_TRUE(common::CopyToField(field, "ab"));
    EXPECT_EQ(field, (Field{'a', 'b', 0, 0, 0}));
    field = Dirty();
    EXPECT_TRUE(common::CopyToField(field, ""));
    EXPECT_EQ(field, (Field{0, 0, 0, 0, 0}));
}

TEST(CopyToField, AlwaysLeavesATerminator) {
    Field field = Dirty();
    EXPECT_TRUE(common::CopyToField(field, "abcd"));
    EXPECT_EQ(field, (Field{'a', 'b', 'c', 'd', 0}));
    field = Dirty();
    EXPECT_FALSE(common::CopyToField(field, "abcde"));
    EXPECT_EQ(field, (Field{'a', 'b', 'c', 'd', 0}));
}

TEST(CopyToField, WritesNothingIntoNoField) {
    EXPECT_TRUE(common::CopyToField({}, ""));
    EXPECT_FALSE(common::CopyToField({}, "a"));
    std::array<char, 1> one{'#'};
    EXPECT_FALSE(common::CopyToField(one, "a"));
    EXPECT_EQ(one[0], '\0');
}

TEST(CopyToUnterminatedField, FillsTheField) {
    Field field = Dirty();
    EXPECT_TRUE(common::CopyToUnterminatedField(field, "abcde"));
    EXPECT_EQ(field, (Field{'a', 'b', 'c', 'd', 'e'}));
    EXPECT_FALSE(common::CopyToUnterminatedField(field, "ABCDEF"));
    EXPECT_EQ(field, (Field{'A', 'B', 'C', 'D', 'E'}));
    EXPECT_TRUE(common::CopyToUnterminatedField(field, "x"));
    EXPECT_EQ(field, (Field{'x', 0, 0, 0, 0}));
}

TEST(FieldText, EndsAtTheFirstZeroOrTheField) {
    EXPECT_EQ(common::FieldText(Field{'a', 'b', 0, 'c', 0}), "ab");
    EXPECT_EQ(common::FieldText(Field{'a', 'b', 'c', 'd', 'e'}), "abcde");
    EXPECT_EQ(common::FieldText(Field{0, 'a', 0, 0, 0}), "");
    EXPECT_EQ(common::FieldText({}), "");
}

}  // namespace
