#include "common/directory_reader.h"

#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "tests/support/scratch.h"

namespace {

using common::DirectoryEntry;
using common::DirectoryReader;
using Want = DirectoryReader::Want;

class Directory : public testing::Test {
protected:
    void SetUp() override {
        m_folder.Reset(::open(m_scratch.Path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    }

    [[nodiscard]] mode_t Type(const char* name, unsigned char told) const {
        return common::TypeOf(m_folder.Get(), DirectoryEntry{name, told});
    }

    ScratchFolder m_scratch;
    common::FileDescriptor m_folder;
    DirectoryReader m_reader;
};

class DirectoryWanted : public Directory, public testing::WithParamInterface<Want> {};

TEST_P(DirectoryWanted, HandsOutEveryEntryOnceHoweverManyThereAre) {
    std::set<std::string> expected = {"...", ".a"};
    for (int i = 0; i < 3000; ++i) {
        expected.insert(std::to_string(i) + std::string(static_cast<std::size_t>(i % 240), 'n'));
    }
    for (const std::string& name : expected) {
        WriteFile(m_scratch / name, "");
    }
    m_reader.Start(m_folder.Get(), GetParam());
    std::set<std::string> read;
    while (const auto entry = m_reader.Next()) {
        EXPECT_TRUE(read.insert(std::string(entry->name)).second) << entry->name << " came twice";
        EXPECT_EQ(entry->name.data()[entry->name.size()], '\0');
    }
    EXPECT_EQ(read, expected);
    EXPECT_EQ(m_reader.EntriesRead(), expected.size());
    EXPECT_FALSE(m_reader.Next()) << "the end stays the end";
}

INSTANTIATE_TEST_SUITE_P(Both, DirectoryWanted, testing::Values(Want::kAll, Want::kFirstFew));

TEST_F(Directory, ReadsNothingFromWhatIsNotAnOpenDirectory) {
    EXPECT_FALSE(m_reader.Next()) << "never started";
    m_reader.Start(-1, Want::kAll);
    EXPECT_FALSE(m_reader.Next());
    const common::FileDescriptor file(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    m_reader.Start(file.Get(), Want::kAll);
    EXPECT_FALSE(m_reader.Next());
}

TEST_F(Directory, AStartForgetsWhatWasReadBefore) {
    WriteFile(m_scratch / "a", "");
    WriteFile(m_scratch / "b", "");
    ASSERT_EQ(::mkdir((m_scratch / "empty").c_str(), 0700), 0);
    m_reader.Start(m_folder.Get(), Want::kAll);
    ASSERT_TRUE(m_reader.Next());
    const common::FileDescriptor empty(
        ::open((m_scratch / "empty").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    m_reader.Start(empty.Get(), Want::kAll);
    EXPECT_EQ(m_reader.EntriesRead(), 0U);
    EXPECT_EQ(m_reader.Offset(), 0);
    EXPECT_FALSE(m_reader.Next());
}

TEST_F(Directory, ASecondReaderGoesOnWhereTheFirstStands) {
    for (int i = 0; i < 3000; ++i) {
        WriteFile(m_scratch / std::to_string(i), "");
    }
    for (const int taken : {0, 1, 1499, 3000}) {
        ::lseek(m_folder.Get(), 0, SEEK_SET);
        m_reader.Start(m_folder.Get(), Want::kAll);
        for (int i = 0; i < taken; ++i) {
            ASSERT_TRUE(m_reader.Next());
        }
        const common::FileDescriptor other(
            ::openat(m_folder.Get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        ASSERT_GE(::lseek(other.Get(), m_reader.Offset(), SEEK_SET), 0);
        DirectoryReader second;
        second.Start(other.Get(), Want::kAll);
        while (const auto entry = m_reader.Next()) {
            const auto same = second.Next();
            ASSERT_TRUE(same);
            EXPECT_EQ(same->name, entry->name);
        }
        EXPECT_FALSE(second.Next());
    }
}

TEST_F(Directory, ATypeThatIsToldIsBelieved) {
    WriteFile(m_scratch / "file", "");
    EXPECT_EQ(Type("file", DT_FIFO), mode_t{S_IFIFO});
    EXPECT_EQ(Type("missing", DT_DIR), mode_t{S_IFDIR});
}

TEST_F(Directory, ATypeThatIsNotToldIsLookedAt) {
    WriteFile(m_scratch / "file", "");
    ASSERT_EQ(::mkdir((m_scratch / "folder").c_str(), 0700), 0);
    ASSERT_EQ(::mkfifo((m_scratch / "fifo").c_str(), 0600), 0);
    ASSERT_EQ(::symlink("folder", (m_scratch / "link").c_str()), 0);
    EXPECT_EQ(Type("file", DT_UNKNOWN), mode_t{S_IFREG});
    EXPECT_EQ(Type("folder", DT_UNKNOWN), mode_t{S_IFDIR});
    EXPECT_EQ(Type("fifo", DT_UNKNOWN), mode_t{S_IFIFO});
    EXPECT_EQ(Type("link", DT_UNKNOWN), mode_t{S_IFLNK});
    EXPECT_EQ(Type("gone", DT_UNKNOWN), mode_t{0});
}

TEST_F(Directory, WhatBeginsWithADotIsHidden) {
    EXPECT_TRUE((DirectoryEntry{".a", DT_REG}.IsHidden()));
    EXPECT_FALSE((DirectoryEntry{"a.", DT_REG}.IsHidden()));
}

}  // namespace
