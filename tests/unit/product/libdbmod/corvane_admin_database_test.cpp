#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "tests/unit/product/libdbmod/corvane_admin_fixture.h"
#include "tests/unit/product/libdbmod/database_support.h"

// corvane-admin and the database's file: made, missing, a stranger's, locked, without room, read or
// killed while it is written.

namespace fs = std::filesystem;

namespace dbmod {
namespace {

constexpr char kUnchanged[] = "The settings password is unchanged.\n";

TEST_F(CorvaneAdminTest, InitMakesADatabaseOnceAndKeepsIt) {
    fs::remove(kDatabase);
    Outcome run = RunAdmin({"init"});
    EXPECT_EQ(run.exitStatus, 0);
    EXPECT_EQ(run.output, "The settings database has been made; no password is set.\n");
    EXPECT_FALSE(Stored().IsSet());
    struct stat info {};
    ASSERT_EQ(stat(kDatabase, &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0644U);
    EXPECT_EQ(info.st_uid, 0U);

    SetCheapPassword();
    run = RunAdmin({"init"});
    EXPECT_EQ(run.exitStatus, 0);
    EXPECT_EQ(run.output, "The settings database is already there.\n");
    EXPECT_EQ(Stored().hash, kCheapHash);
}

TEST_F(CorvaneAdminTest, InitReplacesNoDamagedDatabase) {
    WriteFile(kDatabase, "not a database");
    const Outcome run = RunAdmin({"init"});
    EXPECT_EQ(run.exitStatus, 1);
    EXPECT_EQ(run.errors,
              "corvane-admin: the settings database is damaged, and the settings page stays "
              "closed; to repair it, move it away, run \"corvane-admin init\" and set the password "
              "again: /usr/lib/Corvane/Corvane/settings.db\n");
    EXPECT_EQ(ReadFile(kDatabase), "not a database");
}

TEST_F(CorvaneAdminTest, InitWithoutAProductDirectorySaysSo) {
    fs::remove_all(kProduct);
    const Outcome run = RunAdmin({"init"});
    EXPECT_EQ(run.exitStatus, 1);
    EXPECT_EQ(run.errors,
              "corvane-admin: there is no product directory: /usr/lib/Corvane/Corvane/\n");
    EXPECT_FALSE(fs::exists(kProduct));
}

TEST_F(CorvaneAdminTest, AMissingDatabaseIsNotMadeByTheWay) {
    fs::remove(kDatabase);
    for (const char* command : {"set-password", "clear-password", "status"}) {
        const Outcome run = RunAdmin({command}, "secret\n");
        EXPECT_EQ(run.exitStatus, 1) << command;
        EXPECT_TRUE(run.errors.starts_with(
            "corvane-admin: there is no settings database; \"corvane-admin init\" makes one: "
            "/usr/lib/Corvane/Corvane/settings.db\n"))
            << command << ": " << run.errors;
        EXPECT_FALSE(fs::exists(kDatabase));
    }
}

TEST_F(CorvaneAdminTest, ALinkIsLeftAlone) {
    const std::string real = std::string(kProduct) + "/real.db";
    fs::rename(kDatabase, real);
    fs::create_symlink(real, kDatabase);
    const std::string before = ReadFile(real);
    for (const char* command : {"set-password", "clear-password", "status", "init"}) {
        const Outcome run = RunAdmin({command}, "secret\n");
        EXPECT_EQ(run.exitStatus, 1);
        EXPECT_NE(run.errors.find("is a link, no plain file, a stranger's or writable by others"),
                  std::string::npos);
    }
    EXPECT_EQ(ReadFile(real), before);
    fs::remove(real);
}

TEST_F(CorvaneAdminTest, ALockedDatabaseKeepsTheOldPassword) {
    SetCheapPassword();
    {
        const DatabaseLock lock(kDatabase, "BEGIN; SELECT count(*) FROM settings_password");
        for (const char* command : {"set-password", "clear-password"}) {
            const Outcome run = RunAdmin({command}, "secret\n");
            EXPECT_EQ(run.exitStatus, 1);
            EXPECT_EQ(run.errors,
                      std::string("corvane-admin: the settings database is in use by another "
                                  "process; try again: /usr/lib/Corvane/Corvane/settings.db\n") +
                          kUnchanged);
        }
    }
    EXPECT_EQ(Stored().hash, kCheapHash);
}

TEST_F(CorvaneAdminTest, AFullDiskKeepsTheOldPassword) {
    if (mount("corvane-test", kProduct, "tmpfs", 0, "size=24k,mode=755") != 0) {
        GTEST_SKIP() << "no small file system can be mounted here";
    }
    ASSERT_TRUE(CreateDatabase(kDatabase).IsOk());
    SetCheapPassword();
    {
        const common::FileDescriptor filler(open((std::string(kProduct) + "/filler").c_str(),
                                                 O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
        const std::string page(4096, 'x');
        while (write(filler.Get(), page.data(), page.size()) > 0) {
        }
    }
    for (const char* command : {"set-password", "clear-password"}) {
        const Outcome run = RunAdmin({command}, "secret\n");
        EXPECT_EQ(run.exitStatus, 1);
        EXPECT_EQ(run.errors,
                  std::string("corvane-admin: there is no room left on the disk for the settings "
                              "database: /usr/lib/Corvane/Corvane/settings.db\n") +
                      kUnchanged);
        EXPECT_EQ(Stored().hash, kCheapHash);
    }
    EXPECT_EQ(RunAdmin({"status"}).exitStatus, 0);
    fs::remove(kDatabase);
    const Outcome run = RunAdmin({"init"});
    EXPECT_EQ(run.exitStatus, 1)
        << "the room of the old database is too little for the journal too";
    EXPECT_FALSE(fs::exists(kDatabase)) << "no half-made database";
    fs::remove(std::string(kProduct) + "/filler");
    EXPECT_EQ(RunAdmin({"init"}).exitStatus, 0);
    umount2(kProduct, MNT_DETACH);
}

TEST_F(CorvaneAdminTest, StaysReadableByAllWhateverTheMask) {
    const mode_t old = umask(0077);
    EXPECT_EQ(RunAdmin({"set-password"}, "secret\n").exitStatus, 0);
    umask(old);
    struct stat info {};
    ASSERT_EQ(stat(kDatabase, &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0644U);
    EXPECT_EQ(info.st_uid, 0U);
}

TEST_F(CorvaneAdminTest, AReaderSeesTheOldOrTheNewPasswordWhileItWrites) {
    SetCheapPassword();
    std::atomic<bool> done = false;
    int wrong = 0;
    std::atomic<int> withPassword = 0;
    std::atomic<int> without = 0;
    std::thread reader([&] {
        while (!done) {
            PasswordState state;
            const DatabaseStatus status =
                ReadPasswordState(kDatabase, DatabaseAccess::kReadOnly, state).status;
            if (status == DatabaseStatus::kOk) {
                ++(state.IsSet() ? withPassword : without);
                wrong += state.IsSet() && state.hash != kCheapHash ? 1 : 0;
            } else {
                wrong += status != DatabaseStatus::kLocked ? 1 : 0;
            }
        }
    });
    // On a busy machine the reader may not get to look before the next change.
    const auto isSeenAgain = [](const std::atomic<int>& count) {
        return WaitUntil([&count, before = count.load()] { return count > before; });
    };
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(RunAdmin({"clear-password"}).exitStatus, 0);
        EXPECT_TRUE(isSeenAgain(without));
        SetCheapPassword();
        EXPECT_TRUE(isSeenAgain(withPassword));
    }
    done = true;
    reader.join();
    EXPECT_EQ(wrong, 0);
}

TEST_F(CorvaneAdminTest, KilledAtAnyMomentItLeavesTheOldOrTheNewPassword) {
    SetCheapPassword();
    for (int round = 0; round < 60; ++round) {
        const pid_t pid = fork();
        if (pid == 0) {
            dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDOUT_FILENO);
            execl(ADMIN_PROGRAM, ADMIN_PROGRAM, "clear-password", nullptr);
            _exit(127);
        }
        usleep(static_cast<useconds_t>(500 + round * 50));  // A different moment each time.
        kill(pid, SIGKILL);
        ASSERT_EQ(waitpid(pid, nullptr, 0), pid);

        const Outcome run = RunAdmin({"status"});
        ASSERT_EQ(run.exitStatus, 0) << run.errors;
        const PasswordState state = Stored();
        EXPECT_TRUE(state.hash == kCheapHash || state.hash.empty()) << state.hash;
        EXPECT_EQ(state.hash.empty(), run.output.starts_with("No settings password is set"));
        SetCheapPassword();
    }
}

}  // namespace
}  // namespace dbmod
