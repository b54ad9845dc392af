#include "product/definitions/backup.h"

#include <atomic>
#include <chrono>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/mount.h>
#include <thread>

#include "product/definitions/trusted_folder.h"
#include "tests/support/patient_clock.h"
#include "tests/unit/product/definitions/definitions_fixture.h"

// Copies of the update files in a folder that anybody may have chosen. The folders lie in the
// root of the sandbox: "/tmp" itself is one that others may write to.

namespace fs = std::filesystem;

// A disk that takes its time.
std::atomic<int> g_fsyncMilliseconds = 0;
extern "C" int __real_fsync(int fd);
extern "C" int __wrap_fsync(int fd) {
    std::this_thread::sleep_for(std::chrono::milliseconds(g_fsyncMilliseconds));
    return __real_fsync(fd);
}

namespace {

using definitions::BackUp;
using definitions::OpenTrustedFolder;
using definitions::Outcome;
using testing::ElementsAre;

constexpr std::time_t kNow = 1795233353;  // 2026-11-21 03:55:53 UTC
constexpr uid_t kStranger = 4711;

bool Always() {
    return true;
}

class Backup : public DefinitionsTest {
protected:
    void SetUp() override {
        if (!HasPrivateRoot() || ::geteuid() != 0) {
            GTEST_SKIP() << "needs a root of its own to make trusted folders in";
        }
        fs::create_directories(m_folder);
        fs::permissions(m_folder, fs::perms(0755));
        ASSERT_EQ(InstallSerial(7, {{"own.ndb", OwnSignature('A'), 1}}), Outcome::kInstalled);
        m_set = definitions::DefinitionFolder::Open(m_product).OpenSet(1);
    }
    void TearDown() override { fs::remove_all("/backup-test"); }

    std::string Make(std::time_t now = kNow) { return BackUp(m_set.Get(), m_folder, now, Always); }

    [[nodiscard]] std::vector<std::string> Backups() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(m_folder)) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    std::string m_folder = "/backup-test/of/corvane";
    common::FileDescriptor m_set;
};

TEST_F(Backup, HoldsTheFilesOfTheSetInADatedFolderWithAMarker) {
    EXPECT_EQ(Make(), "");
    EXPECT_THAT(Backups(), ElementsAre("corvane-definitions-20261121-035553"));
    const std::string made = m_folder + "/corvane-definitions-20261121-035553/";
    EXPECT_EQ(ReadFile(made + "own.ndb"), OwnSignature('A'));
    EXPECT_EQ(ReadFile(made + "index.json"), CurrentFile("index.json"));
    EXPECT_EQ(ReadFile(made + "index.json.minisig"), CurrentFile("index.json.minisig"));
    EXPECT_TRUE(Exists(made + ".corvane-backup"));
    EXPECT_TRUE(definitions::CandidateFromFolder(made)) << "an update can be taken from it";
}

TEST_F(Backup, TheLastFiveStay) {
    for (int second = 0; second < 7; ++second) {
        EXPECT_EQ(Make(kNow + second), "");
    }
    EXPECT_THAT(
        Backups(),
        ElementsAre("corvane-definitions-20261121-035555", "corvane-definitions-20261121-035556",
                    "corvane-definitions-20261121-035557", "corvane-definitions-20261121-035558",
                    "corvane-definitions-20261121-035559"));
}

TEST_F(Backup, TwoOfOneSecondGetNamesOfTheirOwn) {
    EXPECT_EQ(Make(), "");
    EXPECT_EQ(Make(), "");
    EXPECT_THAT(Backups(), ElementsAre("corvane-definitions-20261121-035553",
                                       "corvane-definitions-20261121-035553-2"));
}

TEST_F(Backup, WhatIsNotOursIsNeverRemoved) {
    fs::create_directory(m_folder + "/corvane-definitions-19990101-000000");
    WriteFile(m_folder + "/corvane-definitions-19990101-000000/thesis", "mine");
    fs::create_directory(m_folder + "/photos");
    WriteFile(m_folder + "/photos/.corvane-backup", "");
    fs::create_directory("/backup-test/elsewhere");
    WriteFile("/backup-test/elsewhere/.corvane-backup", "");
    WriteFile("/backup-test/elsewhere/thesis", "mine");
    fs::create_directory_symlink("/backup-test/elsewhere",
                                 m_folder + "/corvane-definitions-19990102-000000");
    // A folder of the marker's name is no marker.
    const std::string named = m_folder + "/corvane-definitions-19990103-000000/";
    fs::create_directories(named + ".corvane-backup");
    WriteFile(named + "thesis", "mine");
    for (int second = 0; second < 7; ++second) {
        EXPECT_EQ(Make(kNow + second), "");
    }
    EXPECT_EQ(Backups().size(), 9U);
    EXPECT_EQ(ReadFile(named + "thesis"), "mine");
    EXPECT_EQ(ReadFile(m_folder + "/corvane-definitions-19990101-000000/thesis"), "mine");
    EXPECT_TRUE(Exists(m_folder + "/photos/.corvane-backup"));
    EXPECT_EQ(ReadFile("/backup-test/elsewhere/thesis"), "mine");
}

TEST_F(Backup, AFolderInOneOfOursIsLeftWhereItIs) {
    EXPECT_EQ(Make(kNow - 1), "");
    const std::string old = m_folder + "/corvane-definitions-20261121-035552/";
    fs::create_directory(old + "deep");
    WriteFile(old + "deep/thesis", "mine");
    for (int second = 0; second < 6; ++second) {
        EXPECT_EQ(Make(kNow + second), "");
    }
    EXPECT_EQ(ReadFile(old + "deep/thesis"), "mine");
    EXPECT_FALSE(Exists(old + "own.ndb"));
}

TEST_F(Backup, OneThatWasKilledGoesAtTheNext) {
    fs::create_directory(m_folder + "/corvane-definitions-20261120-000000.unfinished");
    WriteFile(m_folder + "/corvane-definitions-20261120-000000.unfinished/.corvane-backup", "");
    WriteFile(m_folder + "/corvane-definitions-20261120-000000.unfinished/own.ndb", "half");
    EXPECT_EQ(Make(), "");
    EXPECT_THAT(Backups(), ElementsAre("corvane-definitions-20261121-035553"));
}

// As a power cut may leave one that was just begun; it would be in the way of another's removal,
// too.
TEST_F(Backup, AnEmptyOneThatWasJustBegunGoesAtTheNext) {
    fs::create_directory(m_folder + "/corvane-definitions-20261121-035553.unfinished");
    fs::create_directory(m_folder + "/corvane-definitions-20200101-000000.unfinished");
    EXPECT_EQ(Make(), "");
    EXPECT_THAT(Backups(), ElementsAre("corvane-definitions-20261121-035553"));
}

TEST_F(Backup, NoFolderIsTrustedThatOthersCouldTurnIntoAnother) {
    const auto objection = [](const std::string& path) {
        std::string why;
        EXPECT_FALSE(OpenTrustedFolder(path, why)) << path;
        return why;
    };
    EXPECT_EQ(objection(""), ": it is no absolute path");
    EXPECT_EQ(objection("backup-test"), "backup-test: it is no absolute path");
    EXPECT_EQ(objection("/backup-test/missing"), "/backup-test/missing: No such file or directory");
    EXPECT_EQ(objection("/backup-test/of/../of"), "/backup-test/of/..: a path may not lead up");
    fs::create_directory_symlink("/backup-test/of", "/backup-test/link");
    EXPECT_EQ(objection("/backup-test/link/corvane"), "/backup-test/link: Not a directory");
    fs::permissions("/backup-test/of", fs::perms(0775));
    EXPECT_EQ(objection(m_folder), "/backup-test/of: others may write to it");
    fs::permissions("/backup-test/of", fs::perms(01777));
    EXPECT_EQ(objection(m_folder), "/backup-test/of: others may write to it");
    fs::permissions("/backup-test/of", fs::perms(0755));
    ASSERT_EQ(::chown("/backup-test/of", kStranger, 0), 0);
    EXPECT_EQ(objection(m_folder), "/backup-test/of: it belongs to another user");
    ASSERT_EQ(::chown("/backup-test/of", 0, 0), 0);
    std::string why;
    EXPECT_TRUE(OpenTrustedFolder(m_folder, why)) << why;
    EXPECT_TRUE(OpenTrustedFolder("//backup-test//of/./corvane/", why)) << why;
}

// Made in the set in use it would keep every later set from being made.
TEST_F(Backup, NoneIsMadeInTheProductsOwnFolder) {
    const std::string set = "/backup-test/product/defs/set-1";
    fs::create_directories(set);
    WriteFile(set + "/own.ndb", OwnSignature('A'));
    fs::create_directory("/backup-test/bound");
    ASSERT_EQ(::mount("/backup-test/product", "/backup-test/bound", nullptr, MS_BIND, nullptr), 0);
    m_set.Reset(::open(set.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const auto refusal = [&](const std::string& folder) {
        m_folder = folder;
        return Make();
    };
    fs::create_directory("/backup-test/product/own");
    for (const std::string product : {"/backup-test/product", "/backup-test/bound"}) {
        const std::string words = product + ": it belongs to the product itself";
        for (const std::string below : {"", "/own", "/defs", "/defs/set-1"}) {
            EXPECT_EQ(refusal(product + below), words);
        }
    }
    ::umount2("/backup-test/bound", MNT_DETACH);
    EXPECT_EQ(std::distance(fs::directory_iterator(set), {}), 1);
    fs::create_directory("/backup-test/product-not");
    EXPECT_EQ(refusal("/backup-test/product-not"), "");
}

TEST_F(Backup, AnotherUserTrustsRootAndItself) {
    ASSERT_EQ(::chown(m_folder.c_str(), kStranger, 0), 0);
    EXPECT_EQ(InChild([&] {
                  std::string why;
                  return ::setresuid(kStranger, kStranger, kStranger) == 0 &&
                                 OpenTrustedFolder(m_folder, why)
                             ? 0
                             : 1;
              }),
              0);
    EXPECT_EQ(InChild([&] {
                  std::string why;
                  return ::setresuid(kStranger + 1, kStranger + 1, kStranger + 1) == 0 &&
                                 !OpenTrustedFolder(m_folder, why)
                             ? 0
                             : 1;
              }),
              0);
}

TEST_F(Backup, AFullDiskIsToldAndLeavesNothing) {
    const TinyDisk disk(m_folder, "16k");
    ASSERT_TRUE(disk.IsMounted());
    fs::permissions(m_folder, fs::perms(0755));
    WriteFile(m_folder + "/filler", std::string(8192, 'x'));
    EXPECT_EQ(Make(), "own.ndb: there is no room left on the disk");
    EXPECT_THAT(Backups(), ElementsAre("filler"));
}

TEST_F(Backup, StopsWhereItIsAndLeavesNothing) {
    int asked = 0;
    EXPECT_EQ(BackUp(m_set.Get(), m_folder, kNow, [&] { return ++asked < 4; }), "stopped");
    EXPECT_EQ(Backups(), std::vector<std::string>());
}

TEST_F(Backup, IsMadeOfWhatIsInstalled) {
    m_options.backupFolder = m_folder;
    ASSERT_EQ(InstallSerial(8, {{"own.ndb", OwnSignature('B'), 2}}), Outcome::kInstalled);
    ASSERT_EQ(Backups().size(), 1U);
    EXPECT_EQ(ReadFile(m_folder + "/" + Backups().front() + "/own.ndb"), OwnSignature('B'));
    EXPECT_EQ(m_listener.log, "");
    EXPECT_EQ(InstallSerial(8, {{"own.ndb", OwnSignature('B'), 2}}), Outcome::kUpToDate);
    EXPECT_EQ(Backups().size(), 1U) << "nothing new, nothing to keep";
}

TEST_F(Backup, OnASlowDiskTheListenerIsAskedAllTheSame) {
    class SlowAtBackup : public Listener {
    public:
        bool GoOn(definitions::InstallStep step) override {
            const auto now = PatientClock::now();
            if (step == definitions::InstallStep::kBackup) {
                g_fsyncMilliseconds = 600;
                longest = std::max(longest, now - last);
            }
            last = now;
            return true;
        }
        PatientClock::time_point last = PatientClock::now();
        PatientClock::duration longest{};
    } listener;
    m_options.backupFolder = m_folder;
    PutIndexed(8, {{"own.ndb", OwnSignature('B'), 2}});
    EXPECT_EQ(definitions::Install({m_candidate}, m_options, listener).outcome,
              Outcome::kInstalled);
    g_fsyncMilliseconds = 0;
    EXPECT_EQ(Backups().size(), 1U);
    EXPECT_LT(listener.longest, std::chrono::milliseconds(400));
}

TEST_F(Backup, OneThatCannotBeMadeIsToldAndStopsNothing) {
    m_options.backupFolder = "/tmp";
    EXPECT_EQ(InstallSerial(8, {{"own.ndb", OwnSignature('B'), 2}}), Outcome::kInstalled);
    EXPECT_EQ(m_listener.log,
              "no backup of the update files was made in /tmp: /tmp: others may write to it\n");
    EXPECT_EQ(CurrentFile("own.ndb"), OwnSignature('B'));
}

}  // namespace
