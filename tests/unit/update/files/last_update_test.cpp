#include "update/files/last_update.h"

#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>

#include "common/file_descriptor.h"
#include "tests/support/scratch.h"

namespace update {
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

TEST_F(LastUpdateTest, WhatWasWrittenIsRead) {
    for (const std::string& text :
         {std::string(), std::string("all \"new\"}\n in C:\\x\n\x80"), std::string(100'000, '"')}) {
        ASSERT_TRUE(Write({.time = 1763780400, .result = 3, .text = text}));
        const auto read = ReadLastUpdate(m_file);
        ASSERT_TRUE(read);
        EXPECT_EQ(read->time, 1763780400);
        EXPECT_EQ(read->result, 3);
    }
}

TEST_F(LastUpdateTest, EveryResultThereIsIsRead) {
    for (int result = 0; result <= 4; ++result) {
        const auto read = ParseLastUpdate("{\"time\": 1, \"result\": " + std::to_string(result) +
                                          ", \"text\": \"\"}\n");
        ASSERT_TRUE(read) << result;
        EXPECT_EQ(read->result, result);
    }
}

TEST_F(LastUpdateTest, WhatTheWriterWouldNotHaveWrittenIsNone) {
    const std::string whole = "{\"time\": 253402300799, \"result\": 4, \"text\": \"a\"}\n";
    ASSERT_TRUE(ParseLastUpdate(whole));
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_FALSE(ParseLastUpdate(whole.substr(0, length))) << length;
    }
    for (const char* const text : {
             "{\"time\": 253402300800, \"result\": 4, \"text\": \"a\"}\n",
             "{\"time\": -1, \"result\": 4, \"text\": \"a\"}\n",
             "{\"time\": 99999999999999999999, \"result\": 4, \"text\": \"a\"}\n",
             "{\"time\": x, \"result\": 4, \"text\": \"a\"}\n",
             "{\"time\": 1, \"result\": 5, \"text\": \"a\"}\n",
             "{\"time\": 1, \"result\": -1, \"text\": \"a\"}\n",
             "{\"time\": 1, \"result\": , \"text\": \"a\"}\n",
             "{\"time\": 1, \"result\": 4294967297, \"text\": \"a\"}\n",
             "{\"result\": 4, \"time\": 1, \"text\": \"a\"}\n",
             "{\"time\": 1, \"result\": 4, \"text\": a\"}\n",
             "{\"time\": 1, \"result\": 4, \"text\": \"}\n",
             "{\"time\": 1, \"result\": 4}\n",
             "null\n",
         }) {
        EXPECT_FALSE(ParseLastUpdate(text)) << text;
    }
}

TEST_F(LastUpdateTest, NoLinkIsReadNoFolderAndNothingLarge) {
    EXPECT_FALSE(ReadLastUpdate(m_file)) << "there is none";
    ASSERT_TRUE(Write({.time = 1, .result = 1, .text = "a"}));
    std::filesystem::create_symlink(m_file, m_folder / "link");
    EXPECT_FALSE(ReadLastUpdate(m_folder / "link"));
    EXPECT_FALSE(ReadLastUpdate(m_folder.Path()));
    ASSERT_EQ(::mkfifo((m_folder / "fifo").c_str(), 0600), 0);
    EXPECT_FALSE(ReadLastUpdate(m_folder / "fifo"));
    const std::string head = "{\"time\": 1, \"result\": 1, \"text\": \"";
    WriteFile(m_file, head + std::string(4096 - head.size() - 4, 'a') + "\"}\n\n");
    EXPECT_FALSE(ReadLastUpdate(m_file)) << "a line too many";
    WriteFile(m_file, head + std::string(4096 - head.size() - 3, 'a') + "\"}\n");
    EXPECT_TRUE(ReadLastUpdate(m_file));
    WriteFile(m_file, head + std::string(4097 - head.size() - 3, 'a') + "\"}\n");
    EXPECT_FALSE(ReadLastUpdate(m_file));
}

}  // namespace
}  // namespace update
