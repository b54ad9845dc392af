#include "product/updturl/last_update.h"

#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>

#include "common/file_descriptor.h"
#include "tests/support/scratch.h"

namespace updturl {
namespace {

class LastUpdateTest : public testing::Test {
protected:
    [[nodiscard]] bool Write(const LastUpdate& update) const {
        const common::FileDescriptor folder(
            open(m_folder.Path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        return WriteLastUpdate(folder.Get(), update);
    }

    ScratchFolder m_folder;
    std::string m_file = m_folder / "last-update.json";
};

TEST_F(LastUpdateTest, IsAnObjectWithTimeResultAndWords) {
    ASSERT_TRUE(Write({.time = 1763780400, .result = 2, .text = "all \"new\" in C:\\x\n\x80"}));
    EXPECT_EQ(
        ReadFile(m_file),
        "{\"time\": 1763780400, \"result\": 2, \"text\": \"all \\\"new\\\" in C:\\\\x??\"}\n");
    EXPECT_EQ(ModeOf(m_file), 0644U);
}

TEST_F(LastUpdateTest, ANewRecordReplacesTheOldOneWhole) {
    ASSERT_TRUE(Write({.time = 1, .result = 1, .text = std::string(1000, 'a')}));
    const common::FileDescriptor reader(open(m_file.c_str(), O_RDONLY | O_CLOEXEC));
    ASSERT_TRUE(Write({.time = 2, .result = 0, .text = "b"}));
    EXPECT_EQ(ReadFile(m_file), "{\"time\": 2, \"result\": 0, \"text\": \"b\"}\n");
    struct stat status {};
    ASSERT_EQ(fstat(reader.Get(), &status), 0);
    EXPECT_EQ(status.st_size, 1037);  // whoever reads the old one still has all of it
    EXPECT_FALSE(Exists(m_file + ".new"));
}

TEST_F(LastUpdateTest, WhatAKilledRunLeftIsReplacedAndNoLinkIsFollowed) {
    WriteFile(m_folder / "victim", "keep");
    std::filesystem::create_symlink(m_folder / "victim", m_file + ".new");
    ASSERT_TRUE(Write({.time = 2, .result = 0, .text = "b"}));
    EXPECT_EQ(ReadFile(m_folder / "victim"), "keep");
    EXPECT_EQ(ReadFile(m_file), "{\"time\": 2, \"result\": 0, \"text\": \"b\"}\n");
}

TEST_F(LastUpdateTest, AFolderThatIsGoneIsAFailure) {
    EXPECT_FALSE(WriteLastUpdate(-1, {}));
}

}  // namespace
}  // namespace updturl
