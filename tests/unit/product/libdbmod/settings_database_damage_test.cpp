#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "product/libdbmod/settings_database.h"
#include "tests/unit/product/libdbmod/database_support.h"

// Damage and hostile content: the answer may be an error or, where the damage does not matter, the
// truth. It is never "no password".

namespace dbmod {
namespace {

class DamagedDatabaseTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(CreateDatabase(m_path).IsOk());
        ASSERT_TRUE(WritePasswordState(m_path, {kCheapHash, 1'700'000'000}).IsOk());
        m_sound = ReadFile(m_path);
    }

    DatabaseStatus Read() {
        m_state = {};
        return ReadPasswordState(m_path, DatabaseAccess::kReadOnly, m_state).status;
    }

    /// The one thing that must never happen, and the answers that may.
    void ExpectErrorOrTruth(const std::string& damage) {
        const DatabaseStatus status = Read();
        if (status == DatabaseStatus::kOk) {
            EXPECT_EQ(m_state.hash, kCheapHash) << damage;
            EXPECT_EQ(m_state.changedAt, 1'700'000'000) << damage;
            ++m_truths;
        } else {
            EXPECT_FALSE(m_state.IsSet()) << damage << ": an error must not hand out half a state";
            ++m_errors;
        }
    }

    /// The database as it is, but for what `sql` does to it; then read.
    DatabaseStatus ReadAfter(const std::string& sql) {
        WriteFile(m_path, m_sound);
        RunSql(m_path, sql);
        return Read();
    }

    ScratchFolder m_directory;
    std::string m_path = m_directory / "settings.db";
    std::string m_sound;
    PasswordState m_state;
    int m_truths = 0;
    int m_errors = 0;
};

TEST_F(DamagedDatabaseTest, EveryFlippedBit) {
    const common::FileDescriptor file(open(m_path.c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_TRUE(file);
    int flips = 0;
    for (std::size_t offset = 0; offset < m_sound.size(); ++offset) {
        for (unsigned int bit = 0; bit < 8; ++bit) {
            // In the empty middle of a page one bit a byte is enough.
            if (m_sound[offset] == '\0' && offset > 128 && offset % 16 != bit) {
                continue;
            }
            const char flipped = static_cast<char>(m_sound[offset] ^ (1 << bit));
            const auto position = static_cast<off_t>(offset);
            ASSERT_EQ(pwrite(file.Get(), &flipped, 1, position), 1);
            ExpectErrorOrTruth("bit " + std::to_string(bit) + " of byte " + std::to_string(offset));
            ASSERT_EQ(pwrite(file.Get(), &m_sound[offset], 1, position), 1);
            ++flips;
        }
    }
    EXPECT_GT(flips, 3000);
    EXPECT_GT(m_errors, 1000) << "what holds the hash was hit";
    EXPECT_EQ(Read(), DatabaseStatus::kOk) << "and all was put back";
}

TEST_F(DamagedDatabaseTest, EveryTruncation) {
    for (std::size_t length = 0; length < m_sound.size(); length += length < 512 ? 1 : 61) {
        WriteFile(m_path, std::string_view(m_sound).substr(0, length));
        EXPECT_NE(Read(), DatabaseStatus::kOk) << length;
    }
}

TEST_F(DamagedDatabaseTest, ZeroedPiecesAndForeignFiles) {
    for (std::size_t offset = 0; offset < m_sound.size(); offset += 32) {
        std::string damaged = m_sound;
        damaged.replace(offset, 64,
                        std::string(std::min<std::size_t>(64, m_sound.size() - offset), '\0'));
        WriteFile(m_path, damaged);
        ExpectErrorOrTruth("64 bytes from " + std::to_string(offset) + " zeroed");
    }
    for (const std::string& content :
         {std::string(8192, '\0'), std::string(8192, '\xff'), std::string("no password is set"),
          m_sound.substr(4096), m_sound.substr(0, 4096) + m_sound.substr(0, 4096)}) {
        WriteFile(m_path, content);
        EXPECT_NE(Read(), DatabaseStatus::kOk);
    }
}

TEST_F(DamagedDatabaseTest, AWriterTouchesNoDamagedDatabase) {
    const std::string damaged = m_sound.substr(0, 5000);
    WriteFile(m_path, damaged);
    EXPECT_EQ(WritePasswordState(m_path, {"", 1}).status, DatabaseStatus::kDamaged);
    EXPECT_EQ(ReadFile(m_path), damaged);
}

TEST_F(DamagedDatabaseTest, SomeoneElsesDatabase) {
    EXPECT_EQ(ReadAfter("PRAGMA application_id = 1"), DatabaseStatus::kDamaged);
    EXPECT_EQ(ReadAfter("PRAGMA user_version = 2"), DatabaseStatus::kDamaged);
    EXPECT_EQ(ReadAfter("PRAGMA user_version = 0"), DatabaseStatus::kDamaged);
    EXPECT_EQ(ReadAfter("DROP TABLE settings_password"), DatabaseStatus::kDamaged);
}

TEST_F(DamagedDatabaseTest, AnAbsentOrChangedRowIsDamageNotAbsenceOfAPassword) {
    EXPECT_EQ(ReadAfter("DELETE FROM settings_password"), DatabaseStatus::kDamaged);
    for (const char* secret :
         {"''", "'no password'", "'No password is set'", "' no password is set'", "'*'", "'x'",
          "'$y$jzT$abcdefghijklmnopqrstu.$uaGeRFwc53EVmeDt8UH07UWepJIIhoy2F7ac4m.ntnC'"}) {
        EXPECT_EQ(ReadAfter(std::string("UPDATE settings_password SET secret = ") + secret),
                  DatabaseStatus::kDamaged)
            << secret;
    }
    EXPECT_EQ(ReadAfter("UPDATE settings_password SET secret = 'no password is set'"),
              DatabaseStatus::kDamaged)
        << "the checksum is over the other text";
    EXPECT_EQ(ReadAfter("UPDATE settings_password SET changed_at = 0"), DatabaseStatus::kDamaged);
    EXPECT_EQ(ReadAfter("UPDATE settings_password SET changed_at = -1"), DatabaseStatus::kDamaged);
}

TEST_F(DamagedDatabaseTest, ATableOfAnotherShape) {
    const std::string loose =
        "DROP TABLE settings_password;"
        "CREATE TABLE settings_password (id, secret, changed_at, checksum);"
        "INSERT INTO settings_password VALUES ";
    for (const char* row :
         {"(1, NULL, 0, 0)", "(1, 0, 0, 0)", "(1, x'6e6f', 0, 0)", "('1', 'x', 0, 0)",
          "(NULL, NULL, NULL, NULL)", "(1, 'no password is set', 'now', 0)",
          "(1, 'no password is set', 0, 'none')", "(2, 'no password is set', 0, 0)"}) {
        EXPECT_EQ(ReadAfter(loose + row), DatabaseStatus::kDamaged) << row;
    }
    EXPECT_EQ(ReadAfter("DROP TABLE settings_password;"
                        "CREATE VIEW settings_password AS"
                        " SELECT 1 AS id, 'no password is set' AS secret, 0 AS changed_at,"
                        " 0 AS checksum"),
              DatabaseStatus::kDamaged);
}

TEST_F(DamagedDatabaseTest, TwoRowsContradictEachOther) {
    EXPECT_EQ(ReadAfter("CREATE TABLE copy AS SELECT * FROM settings_password;"
                        "DROP TABLE settings_password;"
                        "ALTER TABLE copy RENAME TO settings_password;"
                        "INSERT INTO settings_password SELECT * FROM settings_password"),
              DatabaseStatus::kDamaged);
}

TEST_F(DamagedDatabaseTest, HugeContentIsNotReadIn) {
    EXPECT_EQ(ReadAfter("UPDATE settings_password SET secret = hex(zeroblob(100000))"),
              DatabaseStatus::kDamaged);
    EXPECT_EQ(ReadAfter("CREATE TABLE filler (x); INSERT INTO filler VALUES (zeroblob(2000000))"),
              DatabaseStatus::kDamaged);
    WriteFile(m_path, m_sound);
    ASSERT_EQ(truncate(m_path.c_str(), off_t{1} << 40), 0);
    EXPECT_EQ(Read(), DatabaseStatus::kDamaged);
}

TEST_F(DamagedDatabaseTest, ATextWithAZeroByte) {
    EXPECT_EQ(ReadAfter("UPDATE settings_password SET secret = secret || char(0)"),
              DatabaseStatus::kDamaged);
    EXPECT_EQ(ReadAfter("UPDATE settings_password SET secret = 'no password is set' || char(0)"),
              DatabaseStatus::kDamaged);
}

}  // namespace
}  // namespace dbmod
