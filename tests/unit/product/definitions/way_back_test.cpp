#include <filesystem>
#include <gmock/gmock.h>

#include "tests/unit/product/definitions/definitions_fixture.h"

// From a set of a private mirror to the one before, and what comes afterwards.

namespace fs = std::filesystem;

namespace {

using definitions::Outcome;
using testing::ElementsAre;

class WayBack : public DefinitionsTest {};

TEST_F(WayBack, GoesBackToTheSetBeforeUntilSomethingNewerComes) {
    ASSERT_EQ(InstallSerial(7, {{"own.ndb", OwnSignature('A'), 1}}), Outcome::kInstalled);
    ASSERT_EQ(InstallSerial(8, {{"own.ndb", OwnSignature('B'), 2}}), Outcome::kInstalled);
    EXPECT_EQ(definitions::RollBack(m_product).outcome, Outcome::kInstalled);
    EXPECT_EQ(CurrentFile("own.ndb"), OwnSignature('A'));
    EXPECT_THAT(Names(), ElementsAre("current", "held-back-2", "set-1", "set-2"));

    EXPECT_EQ(InstallSerial(8, {{"own.ndb", OwnSignature('B'), 2}}), Outcome::kUpToDate);
    EXPECT_EQ(InstallSerial(7, {{"own.ndb", OwnSignature('A'), 1}}), Outcome::kUpToDate);
    EXPECT_EQ(CurrentFile("own.ndb"), OwnSignature('A'));

    EXPECT_EQ(InstallSerial(9, {{"own.ndb", OwnSignature('C'), 3}}), Outcome::kInstalled);
    EXPECT_EQ(CurrentFile("own.ndb"), OwnSignature('C'));
    EXPECT_THAT(Names(), ElementsAre("current", "held-back-2", "set-1", "set-2", "set-3"))
        << "a way back from it would lead before what was gone back from";
    EXPECT_EQ(InstallSerial(10, {{"own.ndb", OwnSignature('D'), 4}}), Outcome::kInstalled);
    EXPECT_THAT(Names(), ElementsAre("current", "set-3", "set-4"));
}

TEST_F(WayBack, LeadsPastASetThatWasGoneBackFrom) {
    ASSERT_EQ(InstallSerial(7, {{"own.ndb", OwnSignature('A'), 1}}), Outcome::kInstalled);
    ASSERT_EQ(InstallSerial(8, {{"own.ndb", OwnSignature('B'), 2}}), Outcome::kInstalled);
    ASSERT_EQ(definitions::RollBack(m_product).outcome, Outcome::kInstalled);
    EXPECT_EQ(definitions::RollBack(m_product).outcome, Outcome::kNothingValid);
    EXPECT_EQ(CurrentFile("own.ndb"), OwnSignature('A'));
    EXPECT_EQ(InstallSerial(8, {{"own.ndb", OwnSignature('B'), 2}}), Outcome::kUpToDate)
        << "the second one forgot nothing";
    ASSERT_EQ(InstallSerial(9, {{"own.ndb", OwnSignature('C'), 3}}), Outcome::kInstalled);
    ASSERT_EQ(definitions::RollBack(m_product).outcome, Outcome::kInstalled);
    EXPECT_EQ(CurrentFile("own.ndb"), OwnSignature('A'));
}

// Files without a number: only what each set held tells that they were gone back from.
TEST_F(WayBack, ASecondOneForgetsNothingOfTheFirst) {
    ASSERT_EQ(InstallSerial(1, {{"own.ndb", OwnSignature('A'), 0}}), Outcome::kInstalled);
    ASSERT_EQ(InstallSerial(2, {{"own.ndb", OwnSignature('B'), 0}}), Outcome::kInstalled);
    ASSERT_EQ(definitions::RollBack(m_product).outcome, Outcome::kInstalled);
    ASSERT_EQ(InstallSerial(3, {{"own.ndb", OwnSignature('C'), 0}}), Outcome::kInstalled);
    ASSERT_EQ(definitions::RollBack(m_product).outcome, Outcome::kInstalled);
    EXPECT_EQ(CurrentFile("own.ndb"), OwnSignature('A'));
    EXPECT_THAT(Names(),
                ElementsAre("current", "held-back-2", "held-back-3", "set-1", "set-2", "set-3"));
    std::uint64_t serial = 100;
    for (const char refused : {'B', 'C'}) {
        EXPECT_EQ(InstallSerial(++serial, {{"own.ndb", OwnSignature(refused), 0}}),
                  Outcome::kUpToDate)
            << refused;
    }
    EXPECT_EQ(CurrentFile("own.ndb"), OwnSignature('A'));
    EXPECT_EQ(InstallSerial(++serial, {{"own.ndb", OwnSignature('D'), 0}}), Outcome::kInstalled);
    EXPECT_EQ(InstallSerial(++serial, {{"own.ndb", OwnSignature('E'), 0}}), Outcome::kInstalled);
    EXPECT_THAT(Names(), ElementsAre("current", "set-4", "set-5"))
        << "newer than all of them, and so is the way back";
}

TEST_F(WayBack, TheNewestOfAllThatWereGoneBackFromCounts) {
    ASSERT_EQ(InstallSerial(1, {{"own.ndb", OwnSignature('A'), 1}}), Outcome::kInstalled);
    ASSERT_EQ(InstallSerial(20, {{"own.ndb", OwnSignature('B'), 9}}), Outcome::kInstalled);
    ASSERT_EQ(definitions::RollBack(m_product).outcome, Outcome::kInstalled);
    // Held back as well, by hand: of a set that was made before, with less in it.
    fs::create_directory(m_defs + "set-0");
    PutIndexed(15, {{"own.ndb", OwnSignature('Z'), 5}});
    for (const char* name : {"own.ndb", "index.json"}) {
        fs::copy_file(m_candidate + name, m_defs + "set-0/" + name);
    }
    fs::create_symlink("set-0", m_defs + "held-back-0");
    EXPECT_EQ(InstallSerial(16, {{"own.ndb", OwnSignature('Y'), 10}}), Outcome::kUpToDate)
        << "an index before that of set-2";
    EXPECT_EQ(InstallSerial(21, {{"own.ndb", OwnSignature('Y'), 8}}), Outcome::kUpToDate)
        << "a file before that of set-2";
    EXPECT_EQ(InstallSerial(22, {{"own.ndb", OwnSignature('Y'), 10}}), Outcome::kInstalled);
}

TEST_F(WayBack, OneThatWasKilledBeforeTheSwitchHoldsNothingBack) {
    ASSERT_EQ(InstallSerial(7, {{"own.ndb", OwnSignature('A'), 1}}), Outcome::kInstalled);
    ASSERT_EQ(InstallSerial(8, {{"own.ndb", OwnSignature('B'), 2}}), Outcome::kInstalled);
    fs::create_symlink("set-2", m_defs + "held-back-2");
    fs::create_symlink("set-2", m_defs + "held-back-2.new");
    fs::create_symlink("set-9", m_defs + "held-back-9");
    fs::create_symlink("set-1", m_defs + "held-back-x");  // somebody else's
    EXPECT_EQ(InstallSerial(8, {{"own.ndb", OwnSignature('B'), 2}}), Outcome::kUpToDate);
    EXPECT_THAT(Names(), ElementsAre("current", "held-back-x", "set-1", "set-2"));
}

// Another mirror counts otherwise, and has the same.
TEST_F(WayBack, WhatWasGoneBackFromDoesNotComeBackUnderAnotherSerial) {
    ASSERT_EQ(
        InstallSerial(7, {{"own.ndb", OwnSignature('A'), 1}, {"b.ndb", OwnSignature('X'), 0}}),
        Outcome::kInstalled);
    ASSERT_EQ(
        InstallSerial(8, {{"own.ndb", OwnSignature('B'), 2}, {"b.ndb", OwnSignature('Y'), 0}}),
        Outcome::kInstalled);
    ASSERT_EQ(definitions::RollBack(m_product).outcome, Outcome::kInstalled);
    const std::vector<std::vector<GivenFile>> refused = {
        {{"own.ndb", OwnSignature('B'), 2}, {"b.ndb", OwnSignature('Y'), 0}},
        {{"own.ndb", OwnSignature('B'), 2}, {"b.ndb", OwnSignature('X'), 0}},
        {{"own.ndb", OwnSignature('Z'), 1}, {"b.ndb", OwnSignature('Y'), 0}},
        {{"own.ndb", OwnSignature('A'), 1}, {"b.ndb", OwnSignature('X'), 0}}};
    for (std::size_t i = 0; i < refused.size(); ++i) {
        EXPECT_EQ(InstallSerial(100 + i, refused[i]), Outcome::kUpToDate) << i;
        EXPECT_EQ(CurrentFile("own.ndb"), OwnSignature('A'));
    }
    EXPECT_EQ(
        InstallSerial(200, {{"own.ndb", OwnSignature('C'), 3}, {"b.ndb", OwnSignature('Y'), 0}}),
        Outcome::kInstalled)
        << "one that is newer";
}

TEST_F(WayBack, WithoutASetBeforeThereIsNoWayBack) {
    const auto none = definitions::RollBack(m_product);
    EXPECT_EQ(none.outcome, Outcome::kNothingValid);
    EXPECT_EQ(none.why, "there is no set to go back to");
    ASSERT_EQ(InstallSerial(7, {{"own.ndb", OwnSignature('A'), 1}}), Outcome::kInstalled);
    EXPECT_EQ(definitions::RollBack(m_product).outcome, Outcome::kNothingValid);
    EXPECT_EQ(Current(), 1U);
}

}  // namespace
