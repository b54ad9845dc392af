#include "product/libdbmod/settings_database.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "tests/unit/product/libdbmod/database_support.h"

namespace dbmod {
namespace {

namespace fs = std::filesystem;

// Another valid hash, so that old and new can be told apart without hashing.
constexpr char kOtherHash[] =
    "$y$j7T$abcdefghijklmnopqrstu.$Fdaij1yJzLNcUyCrX4dQZE7t3ZhZ5Bttc7KJaJPxQ3.";

class SettingsDatabaseTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(CreateDatabase(m_path).IsOk()); }

    DatabaseStatus Read(DatabaseAccess access = DatabaseAccess::kReadOnly) {
        m_state = {"untouched", -1};
        return ReadPasswordState(m_path, access, m_state).status;
    }

    void Store(const std::string& hash) {
        ASSERT_TRUE(WritePasswordState(m_path, {hash, 1'700'000'000}).IsOk());
    }

    [[nodiscard]] std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(m_directory.Path())) {
            names.push_back(entry.path().filename().string());
        }
        return names;
    }

    ScratchFolder m_directory;
    std::string m_path = m_directory / "settings.db";
    PasswordState m_state;
};

TEST_F(SettingsDatabaseTest, FreshDatabaseHasNoPassword) {
    ASSERT_EQ(Read(), DatabaseStatus::kOk);
    EXPECT_FALSE(m_state.IsSet());
    EXPECT_EQ(m_state.changedAt, 0);
}

TEST_F(SettingsDatabaseTest, FreshDatabaseIsReadableByAllAndAlone) {
    struct stat info {};
    ASSERT_EQ(stat(m_path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0644U);
    EXPECT_EQ(info.st_nlink, 1U);
    EXPECT_EQ(Names(), std::vector<std::string>{"settings.db"});
}

TEST_F(SettingsDatabaseTest, ModeDoesNotDependOnTheMask) {
    const mode_t old = umask(0077);
    const std::string path = m_directory / "masked.db";
    EXPECT_TRUE(CreateDatabase(path).IsOk());
    umask(old);
    struct stat info {};
    ASSERT_EQ(stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0644U);
}

TEST_F(SettingsDatabaseTest, StoresChangesAndClears) {
    Store(kCheapHash);
    ASSERT_EQ(Read(), DatabaseStatus::kOk);
    EXPECT_EQ(m_state.hash, kCheapHash);
    EXPECT_EQ(m_state.changedAt, 1'700'000'000);

    Store(kOtherHash);
    ASSERT_EQ(Read(), DatabaseStatus::kOk);
    EXPECT_EQ(m_state.hash, kOtherHash);

    Store("");
    ASSERT_EQ(Read(), DatabaseStatus::kOk);
    EXPECT_FALSE(m_state.IsSet());
    EXPECT_EQ(m_state.changedAt, 1'700'000'000);
    EXPECT_EQ(Names(), std::vector<std::string>{"settings.db"}) << "no journal stays";
}

TEST_F(SettingsDatabaseTest, AnOldHashDoesNotStayInTheFile) {
    Store(kCheapHash);
    ASSERT_NE(ReadFile(m_path).find(kCheapHash), std::string::npos);
    Store("");
    EXPECT_EQ(ReadFile(m_path).find("$y$j7T$"), std::string::npos);
    Store(kCheapHash);
    EXPECT_EQ(ReadFile(m_path).find("no password is set"), std::string::npos);
}

TEST_F(SettingsDatabaseTest, CreatingReplacesNothing) {
    Store(kCheapHash);
    const std::string before = ReadFile(m_path);
    EXPECT_EQ(CreateDatabase(m_path).status, DatabaseStatus::kExists);
    EXPECT_EQ(ReadFile(m_path), before);
    EXPECT_EQ(Names(), std::vector<std::string>{"settings.db"});

    const std::string link = m_directory / "link.db";
    fs::create_symlink("nowhere", link);
    EXPECT_EQ(CreateDatabase(link).status, DatabaseStatus::kExists);
    EXPECT_EQ(CreateDatabase(m_directory / "no/settings.db").status, DatabaseStatus::kMissing);
}

TEST_F(SettingsDatabaseTest, ReadingChangesNothing) {
    Store(kCheapHash);
    const auto before = fs::last_write_time(m_directory.Path());
    const auto fileBefore = fs::last_write_time(m_path);
    ASSERT_EQ(Read(), DatabaseStatus::kOk);
    EXPECT_EQ(fs::last_write_time(m_path), fileBefore);
    EXPECT_EQ(fs::last_write_time(m_directory.Path()), before);
}

TEST_F(SettingsDatabaseTest, MissingDatabaseIsAnErrorAndIsNotMade) {
    fs::remove(m_path);
    EXPECT_EQ(Read(), DatabaseStatus::kMissing);
    EXPECT_EQ(Read(DatabaseAccess::kReadWrite), DatabaseStatus::kMissing);
    EXPECT_EQ(WritePasswordState(m_path, {kCheapHash, 1}).status, DatabaseStatus::kMissing);
    EXPECT_EQ(m_state.hash, "untouched");
    EXPECT_TRUE(Names().empty());
}

TEST_F(SettingsDatabaseTest, LinksAndThingsThatAreNoFilesAreNotTrusted) {
    const std::string real = m_directory / "real.db";
    fs::rename(m_path, real);
    fs::create_symlink(real, m_path);
    EXPECT_EQ(Read(), DatabaseStatus::kUntrusted);
    EXPECT_EQ(WritePasswordState(m_path, {kCheapHash, 1}).status, DatabaseStatus::kUntrusted);

    fs::remove(m_path);
    ASSERT_EQ(mkfifo(m_path.c_str(), 0644), 0);
    EXPECT_EQ(Read(), DatabaseStatus::kUntrusted) << "and does not wait for the pipe's other end";

    fs::remove(m_path);
    fs::create_directory(m_path);
    EXPECT_EQ(Read(), DatabaseStatus::kUntrusted);
}

TEST_F(SettingsDatabaseTest, ALinkOnTheWayToTheDirectoryIsFollowed) {
    Store(kCheapHash);
    const std::string link = m_directory / "product";
    fs::create_directory_symlink(m_directory.Path(), link);
    m_path = link + "/settings.db";
    ASSERT_EQ(Read(), DatabaseStatus::kOk);
    EXPECT_EQ(m_state.hash, kCheapHash);
}

TEST_F(SettingsDatabaseTest, WhatOthersMayWriteIsNotTrusted) {
    for (const mode_t mode : {0666U, 0664U, 0646U}) {
        ASSERT_EQ(chmod(m_path.c_str(), mode), 0);
        EXPECT_EQ(Read(), DatabaseStatus::kUntrusted) << std::oct << mode;
    }
    ASSERT_EQ(chmod(m_path.c_str(), 0644), 0);
    EXPECT_EQ(Read(), DatabaseStatus::kOk);
}

TEST_F(SettingsDatabaseTest, AStrangersFileIsNotTrusted) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can give a file away";
    }
    ASSERT_EQ(chown(m_path.c_str(), kNobody, kNobody), 0);
    EXPECT_EQ(Read(), DatabaseStatus::kUntrusted);
}

TEST_F(SettingsDatabaseTest, WithoutPermissionThereIsNoAnswer) {
    ASSERT_EQ(chmod(m_path.c_str(), 0), 0);
    const auto read = [&] { return static_cast<int>(Read()); };
    ASSERT_EQ(chmod(m_directory.Path().c_str(), 0755), 0);
    const int status = geteuid() == 0 ? RunAsNobody(read) : read();
    EXPECT_EQ(status, static_cast<int>(DatabaseStatus::kForbidden));
}

TEST_F(SettingsDatabaseTest, OrdinaryUsersReadAndDoNotWrite) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    Store(kCheapHash);
    ASSERT_EQ(chmod(m_directory.Path().c_str(), 0755), 0);
    EXPECT_EQ(RunAsNobody([&] {
                  return Read() == DatabaseStatus::kOk && m_state.hash == kCheapHash ? 0 : 1;
              }),
              0);
    EXPECT_EQ(RunAsNobody([&] {
                  return static_cast<int>(WritePasswordState(m_path, {"", 1}).status);
              }),
              static_cast<int>(DatabaseStatus::kForbidden));
    ASSERT_EQ(Read(), DatabaseStatus::kOk);
    EXPECT_EQ(m_state.hash, kCheapHash);
}

TEST_F(SettingsDatabaseTest, LockedDatabaseAnswersSoonAndNotWithNoPassword) {
    const DatabaseLock lock(m_path);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Read(), DatabaseStatus::kLocked);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
    EXPECT_EQ(m_state.hash, "untouched");
}

TEST_F(SettingsDatabaseTest, AReaderThatStaysKeepsTheWriterOutButNotOtherReaders) {
    Store(kCheapHash);
    const DatabaseLock lock(m_path, "BEGIN; SELECT count(*) FROM settings_password");
    EXPECT_EQ(WritePasswordState(m_path, {kOtherHash, 1}).status, DatabaseStatus::kLocked);
    ASSERT_EQ(Read(), DatabaseStatus::kOk);
    EXPECT_EQ(m_state.hash, kCheapHash);
}

TEST_F(SettingsDatabaseTest, ThreadsReadAtTheSameTimeWhileAPasswordIsChanged) {
    Store(kCheapHash);
    std::atomic<bool> done = false;
    std::atomic<int> answers = 0;
    std::atomic<int> wrong = 0;
    std::vector<std::thread> readers;
    readers.reserve(3);
    for (int i = 0; i < 3; ++i) {
        readers.emplace_back([&] {
            while (!done) {
                PasswordState state;
                const DatabaseStatus status =
                    ReadPasswordState(m_path, DatabaseAccess::kReadOnly, state).status;
                if (status == DatabaseStatus::kOk) {
                    ++answers;
                    wrong += state.hash != kCheapHash && state.hash != kOtherHash ? 1 : 0;
                } else {
                    wrong += status != DatabaseStatus::kLocked ? 1 : 0;
                }
            }
        });
    }
    int stored = 0;
    for (int i = 0; i < 60; ++i) {
        const char* hash = i % 2 == 0 ? kOtherHash : kCheapHash;
        stored += WritePasswordState(m_path, {hash, i}).IsOk() ? 1 : 0;
    }
    done = true;
    for (std::thread& reader : readers) {
        reader.join();
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(answers, 0);
    EXPECT_GT(stored, 0);
}

/// Kills a process that stores passwords as fast as it can, and looks at what it left.
TEST_F(SettingsDatabaseTest, AWriterKilledHalfWayLeavesTheOldOrTheNewPassword) {
    Store(kCheapHash);
    int interrupted = 0;
    for (int round = 0; round < 150; ++round) {
        const pid_t writer = fork();
        if (writer == 0) {
            for (int i = 0;; ++i) {
                WritePasswordState(m_path, {i % 2 == 0 ? kOtherHash : kCheapHash, i});
            }
        }
        // No wait for a condition: the point is to strike at a different moment each time.
        usleep(static_cast<useconds_t>(500 + round * 37));
        kill(writer, SIGKILL);
        ASSERT_EQ(waitpid(writer, nullptr, 0), writer);

        const DatabaseStatus status = Read();
        if (status == DatabaseStatus::kOk) {
            EXPECT_TRUE(m_state.hash == kCheapHash || m_state.hash == kOtherHash) << m_state.hash;
        } else {
            EXPECT_EQ(status, DatabaseStatus::kInterrupted);
            ++interrupted;
        }
        ASSERT_EQ(Read(DatabaseAccess::kReadWrite), DatabaseStatus::kOk) << "a writer rolls back";
        EXPECT_TRUE(m_state.hash == kCheapHash || m_state.hash == kOtherHash) << m_state.hash;
        EXPECT_EQ(Read(), DatabaseStatus::kOk);
    }
    RecordProperty("interrupted", interrupted);
}

TEST_F(SettingsDatabaseTest, AJournalLeftByAKilledWriterIsNoAnswerUntilAWriterUndoesIt) {
    Store(kCheapHash);
    const std::string journal = m_path + "-journal";
    const std::string copy = m_directory / "copy.db";
    {
        // A writer with its pages written and its journal still there, copied as a crash leaves it.
        const DatabaseLock writer(
            m_path,
            "PRAGMA cache_size = 1; PRAGMA cache_spill = 1; BEGIN EXCLUSIVE;"
            "UPDATE settings_password SET secret = 'no password is set', changed_at = 5;"
            "CREATE TABLE filler (x);"
            "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 200)"
            " INSERT INTO filler SELECT randomblob(4000) FROM n");
        ASSERT_TRUE(fs::exists(journal));
        fs::copy_file(m_path, copy);
        fs::copy_file(journal, copy + "-journal");
    }
    fs::remove(m_path);
    m_path = copy;
    EXPECT_EQ(Read(), DatabaseStatus::kInterrupted);
    EXPECT_EQ(m_state.hash, "untouched");
    ASSERT_EQ(Read(DatabaseAccess::kReadWrite), DatabaseStatus::kOk);
    EXPECT_EQ(m_state.hash, kCheapHash);
    EXPECT_EQ(Read(), DatabaseStatus::kOk);
}

TEST_F(SettingsDatabaseTest, ANewDatabaseTakesNothingFromTheJournalOfOneThatWasMovedAway) {
    Store(kCheapHash);
    const std::string journal = m_path + "-journal";
    const std::string kept = m_directory / "kept";
    {
        const DatabaseLock writer(m_path,
                                  "PRAGMA cache_size = 1; BEGIN EXCLUSIVE;"
                                  "UPDATE settings_password SET changed_at = 5;"
                                  "CREATE TABLE filler (x);"
                                  "WITH RECURSIVE n(i) AS"
                                  " (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 200)"
                                  " INSERT INTO filler SELECT randomblob(4000) FROM n");
        fs::copy_file(journal, kept);
    }
    fs::remove(m_path);
    fs::rename(kept, journal);
    ASSERT_TRUE(CreateDatabase(m_path).IsOk());
    EXPECT_FALSE(fs::exists(journal));
    ASSERT_EQ(Read(DatabaseAccess::kReadWrite), DatabaseStatus::kOk);
    EXPECT_FALSE(m_state.IsSet());

    // One that has its database is another's, at work.
    WriteFile(journal, "at work");
    EXPECT_EQ(CreateDatabase(m_path).status, DatabaseStatus::kExists);
    EXPECT_EQ(ReadFile(journal), "at work");
}

TEST_F(SettingsDatabaseTest, AFailedWriteKeepsTheOldPassword) {
    Store(kCheapHash);
    const pid_t writer = fork();
    if (writer == 0) {
        constexpr rlimit kSmall{512, 512};
        std::signal(SIGXFSZ, SIG_IGN);
        setrlimit(RLIMIT_FSIZE, &kSmall);
        _exit(static_cast<int>(WritePasswordState(m_path, {kOtherHash, 1}).status));
    }
    int status = 0;
    ASSERT_EQ(waitpid(writer, &status, 0), writer);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), static_cast<int>(DatabaseStatus::kDiskFull));
    ASSERT_EQ(Read(DatabaseAccess::kReadWrite), DatabaseStatus::kOk);
    EXPECT_EQ(m_state.hash, kCheapHash);
}

}  // namespace
}  // namespace dbmod
