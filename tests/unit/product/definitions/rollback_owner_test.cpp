#include "product/definitions/update_lock.h"
#include "tests/unit/product/definitions/definitions_fixture.h"

// Root goes back in a folder that belongs to the updater's user.

namespace {

using definitions::Outcome;

constexpr uid_t kUpdater = 4711;
constexpr gid_t kGroup = 4712;

class RollbackOwner : public DefinitionsTest {
protected:
    void SetUp() override {
        if (!InSandbox() || ::geteuid() != 0) {
            GTEST_SKIP() << "only root gives files away";
        }
        GiveAway();
    }

    void GiveAway() const {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(m_defs)) {
            ASSERT_EQ(::lchown(entry.path().c_str(), kUpdater, kGroup), 0);
        }
        ASSERT_EQ(::chown(m_defs.c_str(), kUpdater, kGroup), 0);
    }

    void ExpectAllItsOwn() const {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(m_defs)) {
            struct stat status {};
            ASSERT_EQ(::lstat(entry.path().c_str(), &status), 0);
            EXPECT_EQ(status.st_uid, kUpdater) << entry.path();
            EXPECT_EQ(status.st_gid, kGroup) << entry.path();
        }
    }

    // As the updater's user, whether it gets the lock.
    [[nodiscard]] bool UpdaterGetsTheLock() const {
        const auto folder = definitions::DefinitionFolder::Open(m_product);
        return InChild([&] {
                   return ::setresuid(kUpdater, kUpdater, kUpdater) == 0 &&
                                  definitions::UpdateLock(folder.Get()).IsHeld()
                              ? 0
                              : 1;
               }) == 0;
    }
};

TEST_F(RollbackOwner, BeforeTheFirstUpdateTheLockIsTheUpdaters) {
    EXPECT_EQ(definitions::RollBack(m_product).outcome, Outcome::kNothingValid);
    EXPECT_TRUE(Exists(m_defs + "lock"));
    ExpectAllItsOwn();
    EXPECT_TRUE(UpdaterGetsTheLock());
    EXPECT_EQ(::geteuid(), 0U) << "root again";
    EXPECT_EQ(::getegid(), 0U);
}

TEST_F(RollbackOwner, WhatItMakesIsTheUpdaters) {
    ASSERT_EQ(InstallSerial(7, {{"own.ndb", OwnSignature('A'), 1}}), Outcome::kInstalled);
    ASSERT_EQ(InstallSerial(8, {{"own.ndb", OwnSignature('B'), 2}}), Outcome::kInstalled);
    GiveAway();
    EXPECT_EQ(definitions::RollBack(m_product).outcome, Outcome::kInstalled);
    EXPECT_EQ(CurrentFile("own.ndb"), OwnSignature('A'));
    EXPECT_TRUE(Exists(m_defs + "held-back-2"));
    ExpectAllItsOwn();
    EXPECT_TRUE(UpdaterGetsTheLock());
}

}  // namespace
